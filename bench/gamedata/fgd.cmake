zirk_add_bench(bench_gamedata_fgd SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_gamedata_fgd.cpp)
get_filename_component(ZIRK_BENCH_SAMPLES "${PROJECT_SOURCE_DIR}/../shared/samples" ABSOLUTE)
target_compile_definitions(bench_gamedata_fgd PRIVATE ZIRK_SAMPLES_DIR="${ZIRK_BENCH_SAMPLES}")
