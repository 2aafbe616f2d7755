zirk_add_test(tst_vtfedit_widgets GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vtfedit_widgets.cpp
                                              ${CMAKE_CURRENT_LIST_DIR}/VtfEditTestSupport.h)
zirk_add_test(tst_vtfedit_editor GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vtfedit_editor.cpp
                                             ${CMAKE_CURRENT_LIST_DIR}/VtfEditTestSupport.h)
zirk_add_test(tst_vtfedit_mass GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vtfedit_mass.cpp
                                           ${CMAKE_CURRENT_LIST_DIR}/VtfEditTestSupport.h)
# Not a test: the screenshot program of tools/vtf_screenshots.sh.
add_executable(vtfedit_shots ${CMAKE_CURRENT_LIST_DIR}/vtfedit_shots.cpp)
target_link_libraries(vtfedit_shots PRIVATE zirk_gui)
