zirk_add_test(tst_map_entitylump SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_entitylump.cpp)
