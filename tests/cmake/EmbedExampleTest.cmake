# Installs the build, moves the result elsewhere, and builds and runs examples/embed against it as a
# host would: once with find_package, once with pkg-config. BUILD_DIR, EXAMPLE_DIR, WORK_DIR, LIBDIR,
# GENERATOR, CXX, CXX_FLAGS and BUILD_TYPE come from tests/CMakeLists.txt.

cmake_minimum_required(VERSION 3.25)

set(prefix ${WORK_DIR}/moved)
file(REMOVE_RECURSE ${WORK_DIR})
file(READ ${EXAMPLE_DIR}/expected.txt expected)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(expect_output program)
    execute_process(COMMAND ${ARGN} ${program}
        COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output)
    if(NOT output STREQUAL expected)
        message(FATAL_ERROR "${program} printed:\n${output}\nexpected.txt says:\n${expected}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/installed)
file(RENAME ${WORK_DIR}/installed ${prefix})
if(EXISTS ${prefix}/bin/vlan-subintf)
    run(${prefix}/bin/vlan-subintf --help)
endif()

run(${CMAKE_COMMAND} -S ${EXAMPLE_DIR} -B ${WORK_DIR}/find_package -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_CXX_FLAGS=${CXX_FLAGS} -DCMAKE_BUILD_TYPE=${BUILD_TYPE}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/find_package)
expect_output(${WORK_DIR}/find_package/embed)

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs VlanSubIntfConfigLib
    COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE flags)
separate_arguments(flags UNIX_COMMAND "${flags} ${CXX_FLAGS}")
run(${CXX} -std=c++20 ${EXAMPLE_DIR}/embed.cpp -o ${WORK_DIR}/embed ${flags})
expect_output(${WORK_DIR}/embed
    ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR})
