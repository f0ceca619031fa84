# Runs COMMAND and compares its exit code with EXIT_CODE; then THEN if it is given, which shows what
# COMMAND made, the whole file NEW. Compares their output, the errors behind the rest, with the file
# EXPECTED, line ends aside.
set(ENV{WINEDEBUG} -all) # where COMMAND runs under Wine, that says nothing of its own
if(NEW)
    file(REMOVE ${NEW})
endif()
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE output ERROR_VARIABLE errors
                RESULT_VARIABLE result)
if(THEN AND result EQUAL EXIT_CODE)
    execute_process(COMMAND ${THEN} OUTPUT_VARIABLE more ERROR_VARIABLE errors_then
                    RESULT_VARIABLE result_then)
    string(APPEND output "${more}")
    string(APPEND errors "${errors_then}")
    if(NOT result_then EQUAL 0)
        set(result "0, but then ${result_then}")
    endif()
endif()
if(NOT errors STREQUAL "")
    string(APPEND output "--- errors\n${errors}")
endif()
file(READ ${EXPECTED} expected)
string(REPLACE "\r\n" "\n" output "${output}")
if(NOT result EQUAL EXIT_CODE)
    message(FATAL_ERROR "Exit code ${result} in place of ${EXIT_CODE}. The output:\n${output}")
endif()
if(NOT output STREQUAL expected)
    message(FATAL_ERROR "Expected:\n${expected}\nbut the output was:\n${output}")
endif()
