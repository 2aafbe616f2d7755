list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/CReferenceScan.h
    ${CMAKE_CURRENT_LIST_DIR}/CReferenceScan.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ContentScanners.h
    ${CMAKE_CURRENT_LIST_DIR}/ContentScanners.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CPakfileScan.h
    ${CMAKE_CURRENT_LIST_DIR}/CPakfileScan.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CPakfileScanRun.h
    ${CMAKE_CURRENT_LIST_DIR}/CPakfileScanRun.cpp
)
