zirk_add_test(tst_gamedata_fgd SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_gamedata_fgd.cpp)
zirk_add_test(tst_gamedata_editor GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_gamedata_editor.cpp)
