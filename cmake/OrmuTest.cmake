# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

# ormu_add_test(NAME SOURCES... [LIBRARIES ...] [LABELS ...] [QT] [DAEMON_SOCKET [RUN]] [VALGRIND [FILTER pattern]]
#               [NOT_EMULATED pattern reason...])
#
# A GoogleTest program. CTest knows each of its tests by its own name, or, without ORMU_EACH_TEST, the program alone.
#   QT             its main() makes a QApplication on the offscreen platform, in a home of its own
#   DAEMON_SOCKET  it uses the daemon's fixed socket
#   RUN            it starts ./run: all such tests share the log files in the build directory
#   VALGRIND       it runs once more as one test under Memcheck, which must find no error
#   FILTER         the tests of that run
#   NOT_EMULATED   the tests that the emulator of the phone's processor cannot run, and why. In a build for that processor
#                  they get the label "not emulated: reason", and the preset leaves them out
include(GoogleTest)
find_package(GTest REQUIRED)
find_program(ORMU_VALGRIND valgrind)

# Ends a test that hangs. No test fails because the machine is busy.
set(ORMU_TEST_TIMEOUT 900)
set(ORMU_VALGRIND_LABELS valgrind)
if(CMAKE_CROSSCOMPILING)
    list(APPEND ORMU_VALGRIND_LABELS "not emulated: Valgrind knows this machine's instructions alone")
endif()

# Tests that use the daemon's fixed socket run side by side, each with a /tmp and a network of its own, where the machine
# allows that (root) and the build is not in /tmp; elsewhere one after the other.
set(ORMU_ISOLATE "")
set(ORMU_SOCKET_LOCK RESOURCE_LOCK daemon_socket)
if(NOT CMAKE_CROSSCOMPILING AND NOT "${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}" MATCHES "(^| )/tmp/")
    try_run(ORMU_CANNOT_ISOLATE isolate_compiles ${PROJECT_BINARY_DIR}/isolate
        ${PROJECT_SOURCE_DIR}/tests/support/isolate.c ARGS true)
    if(isolate_compiles AND ORMU_CANNOT_ISOLATE EQUAL 0)
        set(ORMU_ISOLATE ${PROJECT_BINARY_DIR}/bin/isolate)
        set(ORMU_SOCKET_LOCK "")
    endif()
endif()

# The path by which a shell starts a program of this build. For the phone's processor that is a script that calls the
# emulator.
function(ormu_startable variable target)
    set(${variable} $<TARGET_FILE:${target}> PARENT_SCOPE)
    if(CMAKE_CROSSCOMPILING)
        set(script ${PROJECT_BINARY_DIR}/startable/${target})
        set(${variable} ${script} PARENT_SCOPE)
        file(GENERATE OUTPUT ${script}
            CONTENT "#!/bin/sh\nexec '${CMAKE_CROSSCOMPILING_EMULATOR}' '$<TARGET_FILE:${target}>' \"$@\"\n"
            FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    endif()
endfunction()

function(ormu_add_test name)
    cmake_parse_arguments(ARG "QT;DAEMON_SOCKET;RUN;VALGRIND" "FILTER" "SOURCES;LIBRARIES;LABELS;NOT_EMULATED" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gmock
        $<IF:$<BOOL:${ARG_QT}>,ormu_qt_test_main,GTest::gmock_main>)
    set(discovery TEST_PREFIX ${name}. NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 600
        PROPERTIES TIMEOUT ${ORMU_TEST_TIMEOUT})
    set(under "")
    if(ARG_DAEMON_SOCKET)
        # They come first: they mostly wait, and all others run beside them.
        set(lock ${ORMU_SOCKET_LOCK})
        if(ARG_RUN AND NOT lock)
            set(lock RESOURCE_LOCK run)
        endif()
        list(APPEND discovery ${lock} COST 100)
        set(under ${ORMU_ISOLATE})
        if(under)
            add_dependencies(${name} isolate)
            set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR ${under}) # any program to run it under
        endif()
    endif()
    set(left_out "")
    while(CMAKE_CROSSCOMPILING AND ARG_NOT_EMULATED)
        list(POP_FRONT ARG_NOT_EMULATED pattern reason)
        gtest_discover_tests(${name} TEST_FILTER "${pattern}" ${discovery} LABELS "not emulated: ${reason}")
        string(APPEND left_out "${pattern}:")
    endwhile()
    if(ARG_LABELS)
        list(APPEND discovery LABELS "${ARG_LABELS}")
    endif()
    if(NOT ORMU_EACH_TEST AND NOT CMAKE_CROSSCOMPILING)
        add_test(NAME ${name} COMMAND ${under} $<TARGET_FILE:${name}> --gtest_brief=1)
        list(FIND discovery PROPERTIES properties)
        list(SUBLIST discovery ${properties} -1 properties)
        set_tests_properties(${name} ${properties})
    else()
        gtest_discover_tests(${name} TEST_FILTER "-${left_out}" ${discovery})
    endif()
    # Valgrind and AddressSanitizer do not go together.
    if(ARG_VALGRIND AND ORMU_VALGRIND AND NOT ORMU_SANITIZE)
        if(NOT ARG_FILTER)
            set(ARG_FILTER "*")
        endif()
        add_test(NAME valgrind.${name}
            COMMAND ${under} ${ORMU_VALGRIND} --quiet --error-exitcode=99 --leak-check=no --num-callers=30
                --suppressions=${PROJECT_SOURCE_DIR}/tests/support/valgrind.supp
                $<TARGET_FILE:${name}> --gtest_filter=${ARG_FILTER} --gtest_brief=1)
        set_tests_properties(valgrind.${name} PROPERTIES
            TIMEOUT ${ORMU_TEST_TIMEOUT} LABELS "${ORMU_VALGRIND_LABELS}" COST 20 ENVIRONMENT GTEST_OUTPUT=)
        if(ARG_DAEMON_SOCKET AND ORMU_SOCKET_LOCK)
            set_tests_properties(valgrind.${name} PROPERTIES ${ORMU_SOCKET_LOCK})
        endif()
    endif()
