zirk_add_test(tst_util_fileclass SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_util_fileclass.cpp)
