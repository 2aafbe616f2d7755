zirk_add_test(tst_map_entitylump SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_entitylump.cpp)
zirk_add_test(tst_map_ventity GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_ventity.cpp
                                          ${CMAKE_CURRENT_LIST_DIR}/MapWindowTestSupport.h)
