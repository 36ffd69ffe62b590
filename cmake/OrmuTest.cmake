# ormu_add_test(NAME SOURCES... [LIBRARIES ...] [LABELS ...] [QT] [DAEMON_SOCKET] [VALGRIND [FILTER pattern]])
#
# A GoogleTest program, each of its tests known to CTest by its own name.
#   QT             its main() makes a QApplication on the offscreen platform, in a home of its own
#   DAEMON_SOCKET  it uses the daemon's fixed socket: no two such tests run at once
#   VALGRIND       it is run a second time as a whole under Memcheck, which must find no error
#   FILTER         the tests that the valgrind run is narrowed to
include(GoogleTest)
find_package(GTest REQUIRED)
find_program(ORMU_VALGRIND valgrind)

set(ORMU_TEST_TIMEOUT 120)

function(ormu_add_test name)
    cmake_parse_arguments(ARG "QT;DAEMON_SOCKET;VALGRIND" "FILTER" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    ormu_common_options(${name})
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gmock
        $<IF:$<BOOL:${ARG_QT}>,ormu_qt_test_main,GTest::gmock_main>)
    set(properties TIMEOUT ${ORMU_TEST_TIMEOUT})
    if(ARG_LABELS)
        list(APPEND properties LABELS "${ARG_LABELS}")
    endif()
    if(ARG_DAEMON_SOCKET)
        list(APPEND properties RESOURCE_LOCK daemon_socket)
    endif()
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        PROPERTIES ${properties})
    # Valgrind and AddressSanitizer do not go together.
    if(ARG_VALGRIND AND ORMU_VALGRIND AND NOT ORMU_SANITIZE)
        if(NOT ARG_FILTER)
            set(ARG_FILTER "*")
        endif()
        add_test(NAME valgrind.${name}
            COMMAND ${ORMU_VALGRIND} --quiet --error-exitcode=99 --leak-check=no --num-callers=30
                --suppressions=${PROJECT_SOURCE_DIR}/tests/support/valgrind.supp
                $<TARGET_FILE:${name}> --gtest_filter=${ARG_FILTER} --gtest_brief=1)
        set_tests_properties(valgrind.${name} PROPERTIES TIMEOUT 900 LABELS valgrind)
        if(ARG_DAEMON_SOCKET)
            set_tests_properties(valgrind.${name} PROPERTIES RESOURCE_LOCK daemon_socket)
        endif()
    endif()
endfunction()
