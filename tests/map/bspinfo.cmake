zirk_add_test(tst_map_bspinfo SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_map_bspinfo.cpp
                                      ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.h
                                      ${CMAKE_CURRENT_LIST_DIR}/../packages/BspFixture.cpp)
