zirk_add_test(tst_particles_model SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_model.cpp
                                          ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h)
zirk_add_test(tst_particles_pcf SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_pcf.cpp
                                        ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h)
zirk_add_test(tst_particles_format SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_format.cpp
                                           ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h)
zirk_add_test(tst_particles_batch SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_batch.cpp
                                          ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h
                                          ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.h
                                          ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.cpp)
zirk_add_test(tst_particles_editor GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_editor.cpp
                                               ${CMAKE_CURRENT_LIST_DIR}/ParticleEditorTestSupport.h
                                               ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h)
# Not a test: the screenshot program of tools/pcf_screenshots.sh.
add_executable(pcfedit_shots ${CMAKE_CURRENT_LIST_DIR}/pcfedit_shots.cpp)
target_link_libraries(pcfedit_shots PRIVATE zirk_gui)
