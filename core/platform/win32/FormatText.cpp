#include "core/platform/FormatText.h"

#include "core/platform/win32/CLocale.h"
#include "core/platform/win32/InvalidParameters.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

// `printf` is the runtime library's own, in its fixed "C" locale, so that no `setlocale` of the
// application changes a number. Its functions are called by their exported names: what a compiler
// puts behind `vswprintf` and its kind may be its own formatter with other conventions.
#if defined(__MINGW32__)
extern "C" {
int __cdecl __stdio_common_vsnwprintf_s(unsigned __int64 options, wchar_t* buffer, std::size_t room,
                                        std::size_t count, const wchar_t* format, _locale_t locale,
                                        std::va_list arguments);
}
#endif

namespace platform {

namespace {

constexpr unsigned __int64 kWholeLength = 1ULL << 1;       // count beyond the end of the buffer
constexpr unsigned __int64 kNaturalSpecifiers = 1ULL << 2; // "%s" is wide in a wide format
constexpr unsigned __int64 kTiesToEven = 1ULL << 5;
constexpr unsigned __int64 kOptions = kNaturalSpecifiers | kTiesToEven;

/// While it lives, a format that the runtime library finds invalid fails with `errno` instead of
/// ending the process.
class FailureWatch {
public:
    FailureWatch() noexcept
        : m_errno(errno)
    {
        errno = 0;
    }
    ~FailureWatch() { errno = m_errno; }
    FailureWatch(const FailureWatch&) = delete;
    FailureWatch& operator=(const FailureWatch&) = delete;

    // A character that a narrow text cannot have leaves its mark, too, and the text goes on.
    [[nodiscard]] bool Failed() const noexcept { return errno != 0 && errno != EILSEQ; }

private:
    InvalidParametersFail m_invalidParametersFail;
    int m_errno;
};

int Write(wchar_t* buffer, std::size_t room, const wchar_t* format, std::va_list arguments) noexcept
{
    return __stdio_common_vsnwprintf_s(kOptions, buffer, room, _TRUNCATE, format, CLocale(),
                                       arguments);
}

int Write(char* buffer, std::size_t room, const char* format, std::va_list arguments) noexcept
{
    return __stdio_common_vsnprintf_s(kOptions, buffer, room, _TRUNCATE, format, CLocale(),
                                      arguments);
}

int Measure(const wchar_t* format, std::va_list arguments) noexcept
{
    return __stdio_common_vswprintf(kOptions | kWholeLength, nullptr, 0, format, CLocale(),
                                    arguments);
}

int Measure(const char* format, std::va_list arguments) noexcept
{
    return __stdio_common_vsprintf(kOptions | kWholeLength, nullptr, 0, format, CLocale(),
                                   arguments);
}

template <typename Char>
std::int64_t WriteOrMeasure(Char* buffer, std::size_t room, const Char* format,
                            std::va_list arguments) noexcept
{
    Char none[1];
    std::va_list again; // the first pass uses `arguments` up
    va_copy(again, arguments);
    const FailureWatch watch;
    // The checking function writes and refuses a bad format, but does not tell a longer text's
    // length; the other one measures, but lets bad formats pass.
    // Without room it is asked all the same, into one unit, as only it knows a bad format.
    int length =
        room == 0 ? Write(none, 1, format, arguments) : Write(buffer, room, format, arguments);
    if (length < 0 && !watch.Failed())
        length = Measure(format, again);
    va_end(again);
    return length;
}

} // namespace

std::int64_t Format(WChar* buffer, std::size_t room, const WChar* format,
                    std::va_list arguments) noexcept
{
    return WriteOrMeasure(buffer, room, format, arguments);
}

std::int64_t Format(char* buffer, std::size_t room, const char* format,
                    std::va_list arguments) noexcept
{
    return WriteOrMeasure(buffer, room, format, arguments);
}

std::size_t IntegerText(std::int64_t value, int radix, WChar (&buffer)[kIntegerTextRoom]) noexcept
{
    if (radix < 2 || radix > 36 || _i64tow_s(value, buffer, kIntegerTextRoom, radix) != 0)
        return 0;
    return std::wcslen(buffer);
}

std::size_t IntegerText(std::int64_t value, int radix, char (&buffer)[kIntegerTextRoom]) noexcept
{
    if (radix < 2 || radix > 36 || _i64toa_s(value, buffer, kIntegerTextRoom, radix) != 0)
        return 0;
    return std::strlen(buffer);
}

} // namespace platform
