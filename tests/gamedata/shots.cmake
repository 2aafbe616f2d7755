# Not a test: the screenshot program of tools/detail_fgd_screenshots.sh.
add_executable(editor_shots ${CMAKE_CURRENT_LIST_DIR}/editor_shots.cpp)
target_link_libraries(editor_shots PRIVATE zirk_gui)
