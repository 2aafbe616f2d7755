zirk_add_bench(bench_util_helpers SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_util_helpers.cpp)
