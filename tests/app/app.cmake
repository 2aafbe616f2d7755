zirk_add_test(tst_app_settings SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_app_settings.cpp)
target_compile_definitions(tst_app_settings PRIVATE ZIRK_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
zirk_add_test(tst_app_channel SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_app_channel.cpp)
zirk_add_test(tst_app_zirk GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_app_zirk.cpp)
