# On the captured state of a kernel, model_derive prints what `vlan-subintf derive -j` prints.
# PROGRAM, MODEL: the two programs; CAPTURE: a folder with links.json and vlans.json.

execute_process(
    COMMAND ${PROGRAM} derive -j --links ${CAPTURE}/links.json --vlans ${CAPTURE}/vlans.json
    OUTPUT_VARIABLE derived
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(
    COMMAND ${MODEL} ${CAPTURE}/links.json ${CAPTURE}/vlans.json
    OUTPUT_VARIABLE modelled
    COMMAND_ERROR_IS_FATAL ANY)
if(NOT modelled STREQUAL derived)
    message(FATAL_ERROR "derived:\n${derived}\nmodelled:\n${modelled}")
endif()
