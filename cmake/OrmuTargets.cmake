# What every target of this project has in common.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# The processor's own protection against jumps to where no function starts, where it has one.
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

# The highest level that compiler and C library know together: they warn about a higher one.
block()
    set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
    check_cxx_source_compiles("#include <cstring>
        int main() {}" ORMU_HAS_FORTIFY_3)
endblock()
set(ORMU_FORTIFY_LEVEL $<IF:$<BOOL:${ORMU_HAS_FORTIFY_3}>,3,2>)

# ormu_common_options(TARGET [UNOPTIMISED] [LATE_BINDING])
#
# Warnings, which are errors in this project's own builds alone, and what makes an error in memory harder to exploit.
#   UNOPTIMISED    it is compiled with -O0, whatever the configuration says: _FORTIFY_SOURCE needs optimised code
#   LATE_BINDING   its functions are bound at their first call, so that it starts sooner, rather than all at the start
function(ormu_common_options target)
    cmake_parse_arguments(ARG "UNOPTIMISED;LATE_BINDING" "" "" ${ARGN})
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wconversion -Wshadow -Wcast-align
        $<$<BOOL:${ORMU_WERROR}>:-Werror>
        -fstack-protector-strong ${ORMU_BRANCH_PROTECTION}
        # Some compilers define it themselves. The sanitizers do not know the functions that it calls.
        -U_FORTIFY_SOURCE)
    set(is_optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    if(NOT ARG_UNOPTIMISED AND NOT ORMU_SANITIZE)
        target_compile_options(${target} PRIVATE $<${is_optimised}:-D_FORTIFY_SOURCE=${ORMU_FORTIFY_LEVEL}>)
    endif()
    if(ORMU_SANITIZE)
        target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
    else()
        target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
    endif()
    set(is_program $<STREQUAL:$<TARGET_PROPERTY:${target},TYPE>,EXECUTABLE>)
    target_link_options(${target} PRIVATE
        $<${is_program}:-pie> -Wl,-z,noexecstack -Wl,-z,relro -Wl,-z,$<IF:$<BOOL:${ARG_LATE_BINDING}>,lazy,now>)
endfunction()

# One component of the library: an object library, compiled with hidden visibility, that both the
# shared library and the tests of its inner classes are linked from.
function(ormu_add_component target)
    add_library(${target} OBJECT ${ARGN})
    ormu_common_options(${target})
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
endfunction()
