zirk_add_test(tst_map_vmf SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_vmf.cpp)
