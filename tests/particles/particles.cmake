zirk_add_test(tst_particles_model SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_model.cpp
                                          ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h)
zirk_add_test(tst_particles_pcf SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_pcf.cpp
                                        ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h)
zirk_add_test(tst_particles_format SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_particles_format.cpp
                                           ${CMAKE_CURRENT_LIST_DIR}/PcfTestSupport.h)
