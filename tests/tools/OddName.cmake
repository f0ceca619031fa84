# Inspects a copy of FILE whose name has letters of many scripts, in a folder with such a name, and a
# file of such a name that is not there: the first is found, the second is named as it was given.
set(ENV{WINEDEBUG} -all)
set(folder "${FOLDER}/Prüfung 測 Ωж")
file(MAKE_DIRECTORY "${folder}")
file(COPY_FILE "${FILE}" "${folder}/größe.qda")
execute_process(COMMAND ${INSPECT} check "${folder}/größe.qda" ERROR_VARIABLE errors
                RESULT_VARIABLE result)
string(STRIP "${errors}" errors)
if(NOT result EQUAL 0 OR NOT errors STREQUAL "The file is whole.")
    message(FATAL_ERROR "Exit code ${result} and: ${errors}")
endif()
execute_process(COMMAND ${INSPECT} check "fehlt 測 Ωж.qda" ERROR_VARIABLE errors
                RESULT_VARIABLE result)
string(STRIP "${errors}" errors)
if(NOT result EQUAL 2 OR NOT errors STREQUAL "fehlt 測 Ωж.qda: the file cannot be opened")
    message(FATAL_ERROR "Exit code ${result} and: ${errors}")
endif()
