zirk_add_bench(bench_vmtbatch GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_vmtbatch.cpp)
