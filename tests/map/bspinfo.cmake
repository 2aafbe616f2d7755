zirk_add_test(tst_map_bspinfo SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_bspinfo.cpp
                                      ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.h
                                      ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.cpp)
zirk_add_test(tst_map_vbspinfo GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_vbspinfo.cpp
                                           ${CMAKE_CURRENT_LIST_DIR}/MapWindowTestSupport.h
                                           ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.h
                                           ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.cpp)
