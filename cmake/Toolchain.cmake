# SPDX-License-Identifier: Apache-2.0
# Flags that every target of the project shares, carried by the interface target vello_flags.

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    # What it asks of those who precompile headers.
    set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE_PROGRAM})
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

# The sanitizers' presets compile several files of a target at a time, which takes half as long; so do all presets of
# scripts/test with the tests. vello_compile_alone(SOURCES...): not these. Names of their own are names of other files too,
# or a class has members of types that are known to one file only.
function(vello_compile_alone)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

find_package(Threads REQUIRED)
add_library(vello_flags INTERFACE)
target_link_libraries(vello_flags INTERFACE Threads::Threads)
target_compile_options(vello_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wimplicit-fallthrough
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)
if(VELLO_WARNINGS_AS_ERRORS)
    target_compile_options(vello_flags INTERFACE -Werror)
endif()
# A library whose symbols a program does not use would still be loaded into it, with all that the library needs.
target_link_options(vello_flags INTERFACE LINKER:--as-needed)
if(VELLO_HARDENING AND NOT VELLO_SANITIZE)
    # Fortified functions need an optimizer.
    target_compile_options(vello_flags INTERFACE
        -fstack-protector-strong -fstack-clash-protection
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
    target_link_options(vello_flags INTERFACE LINKER:-z,relro LINKER:-z,now)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
        target_compile_options(vello_flags INTERFACE -fcf-protection)
    endif()
endif()
if(VELLO_SANITIZE)
    target_compile_options(vello_flags INTERFACE
        -fsanitize=${VELLO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vello_flags INTERFACE -fsanitize=${VELLO_SANITIZE})
endif()

# Flags of what only tests run, for targets that link vello_flags as well. What is tested keeps the flags of its preset;
# optimizing and watching the tests themselves as thoroughly would take most of the time that scripts/test has.
add_library(vello_test_flags INTERFACE)
if(VELLO_SANITIZE)
    target_compile_options(vello_test_flags INTERFACE -O0)
    if(VELLO_SANITIZE MATCHES undefined)
        target_compile_options(vello_test_flags INTERFACE -fno-sanitize=undefined)
    endif()
elseif(CMAKE_BUILD_TYPE STREQUAL Release)
    target_compile_options(vello_test_flags INTERFACE -O1)
endif()
if(VELLO_SHORT_TEST_BUILD)
    # The first for ccache. The others are asked for by some libraries, and all tests share the headers.
    target_compile_options(vello_test_flags INTERFACE -fpch-preprocess -fPIC)
    target_compile_definitions(vello_test_flags INTERFACE _REENTRANT)
endif()
