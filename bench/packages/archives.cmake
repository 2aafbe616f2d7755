zirk_add_bench(bench_packages_vpk_open SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_vpk_open.cpp)
