list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/CInstanceChannel.h
    ${CMAKE_CURRENT_LIST_DIR}/CInstanceChannel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ProgramSettings_t.h
    ${CMAKE_CURRENT_LIST_DIR}/ProgramSettings_t.cpp
)
list(APPEND ZIRK_GUI_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/QtSingleApplication.h
    ${CMAKE_CURRENT_LIST_DIR}/QtSingleApplication.cpp
    ${CMAKE_CURRENT_LIST_DIR}/QSubWindowControls.h
    ${CMAKE_CURRENT_LIST_DIR}/QSubWindowControls.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ZIRK.h
    ${CMAKE_CURRENT_LIST_DIR}/ZIRK.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ZIRKTools.cpp
)
