# Dependencies run one way: agent -> VlanSubIntfConfigLib -> platform, and inside platform in the
# order of the numbered list in platform/README.md, which is written down nowhere else.
#
#   read_platform_layers(<readme> <variable>)   the names of that list, lowest first
#   target layers                               rejects a wrong #include, as a part of every build

function(read_platform_layers readme variable)
    file(STRINGS ${readme} lines REGEX "^[0-9]+\\. `[A-Za-z]+`")
    if(NOT lines)
        message(FATAL_ERROR "${readme} has no line like \"1. `Name` ...\": the layers are unknown")
    endif()
    list(TRANSFORM lines REPLACE "^[0-9]+\\. `([A-Za-z]+)`.*" "\\1")
    set(${variable} ${lines} PARENT_SCOPE)
endfunction()

# The same file serves the check, which runs as a script and wants the function only.
if(CMAKE_SCRIPT_MODE_FILE)
    return()
endif()

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS platform/README.md)
file(GLOB_RECURSE layered_files CONFIGURE_DEPENDS
    platform/*.h platform/*.cpp
    VlanSubIntfConfigLib/*.h VlanSubIntfConfigLib/*.cpp
    agent/*.h agent/*.cpp)
set(check ${PROJECT_SOURCE_DIR}/cmake/CheckLayers.cmake)
set(stamp ${PROJECT_BINARY_DIR}/layers.stamp)
add_custom_command(OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -DROOT=${PROJECT_SOURCE_DIR} -P ${check}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${check} ${CMAKE_CURRENT_LIST_FILE} platform/README.md ${layered_files}
    COMMENT "Checking the layers of the includes"
    VERBATIM)
add_custom_target(layers ALL DEPENDS ${stamp})
