#include "core/platform/CharClass.h"

#include <cctype>
#include <cstring>
#include <cwchar>
#include <cwctype>

// The runtime library's own, and not those of a fixed locale: an application that calls `setlocale`
// expects the classes to follow, as they do for all other code of its process.
namespace platform {

bool IsAlpha(WChar unit) noexcept
{
    return std::iswalpha(unit) != 0;
}

bool IsDigit(WChar unit) noexcept
{
    return std::iswdigit(unit) != 0;
}

bool IsPrint(WChar unit) noexcept
{
    return std::iswprint(unit) != 0;
}

bool IsAlphaNum(WChar unit) noexcept
{
    return std::iswalnum(unit) != 0;
}

bool IsSpace(WChar unit) noexcept
{
    return std::iswspace(unit) != 0;
}

WChar ToUpper(WChar unit) noexcept
{
    return static_cast<WChar>(std::towupper(unit));
}

WChar ToLower(WChar unit) noexcept
{
    return static_cast<WChar>(std::towlower(unit));
}

// The runtime's tables reach down to -128, so a signed character is looked up as it stands.

bool IsAlpha(char character) noexcept
{
    return std::isalpha(character) != 0;
}

bool IsDigit(char character) noexcept
{
    return std::isdigit(character) != 0;
}

bool IsPrint(char character) noexcept
{
    return std::isprint(character) != 0;
}

bool IsAlphaNum(char character) noexcept
{
    return std::isalnum(character) != 0;
}

bool IsSpace(char character) noexcept
{
    return std::isspace(character) != 0;
}

char ToUpper(char character) noexcept
{
    return static_cast<char>(std::toupper(character));
}

char ToLower(char character) noexcept
{
    return static_cast<char>(std::tolower(character));
}

std::size_t Length(const WChar* text) noexcept
{
    return text == nullptr ? 0 : std::wcslen(text);
}

std::size_t Length(const char* text) noexcept
{
    return text == nullptr ? 0 : std::strlen(text);
}

// `_wcsnicmp` folds A to Z alone in the "C" locale. After `setlocale` it folds what that locale
// knows, as the classes above do.
int CompareIgnoringAsciiCase(const WChar* a, const WChar* b, std::size_t count) noexcept
{
    return _wcsnicmp(a, b, count);
}

int CompareIgnoringAsciiCase(const char* a, const char* b, std::size_t count) noexcept
{
    return _strnicmp(a, b, count);
}

} // namespace platform
