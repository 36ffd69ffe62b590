# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

# What is installed, and where. The components are runtime (the libraries), development (what a program is built with), phone
# and daemon. The installed tree may be moved: it has no absolute path but that of sipd in the unit for systemd.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ORMU_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/ormusipsetup)
set(ORMU_MODULES ormusipsetup) # beside the libraries: what the phone loads at run time
set(ORMU_SYSTEMD_USER_UNIT_DIR lib/systemd/user CACHE STRING "Where the units for systemd --user go")

foreach(directory BINDIR LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE ${CMAKE_INSTALL_${directory}})
        message(FATAL_ERROR "CMAKE_INSTALL_${directory} must be a path below CMAKE_INSTALL_PREFIX")
    endif()
endforeach()
file(RELATIVE_PATH ORMU_LIBRARIES_FROM_PROGRAMS ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})

# The build tree is laid out like the installed one, so that the run paths fit both.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
if(PROJECT_IS_TOP_LEVEL)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
    set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
endif()

# ormu_set_run_path(TARGET PATH): where an installed file looks for libraries of this project. A build that CMake changes when
# it is installed would have an empty path before, which means the working directory.
function(ormu_set_run_path target path)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH ${path})
    if(ORMU_PLATFORM) # which may be anywhere
        set_target_properties(${target} PROPERTIES INSTALL_RPATH_USE_LINK_PATH ON)
    endif()
    if(PROJECT_IS_TOP_LEVEL AND NOT ORMU_PLATFORM AND NOT CMAKE_SKIP_INSTALL_RPATH)
        set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
    endif()
endfunction()

# ormu_install_shared_library(TARGET EXPORT HEADER-DIRECTORY)
function(ormu_install_shared_library target export headers)
    install(TARGETS ${target} EXPORT ${export}
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        FILE_SET HEADERS COMPONENT development DESTINATION ${headers})
endfunction()

# ormu_install_package(NAME): the CMake package made of cmake/NAMEConfig.cmake.in. Each further argument is an export of it.
function(ormu_install_package name)
    set(directory ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
    set(made ${PROJECT_BINARY_DIR}/generated/${name})
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/${name}Config.cmake.in ${made}Config.cmake
        INSTALL_DESTINATION ${directory} NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${made}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${made}Config.cmake ${made}ConfigVersion.cmake DESTINATION ${directory} COMPONENT development)
    foreach(export ${ARGN})
        install(EXPORT ${export} NAMESPACE Ormu:: DESTINATION ${directory} COMPONENT development)
    endforeach()
endfunction()

# ormu_install_pkg_config(NAME): made of cmake/NAME.pc.in. Its paths begin at the file itself.
function(ormu_install_pkg_config name)
    set(directory ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
    file(RELATIVE_PATH prefix ${directory} ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" ORMU_PREFIX_OF_PKG_CONFIG ${prefix})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/generated/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/generated/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

# The library, and what belongs to it.
function(ormu_install_library)
    set_target_properties(ormusipsetup PROPERTIES EXPORT_NAME sipsetup)
    ormu_set_run_path(ormusipsetup $ORIGIN)
    ormu_install_shared_library(ormusipsetup OrmuSipSetupTargets ${ORMU_INSTALL_HEADERS})
    set_target_properties(ormusipd_client PROPERTIES EXPORT_NAME sipd-client)
    install(TARGETS ormusipd_client EXPORT OrmuSipdClientTargets)
    ormu_install_package(OrmuSipSetup OrmuSipSetupTargets OrmuSipdClientTargets)
    if(NOT ORMU_PLATFORM) # whose name in pkg-config nobody knows
        ormu_install_pkg_config(ormusipsetup)
    endif()
    ormu_install_pkg_config(ormusipd-client)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/protocol.md TYPE DOC COMPONENT development)
    install(FILES ${PROJECT_SOURCE_DIR}/tests/link/vectors/messages.txt
        DESTINATION ${CMAKE_INSTALL_DATADIR}/ormusipsetup COMPONENT development)
endfunction()
