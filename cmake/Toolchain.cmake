# SPDX-License-Identifier: Apache-2.0
# Flags that every target of the project shares, carried by the interface target vello_flags.

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

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
if(VELLO_SANITIZE)
    target_compile_options(vello_flags INTERFACE
        -fsanitize=${VELLO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vello_flags INTERFACE -fsanitize=${VELLO_SANITIZE})
endif()
