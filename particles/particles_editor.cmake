list(APPEND ZIRK_GUI_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/VParticleTreeWidgetItem.h
    ${CMAKE_CURRENT_LIST_DIR}/VParticleTreeWidgetItem.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VParticleAddAttributeDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/VParticleAddAttributeDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VParticleSystemsDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/VParticleSystemsDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VParticle.h
    ${CMAKE_CURRENT_LIST_DIR}/VParticle.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VParticleTree.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VParticleContext.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VParticleTools.cpp
)
