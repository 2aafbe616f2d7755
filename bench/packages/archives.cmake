zirk_add_bench(bench_packages_vpk_open SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/bench_vpk_open.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LargeVpk.h)
zirk_add_bench(bench_packages_viewer_open GUI SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/bench_viewer_open.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LargeVpk.h)
# Start-up of a process that only reads a package, beside a bare Qt Core one.
add_executable(zirk_startup_probe ${CMAKE_CURRENT_LIST_DIR}/startup_probe.cpp)
target_link_libraries(zirk_startup_probe PRIVATE zirk_core)
add_executable(zirk_startup_baseline ${CMAKE_CURRENT_LIST_DIR}/startup_baseline.cpp)
target_link_libraries(zirk_startup_baseline PRIVATE Qt6::Core)
# Beside bench/, not in it: tools/bench.sh runs whatever lies there.
set_target_properties(zirk_startup_probe zirk_startup_baseline PROPERTIES
                      RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench-helpers)
zirk_add_bench(bench_packages_startup SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/bench_startup.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LargeVpk.h)
add_dependencies(bench_packages_startup zirk_startup_probe zirk_startup_baseline)
