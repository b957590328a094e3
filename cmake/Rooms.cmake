# SPDX-License-Identifier: Apache-2.0
# A room is a folder of src/ with a library of its own. Other rooms see exactly the headers that it declares, and
# only if they link it: the headers are staged, one link each, in an include root of the room's own. So an include that
# the design forbids does not compile. Every declared header is also compiled alone.
#
# vello_add_room(TARGET HEADERS ... SOURCES ... PUBLIC ... PRIVATE ...), once in the CMakeLists.txt of the room's folder.
function(vello_add_room target)
    cmake_parse_arguments(ROOM "" "" "HEADERS;SOURCES;PUBLIC;PRIVATE" ${ARGN})
    get_directory_property(room VELLO_ROOM)
    if(room)
        message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR} is the room ${room} already: a folder holds one library.")
    endif()
    set_directory_properties(PROPERTIES VELLO_ROOM ${target})
    file(RELATIVE_PATH ROOM_FOLDER ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
    set(stage ${CMAKE_BINARY_DIR}/rooms/${target})
    file(REMOVE_RECURSE ${stage}) # a header that is declared no longer must not stay visible
    file(MAKE_DIRECTORY ${stage}/${ROOM_FOLDER})
    set(alone_sources)
    foreach(header IN LISTS ROOM_HEADERS)
        file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${stage}/${ROOM_FOLDER}/${header} SYMBOLIC)
        vello_first_include(first "${header}" "${ROOM_SOURCES}")
        if("${first}" STREQUAL "${ROOM_FOLDER}/${header}" OR "${first}" STREQUAL "${header}")
            continue()
        endif()
        string(MAKE_C_IDENTIFIER ${header} stem)
        set(alone ${CMAKE_BINARY_DIR}/headers-alone/${target}/${stem}.cpp)
        file(CONFIGURE OUTPUT ${alone} CONTENT "#include \"${ROOM_FOLDER}/${header}\"\n")
        list(APPEND alone_sources ${alone})
    endforeach()

    if(ROOM_SOURCES)
        add_library(${target} STATIC ${ROOM_SOURCES})
        target_include_directories(${target} PUBLIC ${stage})
        target_link_libraries(${target} PUBLIC ${ROOM_PUBLIC} PRIVATE ${ROOM_PRIVATE} vello_flags)
        # vello_flags also carries the sanitizers' link options to whatever links the room.
        target_link_libraries(${target} INTERFACE $<LINK_ONLY:vello_flags>)
    else()
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE ${stage})
        target_link_libraries(${target} INTERFACE ${ROOM_PUBLIC})
    endif()

    # For scripts/checks/rooms.
    set(kind INCLUDE_DIRECTORIES)
    if(NOT ROOM_SOURCES)
        set(kind INTERFACE_INCLUDE_DIRECTORIES)
    endif()
    file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/rooms/${target}.includes
        CONTENT "$<JOIN:$<REMOVE_DUPLICATES:$<TARGET_PROPERTY:${target},${kind}>>,\n>\n")

    if(alone_sources)
        add_library(${target}_headers_alone OBJECT ${alone_sources})
        set_target_properties(${target}_headers_alone PROPERTIES UNITY_BUILD OFF)
        target_link_libraries(${target}_headers_alone PRIVATE ${target} vello_flags)
    endif()
endfunction()

# vello_first_include(VARIABLE HEADER SOURCES): what the source file of that header includes first; empty if it has none.
function(vello_first_include variable header sources)
    set(${variable} "" PARENT_SCOPE)
    string(REGEX REPLACE "\\.h$" ".cpp" source ${header})
    if(source IN_LIST sources)
        file(STRINGS ${source} includes REGEX "^#include " LIMIT_COUNT 1)
        string(REGEX REPLACE "^#include [\"<](.*)[\">].*$" "\\1" included "${includes}")
        set(${variable} "${included}" PARENT_SCOPE)
    endif()
endfunction()
