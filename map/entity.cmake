list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/CEntity.h
    ${CMAKE_CURRENT_LIST_DIR}/CEntity.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CEntityLump.h
    ${CMAKE_CURRENT_LIST_DIR}/CEntityLump.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CEntityLumpFile.h
    ${CMAKE_CURRENT_LIST_DIR}/CEntityLumpFile.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CLumpFileHeader.h
    ${CMAKE_CURRENT_LIST_DIR}/CLumpFileHeader.cpp
)
