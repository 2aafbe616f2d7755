# The particle templates are made at build time from the table in particles/templates by
# our own small generator, which shares the particle sources with the core library. The
# files join the resources through ZIRK_GENERATED_DATA.
add_executable(zirk_pcftemplates
    ${CMAKE_CURRENT_LIST_DIR}/templates/PCFTemplateGenerator.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CDmxAttribute.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CDmxAttributeText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CDmxElement.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CFilePCF.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PCFDelegateWrite.cpp
    ${PROJECT_SOURCE_DIR}/util/UtilText.cpp)
target_include_directories(zirk_pcftemplates PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(zirk_pcftemplates PRIVATE Qt6::Core Qt6::Core5Compat)

set(ZIRK_PCF_TEMPLATE_TABLE ${CMAKE_CURRENT_LIST_DIR}/templates/particle_templates.txt)
set(ZIRK_PCF_TEMPLATE_DIR ${PROJECT_BINARY_DIR}/generated/data)
set(ZIRK_PCF_TEMPLATES
    ${ZIRK_PCF_TEMPLATE_DIR}/particle_defaults_orangebox.pcf
    ${ZIRK_PCF_TEMPLATE_DIR}/particle_defaults_l4d.pcf
    ${ZIRK_PCF_TEMPLATE_DIR}/particle_defaults_l4d2.pcf)
add_custom_command(OUTPUT ${ZIRK_PCF_TEMPLATES}
    COMMAND zirk_pcftemplates ${ZIRK_PCF_TEMPLATE_TABLE} ${ZIRK_PCF_TEMPLATE_DIR}
    DEPENDS zirk_pcftemplates ${ZIRK_PCF_TEMPLATE_TABLE}
    COMMENT "Making the particle templates")
list(APPEND ZIRK_GENERATED_DATA ${ZIRK_PCF_TEMPLATES})
