list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/VTF.h
    ${CMAKE_CURRENT_LIST_DIR}/VTFFormats.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFConvert.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFImage.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFDraw.h
    ${CMAKE_CURRENT_LIST_DIR}/VTFMagick.h
    ${CMAKE_CURRENT_LIST_DIR}/VTFMagick.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFBlockCoder.h
    ${CMAKE_CURRENT_LIST_DIR}/VTFBlockCoder.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFBlockDecoder.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFBlockEncoder.h
    ${CMAKE_CURRENT_LIST_DIR}/VTFBlockEncoder.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFClusterFit.h
    ${CMAKE_CURRENT_LIST_DIR}/VTFClusterFit.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VTFToneMap.h
    ${CMAKE_CURRENT_LIST_DIR}/VTFToneMap.cpp
)
list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/Resampler.h
    ${CMAKE_CURRENT_LIST_DIR}/Resampler.cpp
)
list(APPEND ZIRK_CORE_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/CFileVTF.h
    ${CMAKE_CURRENT_LIST_DIR}/CFileVTF.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CFileVTFOperations.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CFileVTFRanges.cpp
)
# The encoder's lanes must round as squish does: no fused multiply-adds.
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/VTFBlockEncoder.cpp
                            ${CMAKE_CURRENT_LIST_DIR}/VTFClusterFit.cpp
                            ${CMAKE_CURRENT_LIST_DIR}/VTFToneMap.cpp
                            PROPERTIES COMPILE_OPTIONS -ffp-contract=off)
