zirk_add_bench(bench_vtfmass GUI SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_vtfmass.cpp)
