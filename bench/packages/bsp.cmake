zirk_add_bench(bench_packages_bsp SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/bench_bsp.cpp
    ${PROJECT_SOURCE_DIR}/tests/packages/BspFixture.h
    ${PROJECT_SOURCE_DIR}/tests/packages/BspFixture.cpp)
target_include_directories(bench_packages_bsp PRIVATE ${PROJECT_SOURCE_DIR}/tests/packages)
