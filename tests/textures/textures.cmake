zirk_add_test(tst_textures_formats SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_textures_formats.cpp)
zirk_add_test(tst_textures_samples SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_textures_samples.cpp)
zirk_add_test(tst_textures_container SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_textures_container.cpp)
