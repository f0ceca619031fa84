#include "core/platform/ScanText.h"

#include "core/platform/win32/CLocale.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

// Numbers as the runtime library reads them, in its fixed "C" locale. Each function is one call
// with the pattern that the header names, as that pattern is the definition.
namespace platform {

namespace {

// The secure scanner, called by its exported name: what a compiler puts behind `swscanf` may be its
// own with other conventions.
constexpr unsigned __int64 kSecure = 1ULL << 0;
constexpr unsigned __int64 kNaturalSpecifiers = 1ULL << 1; // "%c" is wide in a wide format
constexpr unsigned __int64 kOptions = kSecure | kNaturalSpecifiers;
constexpr std::size_t kWholeText = static_cast<std::size_t>(-1);

int Scan(const wchar_t* text, const wchar_t* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    const int fields =
        __stdio_common_vswscanf(kOptions, text, kWholeText, format, CLocale(), arguments);
    va_end(arguments);
    return fields;
}

int Scan(const char* text, const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    const int fields =
        __stdio_common_vsscanf(kOptions, text, kWholeText, format, CLocale(), arguments);
    va_end(arguments);
    return fields;
}

/// True when `format`, a number and then a character that is no white space, gives the number
/// alone.
template <typename Char, typename Number>
bool IsAlone(const Char* text, const Char* format, Number& value) noexcept
{
    Char rest; // the secure scanner wants the room of a "%c" behind it
    return Scan(text, format, &value, &rest, 1U) == 1;
}

/// True when `format`, a number and then "%n", gives the number; `text` is moved behind it.
template <typename Number>
bool Read(const wchar_t*& text, const wchar_t* format, Number& value) noexcept
{
    int length = 0;
    if (Scan(text, format, &value, &length) != 1)
        return false;
    text += length;
    return true;
}

} // namespace

bool ScanDouble(const WChar* text, double& value) noexcept
{
    return IsAlone(text, L" %lg %c", value);
}

bool ScanFloat(const WChar* text, float& value) noexcept
{
    return IsAlone(text, L" %g %c", value);
}

bool ScanHex(const WChar* text, int& value) noexcept
{
    return IsAlone(text, L" %x %c", value);
}

bool ScanDouble(const char* text, double& value) noexcept
{
    return IsAlone(text, " %lg %c", value);
}

bool ScanFloat(const char* text, float& value) noexcept
{
    return IsAlone(text, " %g %c", value);
}

bool ScanHex(const char* text, int& value) noexcept
{
    return IsAlone(text, " %x %c", value);
}

bool ScanInt(const char* text, int& value) noexcept
{
    return IsAlone(text, " %d %c", value);
}

bool ReadInt(const WChar*& text, int& value) noexcept
{
    return Read(text, L"%d%n", value);
}

bool ReadFloat(const WChar*& text, float& value) noexcept
{
    return Read(text, L"%g%n", value);
}

int ParseInt(const WChar* text) noexcept
{
    return _wtoi_l(text, CLocale());
}

double ParseDouble(const WChar* text) noexcept
{
    return _wtof_l(text, CLocale());
}

int ParseInt(const char* text) noexcept
{
    return _atoi_l(text, CLocale());
}

double ParseDouble(const char* text) noexcept
{
    return _atof_l(text, CLocale());
}

unsigned long ParseHex(const WChar* text, const WChar*& end) noexcept
{
    wchar_t* last = nullptr; // the library's pointer is not to a constant
    const unsigned long value = _wcstoul_l(text, &last, 16, CLocale());
    end = last;
    return value;
}

unsigned long ParseHex(const char* text, const char*& end) noexcept
{
    char* last = nullptr;
    const unsigned long value = _strtoul_l(text, &last, 16, CLocale());
    end = last;
    return value;
}

} // namespace platform
