#include "core/platform/Collation.h"

#include <windows.h>
#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <shlwapi.h>

namespace platform {

namespace {

template <class Char>
std::size_t Position(const Char* text, const Char* found)
{
    return found == nullptr ? kNotFound : static_cast<std::size_t>(found - text);
}

} // namespace

int Collate(const WChar* a, const WChar* b, ECase letterCase) noexcept
{
    if (std::wcscmp(a, b) == 0)
        return 0;
    return letterCase == ECase::Matters ? lstrcmpW(a, b) : lstrcmpiW(a, b);
}

int Collate(const char* a, const char* b, ECase letterCase) noexcept
{
    if (std::strcmp(a, b) == 0)
        return 0;
    return letterCase == ECase::Matters ? lstrcmpA(a, b) : lstrcmpiA(a, b);
}

void AppendCollationKey(const WChar* text, std::size_t length, ECase letterCase, std::string& key)
{
    // The locale by which lstrcmpW compares.
    const LCID locale = GetThreadLocale();
    const DWORD flags = LCMAP_SORTKEY | (letterCase == ECase::Ignored ? NORM_IGNORECASE : 0);
    // An empty text is no text for the system, but one of ignored characters alone is equal to it.
    const WChar* source = length == 0 ? L"\u00AD" : text;
    const int units = static_cast<int>(std::clamp<std::size_t>(length, 1, INT_MAX));
    // The system takes bytes for units here.
    WChar room[256];
    int size = LCMapStringW(locale, flags, source, units, room, sizeof(room));
    if (size > 0) {
        key.append(reinterpret_cast<const char*>(room), static_cast<std::size_t>(size));
        return;
    }
    size = LCMapStringW(locale, flags, source, units, nullptr, 0);
    if (size <= 0)
        throw std::bad_alloc();
    const std::size_t front = key.size();
    key.resize(front + static_cast<std::size_t>(size));
    LCMapStringW(locale, flags, source, units, reinterpret_cast<WChar*>(key.data() + front), size);
}

std::size_t FindIgnoringCase(const WChar* text, const WChar* part) noexcept
{
    return Position<WChar>(text, StrStrIW(text, part));
}

std::size_t FindIgnoringCase(const char* text, const char* part) noexcept
{
    return Position<char>(text, StrStrIA(text, part));
}

std::size_t FindIgnoringCase(const WChar* text, WChar wanted) noexcept
{
    return Position<WChar>(text, StrChrIW(text, wanted));
}

std::size_t FindIgnoringCase(const char* text, char wanted) noexcept
{
    return Position<char>(text, StrChrIA(text, static_cast<unsigned char>(wanted)));
}

} // namespace platform
