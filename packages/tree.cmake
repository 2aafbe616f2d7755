list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/CHierarchyNode.h
    ${CMAKE_CURRENT_LIST_DIR}/CHierarchyNode.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CChildNameIndex.h
    ${CMAKE_CURRENT_LIST_DIR}/CChildNameIndex.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CPackageHierarchyNode.h
    ${CMAKE_CURRENT_LIST_DIR}/CPackageHierarchyNode.cpp
    ${CMAKE_CURRENT_LIST_DIR}/FlushSyncronizer.h
    ${CMAKE_CURRENT_LIST_DIR}/FlushSyncronizer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IPackageDelegate.h
    ${CMAKE_CURRENT_LIST_DIR}/IPackageDelegate.cpp
)
