list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/CPakfileTool.h
    ${CMAKE_CURRENT_LIST_DIR}/CPakfileTool.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CPakfileToolSave.cpp
)
list(APPEND ZIRK_GUI_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileRowDelegate.h
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileRowDelegate.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileTableWidgetItem.h
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileTableWidgetItem.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VScanTableWidgetItem.h
    ${CMAKE_CURRENT_LIST_DIR}/VScanTableWidgetItem.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileScanOptions.h
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileScanOptions.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileStatusDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileStatusDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VPakfile.h
    ${CMAKE_CURRENT_LIST_DIR}/VPakfile.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileFiles.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VPakfileScan.cpp
)
