# Compiles every header alone, so that a user may include any of them first. A header with a source
# of the same name is left out: the source includes it first (CheckLayers.cmake holds it to that).

file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
    platform/*.h VlanSubIntfConfigLib/*.h agent/*.h)
set(sources)
foreach(header IN LISTS headers)
    string(REGEX REPLACE "h$" "cpp" own_source ${header})
    if(NOT EXISTS ${PROJECT_SOURCE_DIR}/${own_source})
        set(source ${PROJECT_BINARY_DIR}/headers/${own_source})
        file(CONFIGURE OUTPUT ${source} CONTENT "#include \"@header@\"\n" @ONLY)
        list(APPEND sources ${source})
    endif()
endforeach()

if(sources)
    add_library(headers OBJECT ${sources})
    target_compile_options(headers PRIVATE -O0)
    target_link_libraries(headers PRIVATE vsic_headers $<TARGET_NAME_IF_EXISTS:agent_lib>)
endif()
