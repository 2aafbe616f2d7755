zirk_add_test(tst_materials_models SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_models.cpp
                                           ${CMAKE_CURRENT_LIST_DIR}/ModelFixtures.h
                                           ${CMAKE_CURRENT_LIST_DIR}/MaterialsTestSupport.h)
