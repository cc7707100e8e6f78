# cmake -DROOT=<source tree> -P CheckLayers.cmake
#
# Checks the #include lines of platform/, VlanSubIntfConfigLib/ and agent/:
#   - a file includes its own layer and those before it (see Layers.cmake);
#   - a quoted include is written from the root, so that no path slips past that rule;
#   - X.cpp includes its own X.h first, so that a header which is not self-contained fails at once.

cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/Layers.cmake)

read_platform_layers(${ROOT}/platform/README.md layers)
list(APPEND layers VlanSubIntfConfigLib agent)

# The layer of a path from the root: its folder, or in platform/ the library.
function(layer_of path variable)
    string(REGEX REPLACE "^platform/([A-Za-z0-9]+).*" "\\1" layer ${path})
    string(REGEX REPLACE "/.*" "" layer ${layer})
    set(${variable} ${layer} PARENT_SCOPE)
endfunction()

set(findings 0)
function(report file line text)
    file(READ ${ROOT}/${file} content)
    string(FIND "${content}" "${line}" position)
    string(SUBSTRING "${content}" 0 ${position} before)
    string(REGEX REPLACE "[^\n]" "" newlines "${before}")
    string(LENGTH "${newlines}" number)
    math(EXPR number "${number} + 1")
    message(NOTICE "${file}:${number}: ${text}")
    math(EXPR findings "${findings} + 1")
    set(findings ${findings} PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE files RELATIVE ${ROOT}
    ${ROOT}/platform/*.h ${ROOT}/platform/*.cpp
    ${ROOT}/VlanSubIntfConfigLib/*.h ${ROOT}/VlanSubIntfConfigLib/*.cpp
    ${ROOT}/agent/*.h ${ROOT}/agent/*.cpp)
foreach(file IN LISTS files)
    layer_of(${file} layer)
    list(FIND layers ${layer} rank)
    if(rank EQUAL -1)
        message(NOTICE "${file}:1: ${layer} is not in the list of platform/README.md")
        math(EXPR findings "${findings} + 1")
        continue()
    endif()

    string(REGEX REPLACE "cpp$" "h" first_expected ${file})
    if(first_expected STREQUAL file OR NOT EXISTS ${ROOT}/${first_expected})
        set(first_expected "")
    endif()

    file(STRINGS ${ROOT}/${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*[\"<]")
    foreach(line IN LISTS lines)
        if(NOT line MATCHES "include[ \t]*([\"<])([^\">]+)[\">]")
            continue()
        endif()
        set(quote ${CMAKE_MATCH_1})
        set(included ${CMAKE_MATCH_2})

        if(first_expected AND NOT included STREQUAL first_expected)
            report(${file} "${line}" "the first include must be \"${first_expected}\"")
        endif()
        set(first_expected "")

        if(included MATCHES "^(platform|VlanSubIntfConfigLib|agent)/" AND NOT included MATCHES "\\.\\.")
            layer_of(${included} included_layer)
            list(FIND layers ${included_layer} included_rank)
            if(included_rank EQUAL -1)
                report(${file} "${line}"
                    "${included_layer} is not in the list of platform/README.md")
            elseif(included_rank GREATER rank)
                report(${file} "${line}"
                    "layer ${layer} must not include \"${included}\" of the later layer ${included_layer}")
            endif()
        elseif(quote STREQUAL "\"")
            report(${file} "${line}"
                "\"${included}\" is not a path from the root into a layer of the product")
        endif()
    endforeach()
endforeach()

if(findings GREATER 0)
    message(FATAL_ERROR "${findings} include(s) against the rules of cmake/CheckLayers.cmake")
endif()
