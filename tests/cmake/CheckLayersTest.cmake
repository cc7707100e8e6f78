# cmake -DCHECK=<CheckLayers.cmake> -DWORK_DIR=<scratch folder> -P CheckLayersTest.cmake
#
# Plants one include at a time in a small tree and holds the check to what it must say about it.

cmake_minimum_required(VERSION 3.25)

# expect(<file> <include> <message>): an empty message means that the include is allowed.
function(expect file include message)
    file(REMOVE_RECURSE ${WORK_DIR})
    file(WRITE ${WORK_DIR}/platform/README.md "1. `Low` — first.\n2. `High` — second.\n")
    file(WRITE ${WORK_DIR}/platform/Low.h "#pragma once\n")
    file(WRITE ${WORK_DIR}/platform/High/Part.h "#include \"platform/Low.h\"\n")
    file(WRITE ${WORK_DIR}/${file} "// A comment.\n\n#include ${include} // planted\n")
    execute_process(COMMAND ${CMAKE_COMMAND} -DROOT=${WORK_DIR} -P ${CHECK}
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(message)
        string(FIND "${output}" "${file}:${message}" position)
        if(result EQUAL 0 OR position EQUAL -1)
            message(SEND_ERROR "${include} in ${file}: wanted \"${message}\", got: ${output}")
        endif()
    elseif(NOT result EQUAL 0)
        message(SEND_ERROR "${include} in ${file} should be allowed, got: ${output}")
    endif()
endfunction()

# With the order.
expect(platform/High.h "\"platform/Low.h\"" "")
expect(platform/High/Other.h "\"platform/High/Part.h\"" "")
expect(VlanSubIntfConfigLib/A.cpp "\"platform/High/Part.h\"" "")
expect(agent/a.cpp "\"VlanSubIntfConfigLib/VlanSubIntfConfigLib.h\"" "")
expect(agent/a.cpp "<CLI/CLI.hpp>" "")

# Against it.
expect(platform/Low/Part.cpp "\"platform/High.h\""
    "3: layer Low must not include \"platform/High.h\" of the later layer High")
expect(platform/Low/Part.cpp "<platform/High/Part.h>"
    "3: layer Low must not include \"platform/High/Part.h\" of the later layer High")
expect(platform/High.cpp "\"VlanSubIntfConfigLib/A.h\""
    "3: layer High must not include \"VlanSubIntfConfigLib/A.h\" of the later layer VlanSubIntfConfigLib")
expect(VlanSubIntfConfigLib/A.cpp "\"agent/a.h\""
    "3: layer VlanSubIntfConfigLib must not include \"agent/a.h\" of the later layer agent")

# Past it.
expect(platform/Low/Part.cpp "\"../High.h\"" "3: \"../High.h\" is not a path from the root")
expect(platform/Low/Part.cpp "\"platform/Low/../High.h\"" "3: \"platform/Low/../High.h\" is not a path")
expect(agent/a.cpp "\"tests/support/Main.h\"" "3: \"tests/support/Main.h\" is not a path from the root")
expect(platform/New.h "<cstdint>" "1: New is not in the list")
expect(agent/a.cpp "\"platform/New.h\"" "3: New is not in the list")

# A source and its header.
expect(platform/Low.cpp "\"platform/Low.h\"" "")
expect(platform/Low.cpp "<cstdint>" "3: the first include must be \"platform/Low.h\"")