endfunction()

# ormu_add_fuzz_target(NAME SOURCES target replay [SUBJECTS ...] [LIBRARIES ...] [REPLAY_LIBRARIES ...] [CORPUS directory]
#                      [REPLAY name] [LABELS ...] [DAEMON_SOCKET])
#
# In the preset fuzz: the program fuzz_NAME for libFuzzer. In every build: the test REPLAY, which runs the target on the corpus.
#   SOURCES            the target, then the test
#   SUBJECTS           the sources under test, compiled again for libFuzzer, and the LIBRARIES that they need
#   REPLAY_LIBRARIES   the libraries that the test takes them from
function(ormu_add_fuzz_target name)
    cmake_parse_arguments(ARG "DAEMON_SOCKET" "CORPUS;REPLAY"
        "SOURCES;SUBJECTS;LIBRARIES;REPLAY_LIBRARIES;LABELS" ${ARGN})
    list(GET ARG_SOURCES 0 target)
    set(includes ${PROJECT_SOURCE_DIR}/tests/support)
    if(ORMU_FUZZ)
        add_executable(fuzz_${name} ${target} ${ARG_SUBJECTS})
        set_target_properties(fuzz_${name} PROPERTIES ORMU_TEST_CODE OFF)
        target_include_directories(fuzz_${name} PRIVATE ${includes})
        foreach(subject ${ARG_SUBJECTS})
            cmake_path(GET subject PARENT_PATH directory)
            target_include_directories(fuzz_${name} PRIVATE ${directory})
        endforeach()
        target_link_libraries(fuzz_${name} PRIVATE ${ARG_LIBRARIES})
        target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
        set_target_properties(fuzz_${name} PROPERTIES ENABLE_EXPORTS ON)
    endif()
    set(socket "")
    if(ARG_DAEMON_SOCKET)
        set(socket DAEMON_SOCKET)
    endif()
    ormu_add_test(${ARG_REPLAY} SOURCES ${ARG_SOURCES} LIBRARIES ${ARG_REPLAY_LIBRARIES} LABELS ${ARG_LABELS} ${socket})
    target_include_directories(${ARG_REPLAY} PRIVATE ${includes})
    target_compile_definitions(${ARG_REPLAY} PRIVATE CORPUS_DIRECTORY="${CMAKE_CURRENT_SOURCE_DIR}/${ARG_CORPUS}")
    set_target_properties(${ARG_REPLAY} PROPERTIES ENABLE_EXPORTS ON)
endfunction()
