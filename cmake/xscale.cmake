# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

# The phone's processor: ARMv5TE without a floating point unit. tools/xscale-sysroot comes first.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv5tel)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabi)
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH ORMU_ROOT)
set(CMAKE_SYSROOT ${ORMU_ROOT}/build/xscale-sysroot)
set(ORMU_BINUTILS_PREFIX arm-linux-gnueabi-)
set(CMAKE_C_COMPILER ${ORMU_BINUTILS_PREFIX}gcc)
set(CMAKE_CXX_COMPILER ${ORMU_BINUTILS_PREFIX}g++)
# With 32-bit offsets a program could not read this machine's directories in the emulator.
set(flags "-mcpu=xscale -mfloat-abi=soft -marm -D_FILE_OFFSET_BITS=64 -Wno-psabi")
set(CMAKE_C_FLAGS_INIT ${flags})
set(CMAKE_CXX_FLAGS_INIT ${flags})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabi/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
# moc and rcc run on this machine.
set(QT_HOST_PATH /usr)
file(GLOB QT_HOST_PATH_CMAKE_DIR /usr/lib/*/cmake/Qt6HostInfo)
cmake_path(GET QT_HOST_PATH_CMAKE_DIR PARENT_PATH QT_HOST_PATH_CMAKE_DIR)

set(CMAKE_CROSSCOMPILING_EMULATOR ${ORMU_ROOT}/tools/xscale-emulator)
