zirk_add_test(tst_materials_pakfile SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_pakfile.cpp
                                            ${CMAKE_CURRENT_LIST_DIR}/MaterialsTestSupport.h
                                            ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.h
                                            ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.cpp)
zirk_add_test(tst_materials_vpakfile GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_vpakfile.cpp
                                                 ${CMAKE_CURRENT_LIST_DIR}/PakfileGuiSupport.h
                                                 ${CMAKE_CURRENT_LIST_DIR}/ModelFixtures.h
                                                 ${CMAKE_CURRENT_LIST_DIR}/MaterialsTestSupport.h
                                                 ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.h
                                                 ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.cpp)
# Not a test: the screenshot program of tools/pakfile_screenshots.sh.
add_executable(pakfile_shots ${CMAKE_CURRENT_LIST_DIR}/pakfile_shots.cpp)
target_link_libraries(pakfile_shots PRIVATE zirk_gui)
