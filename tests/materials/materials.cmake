zirk_add_test(tst_materials_text SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_text.cpp)
zirk_add_test(tst_materials_batch SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_batch.cpp
                                          ${CMAKE_CURRENT_LIST_DIR}/MaterialsTestSupport.h)
zirk_add_test(tst_materials_editor GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_editor.cpp
                                               ${CMAKE_CURRENT_LIST_DIR}/MaterialsGuiSupport.h
                                               ${CMAKE_CURRENT_LIST_DIR}/MaterialsSettings.h)
zirk_add_test(tst_materials_mass GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_mass.cpp
                                             ${CMAKE_CURRENT_LIST_DIR}/MaterialsGuiSupport.h
                                             ${CMAKE_CURRENT_LIST_DIR}/MaterialsSettings.h)
# Not a test: the screenshot program of tools/vmt_screenshots.sh.
add_executable(vmt_shots ${CMAKE_CURRENT_LIST_DIR}/vmt_shots.cpp)
target_link_libraries(vmt_shots PRIVATE zirk_gui)
