zirk_add_test(tst_packages_vpk SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/tst_packages_vpk.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ArchiveFixtures.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.cpp)
zirk_add_test(tst_packages_ncf SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/tst_packages_ncf.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ArchiveFixtures.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.cpp)
zirk_add_test(tst_packages_gcf SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/tst_packages_gcf.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ArchiveFixtures.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.h
    ${CMAKE_CURRENT_LIST_DIR}/PackageDelegateTest.cpp)
zirk_add_test(tst_packages_viewer GUI SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/tst_packages_viewer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ArchiveFixtures.h)
