zirk_add_bench(bench_map SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_map.cpp)
