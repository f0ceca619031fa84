#include "core/platform/WindowMessage.h"

#include <windows.h>

namespace platform {

bool PostToWindow(HWND window, unsigned int message, std::uint64_t first, std::int64_t second)
{
    return ::PostMessageW(window, message, first, second) != 0;
}

} // namespace platform
