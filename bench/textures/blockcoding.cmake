zirk_add_bench(bench_blockcoding SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_blockcoding.cpp)
target_include_directories(bench_blockcoding PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
