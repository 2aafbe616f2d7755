zirk_add_bench(bench_map SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_map.cpp)
zirk_add_bench(bench_map_window GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_map_window.cpp)
