# The daemon with real SIP servers, each started by its test on ports of its own.
find_program(ORMU_KAMAILIO kamailio PATHS /usr/sbin REQUIRED)
find_program(ORMU_SIPP sipp REQUIRED)

add_library(real_servers STATIC
    RealServerDaemon.cpp RealServerDaemon.h
    RealServerKamailio.cpp RealServerKamailio.h
    RealServerProcess.cpp RealServerProcess.h)
ormu_common_options(real_servers)
set_target_properties(real_servers PROPERTIES AUTOMOC OFF)
target_include_directories(real_servers PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_definitions(real_servers PRIVATE SIPD_PROGRAM="${sipd_program}" KAMAILIO_PROGRAM="${ORMU_KAMAILIO}")
target_link_libraries(real_servers PUBLIC ormusipsetup_link GTest::gtest)
add_dependencies(real_servers sipd)

ormu_add_test(real_server_test DAEMON_SOCKET
    SOURCES RealServerTest.cpp RealServerTest.h
        RealServerLifeTest.cpp RealServerOutcomeTest.cpp RealServerTlsTest.cpp
    LIBRARIES real_servers ormusipsetup_internals ormu_settings_fixture daemon_test)
