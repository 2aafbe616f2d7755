# `cmake --install` puts the program and its settings file into
# <prefix>/lib/zirk (the program needs its settings beside it), a launcher
# script into <prefix>/bin, and the desktop entry, MIME types and icon into
# <prefix>/share.
include(GNUInstallDirs)
set(ZIRK_INSTALL_PROGRAM_DIR ${CMAKE_INSTALL_LIBDIR}/zirk)

install(TARGETS zirk RUNTIME DESTINATION ${ZIRK_INSTALL_PROGRAM_DIR})
install(FILES resources/noitazilait.ini DESTINATION ${ZIRK_INSTALL_PROGRAM_DIR})

file(RELATIVE_PATH ZIRK_LAUNCHER_RELATIVE /${CMAKE_INSTALL_BINDIR} /${ZIRK_INSTALL_PROGRAM_DIR})
configure_file(resources/desktop/zirk.in ${PROJECT_BINARY_DIR}/generated/zirk @ONLY)
install(PROGRAMS ${PROJECT_BINARY_DIR}/generated/zirk DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES resources/desktop/zirk.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES resources/desktop/zirk-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(FILES ${ZIRK_PAINTED_DIR}/multi_manager_icon_48.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/48x48/apps RENAME zirk.png)
