# The resource file ZIRK.qrc is put together at configure time: every Silk icon
# from the famfamfam-silk package, the icons we draw ourselves (painted at build
# time by zirk_iconpainter), the data files under resources/data and those that the
# subsystem lists make at build time (ZIRK_GENERATED_DATA). Every
# icon is reachable both as "name.png" and as "name".

set(ZIRK_SILK_DIR "/usr/share/icons/silk/16x16" CACHE PATH "Folder of the Silk icon set")
if(NOT EXISTS "${ZIRK_SILK_DIR}/add.png")
    message(FATAL_ERROR "The Silk icons were not found in ${ZIRK_SILK_DIR}. "
                        "Install the Debian package famfamfam-silk (apt-get install famfamfam-silk).")
endif()

set(ZIRK_GEN_DIR ${PROJECT_BINARY_DIR}/generated)
set(ZIRK_PAINTED_DIR ${ZIRK_GEN_DIR}/painted)
file(MAKE_DIRECTORY ${ZIRK_PAINTED_DIR})

# Icons drawn by us; the painter knows how to draw each of these names.
set(ZIRK_PAINTED_ICONS
    application_output blank cube_wireframe defrag empty icon_vbsp multi_manager_icon_16
    multi_manager_icon_48 package_magnify page_white_disk page_white_disk_add particles
    qtcreator_logo_16 sphere spherelockright vbspinfo ventity vmass vpakfile vtfmass2 vvmt vvtf)

add_executable(zirk_iconpainter resources/IconPainter.cpp)
target_link_libraries(zirk_iconpainter PRIVATE Qt6::Gui)

set(ZIRK_PAINTED_FILES)
foreach(name IN LISTS ZIRK_PAINTED_ICONS)
    list(APPEND ZIRK_PAINTED_FILES ${ZIRK_PAINTED_DIR}/${name}.png)
endforeach()
add_custom_command(OUTPUT ${ZIRK_PAINTED_FILES}
    COMMAND zirk_iconpainter ${ZIRK_PAINTED_DIR} ${ZIRK_PAINTED_ICONS}
    DEPENDS zirk_iconpainter
    COMMENT "Painting the workbench icons")

set(ZIRK_QRC_ENTRIES "")
file(GLOB ZIRK_SILK_FILES "${ZIRK_SILK_DIR}/*.png")
foreach(file IN LISTS ZIRK_SILK_FILES)
    get_filename_component(name ${file} NAME_WE)
    if(NOT name IN_LIST ZIRK_PAINTED_ICONS)
        string(APPEND ZIRK_QRC_ENTRIES
            "  <file alias=\"resources/icons/${name}.png\">${file}</file>\n"
            "  <file alias=\"resources/icons/${name}\">${file}</file>\n")
    endif()
endforeach()
foreach(file IN LISTS ZIRK_PAINTED_FILES)
    get_filename_component(name ${file} NAME_WE)
    string(APPEND ZIRK_QRC_ENTRIES
        "  <file alias=\"resources/icons/${name}.png\">${file}</file>\n"
        "  <file alias=\"resources/icons/${name}\">${file}</file>\n")
endforeach()
file(GLOB ZIRK_DATA_FILES "${PROJECT_SOURCE_DIR}/resources/data/*")
foreach(file IN LISTS ZIRK_DATA_FILES)
    get_filename_component(name ${file} NAME)
    if(NOT name MATCHES "^\\.")
        string(APPEND ZIRK_QRC_ENTRIES "  <file alias=\"resources/data/${name}\">${file}</file>\n")
    endif()
endforeach()
foreach(file IN LISTS ZIRK_GENERATED_DATA)
    get_filename_component(name ${file} NAME)
    string(APPEND ZIRK_QRC_ENTRIES "  <file alias=\"resources/data/${name}\">${file}</file>\n")
endforeach()
file(CONFIGURE OUTPUT ${ZIRK_GEN_DIR}/ZIRK.qrc
     CONTENT "<!DOCTYPE RCC><RCC version=\"1.0\">\n<qresource prefix=\"/\">\n${ZIRK_QRC_ENTRIES}</qresource>\n</RCC>\n")

qt6_add_resources(ZIRK_RESOURCE_SOURCES ${ZIRK_GEN_DIR}/ZIRK.qrc)
