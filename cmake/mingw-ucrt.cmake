# Cross build for 64-bit Windows with Debian's MinGW-w64 (posix threads), against the UCRT.
#
# The compiler links msvcrt.dll unasked; a specs file made from its own puts the UCRT in its place.
# Only linking reads it: its path in a command keeps the compiler cache from serving other checkouts.
# The static winpthread wants "_setjmp", which the UCRT exports under another name.
# The GCC runtime is linked statically, so that the binaries need no DLL beyond Windows' own.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(QD_UCRT_SPECS ${CMAKE_BINARY_DIR}/ucrt.specs)
if(NOT EXISTS ${QD_UCRT_SPECS})
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpspecs OUTPUT_VARIABLE specs
                    COMMAND_ERROR_IS_FATAL ANY)
    string(REPLACE "-lmsvcrt" "-lucrt" specs "${specs}")
    file(WRITE ${QD_UCRT_SPECS} "${specs}")
endif()

set(CMAKE_C_FLAGS_INIT "-D_UCRT")
set(CMAKE_CXX_FLAGS_INIT "-D_UCRT -include ${CMAKE_CURRENT_LIST_DIR}/mingw-mbstate.h -D_WIN32_WINNT=0x0A00 -DNOMINMAX -DWIN32_LEAN_AND_MEAN")
foreach(kind EXE SHARED)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT
        "-specs=${QD_UCRT_SPECS} -static -Wl,-u,__intrinsic_setjmp -Wl,--defsym,_setjmp=__intrinsic_setjmp")
endforeach()

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(QD_WINE NAMES wine)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QD_WINE})
