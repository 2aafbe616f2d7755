zirk_add_bench(bench_textures SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_textures.cpp)
