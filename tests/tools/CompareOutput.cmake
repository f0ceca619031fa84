# Runs COMMAND and compares its exit code with EXIT_CODE and its output with the file EXPECTED, line
# ends aside.
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE output RESULT_VARIABLE result)
file(READ ${EXPECTED} expected)
string(REPLACE "\r\n" "\n" output "${output}")
if(NOT result EQUAL EXIT_CODE)
    message(FATAL_ERROR "Exit code ${result} in place of ${EXIT_CODE}. The output:\n${output}")
endif()
if(NOT output STREQUAL expected)
    message(FATAL_ERROR "Expected:\n${expected}\nbut the output was:\n${output}")
endif()
