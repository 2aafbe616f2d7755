zirk_add_test(tst_packages_hierarchy SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_hierarchy.cpp)
zirk_add_test(tst_packages_contract SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/tst_contract.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.cpp)
