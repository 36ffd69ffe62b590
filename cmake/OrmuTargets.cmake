# What every target of this project has in common.

# Warnings are errors in this project's own builds; a project that adds this one is spared.
function(ormu_common_options target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wconversion -Wshadow -Wcast-align
        $<$<BOOL:${ORMU_WERROR}>:-Werror>)
endfunction()

# One room of the library: an object library, compiled with hidden visibility, that both the
# shared library and the tests of its inner classes are linked from.
function(ormu_add_room target)
    add_library(${target} OBJECT ${ARGN})
    ormu_common_options(${target})
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
endfunction()
