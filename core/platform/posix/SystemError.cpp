#include "core/platform/SystemError.h"

#include <cerrno>
#include <cuchar>
#include <system_error>

namespace platform {

namespace {

/// From the encoding of the process's locale, in which the system speaks.
WideText ToWide(const std::string& text)
{
    WideText wide;
    std::mbstate_t state{};
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        WChar unit;
        const std::size_t used =
            std::mbrtoc16(&unit, at, static_cast<std::size_t>(end - at), &state);
        if (used == static_cast<std::size_t>(-1) || used == static_cast<std::size_t>(-2))
            break;
        wide += unit;
        if (used != static_cast<std::size_t>(-3)) // the second half of a pair takes no bytes
            at += used;
    }
    return wide;
}

} // namespace

WideText LastErrorText()
{
    const int code = errno;
    return ToWide(std::system_category().message(code));
}

} // namespace platform
