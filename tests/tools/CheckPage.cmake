# Has COMMAND write the page of a file, opens it in a browser and has CheckPage.js look at it, which
# searches for SEARCH, wants to be told FOUND and to see the texts TEXTS, of the file NAME.
find_program(BROWSER NAMES chromium chromium-browser google-chrome)
if(NOT BROWSER)
    message("There is no browser to open the page in: skipped")
    return()
endif()
set(ENV{WINEDEBUG} -all)
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE page ERROR_VARIABLE errors)
if(errors OR NOT page MATCHES "</body>")
    message(FATAL_ERROR "No page: ${errors}")
endif()
file(READ ${CMAKE_CURRENT_LIST_DIR}/CheckPage.js check)
set(wanted "const wanted = {name: '${NAME}', search: '${SEARCH}', found: '${FOUND}', texts: ${TEXTS}};")
string(REPLACE "</body>" "<script>${wanted}\n${check}</script></body>" page "${page}")
file(WRITE ${FOLDER}/page.html "${page}")
execute_process(COMMAND ${BROWSER} --headless --no-sandbox --disable-gpu
                        --user-data-dir=${FOLDER}/browser --virtual-time-budget=10000 --dump-dom
                        file://${FOLDER}/page.html
                OUTPUT_VARIABLE document ERROR_VARIABLE errors)
if(NOT document MATCHES "data-outcome=\"([^\"]*)\"")
    message(FATAL_ERROR "The browser has no outcome: ${errors}")
elseif(NOT CMAKE_MATCH_1 STREQUAL "fine")
    message(FATAL_ERROR "The page is wrong: ${CMAKE_MATCH_1}")
endif()
