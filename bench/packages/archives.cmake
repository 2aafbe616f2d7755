zirk_add_bench(bench_packages_vpk_open SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/bench_vpk_open.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LargeVpk.h)
zirk_add_bench(bench_packages_viewer_open GUI SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/bench_viewer_open.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LargeVpk.h)
