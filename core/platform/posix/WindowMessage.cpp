#include "core/platform/WindowMessage.h"

namespace platform {

bool PostToWindow(HWND window, unsigned int message, std::uint64_t first, std::int64_t second)
{
    return window->Post(message, first, second);
}

} // namespace platform
