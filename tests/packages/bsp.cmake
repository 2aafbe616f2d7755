zirk_add_test(tst_packages_bsp SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/tst_bsp.cpp
    ${CMAKE_CURRENT_LIST_DIR}/BspFixture.h
    ${CMAKE_CURRENT_LIST_DIR}/BspFixture.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.cpp)
