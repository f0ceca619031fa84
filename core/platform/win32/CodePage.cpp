#include "core/platform/CodePage.h"

#include <windows.h>
#include <algorithm>
#include <climits>

namespace platform {

namespace {

int Wide(const char* text, std::size_t length, WChar* out, std::size_t room)
{
    const int outRoom = static_cast<int>(std::min<std::size_t>(room, INT_MAX));
    return MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(length), out, outRoom);
}

int Ansi(const WChar* text, std::size_t length, char* out, std::size_t room)
{
    const int outRoom = static_cast<int>(std::min<std::size_t>(room, INT_MAX));
    return WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(length), out, outRoom, nullptr,
                               nullptr);
}

} // namespace

std::size_t AnsiToWide(const char* text, std::size_t length, WChar* out, std::size_t room) noexcept
{
    if (length == 0 || length > INT_MAX)
        return 0;
    if (room >= length)
        return static_cast<std::size_t>(Wide(text, length, out, room));
    const auto needed = static_cast<std::size_t>(Wide(text, length, nullptr, 0));
    if (needed <= room)
        Wide(text, length, out, room);
    return needed;
}

std::size_t WideToAnsi(const WChar* text, std::size_t length, char* out, std::size_t room) noexcept
{
    if (length == 0 || length > INT_MAX)
        return 0;
    if (room / kMostAnsiBytesPerUnit >= length)
        return static_cast<std::size_t>(Ansi(text, length, out, room));
    const auto needed = static_cast<std::size_t>(Ansi(text, length, nullptr, 0));
    if (needed <= room)
        Ansi(text, length, out, room);
    return needed;
}

} // namespace platform
