zirk_add_bench(bench_pcf SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_pcf.cpp)
