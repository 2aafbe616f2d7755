zirk_add_test(tst_vbsp_file SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vbsp_file.cpp)
zirk_add_test(tst_vbsp_editor GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vbsp_editor.cpp)
