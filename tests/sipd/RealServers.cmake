# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

# The daemon with real SIP servers, each started by its test on ports of its own.
find_program(ORMU_KAMAILIO kamailio PATHS /usr/sbin)
if(NOT ORMU_KAMAILIO)
    message(STATUS "The tests with real SIP servers are left out: kamailio is missing")
    return()
endif()

add_library(real_servers STATIC
    RealServerKamailio.cpp RealServerKamailio.h
    RealServerProcess.cpp RealServerProcess.h)
target_include_directories(real_servers PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_definitions(real_servers PRIVATE KAMAILIO_PROGRAM="${ORMU_KAMAILIO}")
target_link_libraries(real_servers PUBLIC sipd_test_support)

ormu_add_test(real_server_test DAEMON_SOCKET
    SOURCES DemoRegistrarTest.cpp PeerRegistrarTest.cpp RealServerTest.h RealServerLifeTest.cpp RealServerOutcomeTest.cpp RealServerTlsTest.cpp
    LIBRARIES real_servers LABELS sipd
    NOT_EMULATED *LeavesNoMemory* "the emulator itself grows with what it has translated"
        *DoesNotSpeakTls "the emulator's clocks are the machine's own")
target_compile_definitions(real_server_test PRIVATE
    PEERS_DIRECTORY="${CMAKE_CURRENT_SOURCE_DIR}/peers")
add_dependencies(real_server_test demo-registrar)

ormu_add_test(end_to_end_test QT DAEMON_SOCKET
    SOURCES EndToEndTest.cpp
    LIBRARIES real_servers setup_screens_fixture LABELS sipd)

ormu_share_headers(real_servers real_server_test end_to_end_test)
