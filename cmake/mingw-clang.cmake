# The Windows sources seen by a second compiler: Clang with MinGW's headers and libstdc++. It only
# compiles (Debian has no runtime for linking), as the nearest thing at hand to another Windows
# compiler.

include(${CMAKE_CURRENT_LIST_DIR}/mingw-ucrt.cmake)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=include/c++
                OUTPUT_VARIABLE headers OUTPUT_STRIP_TRAILING_WHITESPACE)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
string(REGEX REPLACE "-specs=[^ ]+" "" CMAKE_CXX_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")
foreach(folder "" /x86_64-w64-mingw32 /backward)
    string(APPEND CMAKE_CXX_FLAGS_INIT " -stdlib++-isystem ${headers}${folder}")
endforeach()
