# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

# What every target of this project has in common: it is linked to ormu_options.
#
# Properties of a target that change its options:
#   ORMU_TEST_CODE     code of the tests, compiled without optimisation and sanitizers, in half the time. The presets release
#                      and debug use the same options, so that the second build finds the objects in a compiler cache. A
#                      directory may have this property
#   ORMU_OFTEN_RUN     optimised a little when sanitized: the tests call it millions of times
#   ORMU_NO_SANITIZE   the sanitizers to leave out, or "all"
#   ORMU_LATE_BINDING  the functions that it calls are bound at their first call, so that it starts sooner

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# The processor's protection against jumps into the middle of a function, if it has one.
set(ORMU_BRANCH_PROTECTION "")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
    set(branch_protection -fcf-protection)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    set(branch_protection -mbranch-protection=standard)
endif()
if(branch_protection)
    check_cxx_compiler_flag(${branch_protection} ORMU_HAS_BRANCH_PROTECTION)
    if(ORMU_HAS_BRANCH_PROTECTION)
        set(ORMU_BRANCH_PROTECTION ${branch_protection})
    endif()
endif()

# The highest level that both the compiler and the C library know. They warn about a higher one.
block()
    set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
    check_cxx_source_compiles("#include <cstring>
        int main() {}" ORMU_HAS_FORTIFY_3)
endblock()

define_property(TARGET PROPERTY ORMU_TEST_CODE INHERITED)

add_library(ormu_options INTERFACE)
# Warnings are errors in ./check only.
target_compile_options(ormu_options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Wcast-align $<$<BOOL:${ORMU_WERROR}>:-Werror>
    # Of -Wconversion, what GCC means by it in C++.
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-sign-conversion>
    # GCC takes a source of a unity build for a header.
    $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-Wno-subobject-linkage>)

# GCC takes up to 200 MB more, and a twentieth less time.
target_compile_options(ormu_options INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:--param=ggc-min-heapsize=500000>)

# What makes an error in memory harder to exploit. Some compilers define _FORTIFY_SOURCE themselves; it needs optimised
# code, and the sanitizers do not know the functions that it calls.
set(is_test $<BOOL:$<TARGET_PROPERTY:ORMU_TEST_CODE>>)
set(is_program $<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>)
set(is_late $<BOOL:$<TARGET_PROPERTY:ORMU_LATE_BINDING>>)
if(CMAKE_SHARED_LINKER_FLAGS MATCHES "-z,now") # a packager's wish
    set(is_late 0)
endif()
target_compile_options(ormu_options INTERFACE -fstack-protector-strong ${ORMU_BRANCH_PROTECTION} -U_FORTIFY_SOURCE)
target_link_options(ormu_options INTERFACE
    $<${is_program}:-pie> -Wl,-z,noexecstack -Wl,-z,relro
    -Wl,-z,$<IF:${is_late},lazy,now>)

# Assertions of the standard library and of Qt are on in sanitized code, in tests and in Debug builds. Sanitized code compiles in
# half the time when it is not optimised.
if(ORMU_SANITIZE)
    set(product -O$<IF:$<BOOL:$<TARGET_PROPERTY:ORMU_OFTEN_RUN>>,1,0> -g1 -fsanitize=${ORMU_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        -UNDEBUG -UQT_NO_DEBUG -D_GLIBCXX_ASSERTIONS)
    set(exception "$<TARGET_PROPERTY:ORMU_NO_SANITIZE>")
    set(exception "$<$<BOOL:${exception}>:-fno-sanitize=${exception}>")
    list(APPEND product ${exception})
    target_link_options(ormu_options INTERFACE -fsanitize=${ORMU_SANITIZE} ${exception})
    if(ORMU_FUZZ)
        list(APPEND product -O1 -fsanitize=fuzzer-no-link)
    endif()
else()
    set(is_optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    set(product $<${is_optimised}:-D_FORTIFY_SOURCE=$<IF:$<BOOL:${ORMU_HAS_FORTIFY_3}>,3,2>>
        $<$<CONFIG:Debug>:-D_GLIBCXX_ASSERTIONS>)
endif()
# What is built must not depend on where it is built: nothing of the product names a directory of this machine.
if(NOT ORMU_SANITIZE)
    list(APPEND product -ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()
target_compile_options(ormu_options INTERFACE
    "$<${is_test}:-O0;-g1;-UNDEBUG;-UQT_NO_DEBUG;-D_GLIBCXX_ASSERTIONS>" "$<$<NOT:${is_test}>:${product}>")

# ormu_add_component(TARGET SOURCES...): one component of the library. Its objects are compiled with hidden visibility; the
# shared library is linked from them, and so are the tests of its inner classes.
function(ormu_add_component target)
    add_library(${target} OBJECT ${ARGN})
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    # With the types, which tests/install/abi-test reads.
    target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo>:-g>)
endfunction()
