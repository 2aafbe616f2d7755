zirk_add_test(tst_materials_text SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_text.cpp)
zirk_add_test(tst_materials_batch SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_batch.cpp
                                          ${CMAKE_CURRENT_LIST_DIR}/MaterialsTestSupport.h)
