zirk_add_test(tst_util_fileclass SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_util_fileclass.cpp)
zirk_add_test(tst_util_path SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_util_path.cpp)
zirk_add_test(tst_util_text SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_util_text.cpp)
