zirk_add_test(tst_materials_scanners SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_scanners.cpp
                                             ${CMAKE_CURRENT_LIST_DIR}/ModelFixtures.h
                                             ${CMAKE_CURRENT_LIST_DIR}/MaterialsTestSupport.h)
zirk_add_test(tst_materials_pakscan SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_materials_pakscan.cpp
                                            ${CMAKE_CURRENT_LIST_DIR}/ModelFixtures.h
                                            ${CMAKE_CURRENT_LIST_DIR}/MaterialsTestSupport.h
                                            ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.h
                                            ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.cpp)
