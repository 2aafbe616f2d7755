zirk_add_bench(bench_pakscan SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_pakscan.cpp
                                     ${CMAKE_CURRENT_LIST_DIR}/../../tests/packages/BspFixture.h
                                     ${CMAKE_CURRENT_LIST_DIR}/../../tests/packages/BspFixture.cpp)
