zirk_add_test(tst_map_entitylump SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_entitylump.cpp)
zirk_add_test(tst_map_ventity GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_ventity.cpp
                                          ${CMAKE_CURRENT_LIST_DIR}/MapWindowTestSupport.h)
# Not a test: the screenshot program of tools/map_screenshots.sh.
add_executable(mapwindow_shots ${CMAKE_CURRENT_LIST_DIR}/mapwindow_shots.cpp)
target_link_libraries(mapwindow_shots PRIVATE zirk_gui)
