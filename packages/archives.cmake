list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/CArchiveReader.h
    ${CMAKE_CURRENT_LIST_DIR}/CArchiveReader.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CVPKDirectory.h
    ${CMAKE_CURRENT_LIST_DIR}/CVPKDirectory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CCacheDirectory.h
    ${CMAKE_CURRENT_LIST_DIR}/CCacheDirectory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CCacheBlocks.h
    ${CMAKE_CURRENT_LIST_DIR}/CCacheBlocks.cpp
)
