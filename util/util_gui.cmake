list(APPEND ZIRK_GUI_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/UtilWidgets.h
    ${CMAKE_CURRENT_LIST_DIR}/UtilWidgets.cpp
    ${CMAKE_CURRENT_LIST_DIR}/QProgressDialogger.h
    ${CMAKE_CURRENT_LIST_DIR}/QProgressDialogger.cpp
    ${CMAKE_CURRENT_LIST_DIR}/QListDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/QListDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/QFileListDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/QFileListDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/QWidgetDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/QWidgetDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/QSearchDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/QSearchDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/QIconProvider.h
    ${CMAKE_CURRENT_LIST_DIR}/QIconProvider.cpp
)
