// The entry of docs/platforms.md's program on Windows.

#include "examples/guides/Platforms.h"

#include <windows.h>

extern "C" int wmain(int argc, wchar_t** argv)
{
    SetConsoleOutputCP(CP_UTF8);         // for what std::cout writes; elsewhere it changes nothing
    return Run({argv + 1, argv + argc}); // UTF-16, while main would get the ANSI code page
}
