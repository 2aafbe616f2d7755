zirk_add_test(tst_vtfedit_widgets GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vtfedit_widgets.cpp
                                              ${CMAKE_CURRENT_LIST_DIR}/VtfEditTestSupport.h)
zirk_add_test(tst_vtfedit_editor GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vtfedit_editor.cpp
                                             ${CMAKE_CURRENT_LIST_DIR}/VtfEditTestSupport.h)
zirk_add_test(tst_vtfedit_mass GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_vtfedit_mass.cpp
                                           ${CMAKE_CURRENT_LIST_DIR}/VtfEditTestSupport.h)
