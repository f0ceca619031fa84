#pragma once

#include "core/base/BText.h"
#include "core/base/text/FindPart.h"
#include "core/base/text/Units.h"
#include "core/platform/CharClass.h"
#include "core/platform/Collation.h"

#include <cstddef>

// Whether and where a unit or a text stands. Case counts unit by unit; without it, and at the end
// of a text, collation decides, as the functions of Windows do that each of these stands for.

namespace NText {

// The tail has as many units as `suffix`, though texts of other lengths may collate alike: so one
// place alone is asked, and the cost does not depend on the text.
template <class Char>
bool EndsAs(const Char* text, const Char* suffix, platform::ECase letterCase) noexcept
{
    if (!suffix)
        return true;
    const std::size_t length = platform::Length(text);
    const std::size_t tail = platform::Length(suffix);
    return length > 0 && tail <= length &&
           platform::Collate(text + (length - tail), suffix, letterCase) == 0;
}

// Nothing found leaves `position` as it was: callers put a default there.
inline bool StoreFound(std::size_t found, std::size_t& position) noexcept
{
    if (found == platform::kNotFound)
        return false;
    position = found;
    return true;
}

} // namespace NText

template <class String>
bool BText<String>::StartsWith(const Char* prefix) const noexcept
{
    if (!prefix)
        return true;
    // Intended: an empty string starts with nothing, not even with "".
    if (IsEmpty())
        return false;
    // No length is measured: the text may be long and the prefix short.
    const Char* own = CStr();
    while (*prefix && *own == *prefix) {
        ++own;
        ++prefix;
    }
    return !*prefix;
}

template <class String>
bool BText<String>::StartsWith(const String& prefix) const noexcept
{
    return StartsWith(prefix.CStr());
}

template <class String>
bool BText<String>::IStartsWith(const Char* prefix) const noexcept
{
    if (!prefix)
        return true;
    const std::size_t length = platform::Length(prefix);
    return !IsEmpty() && platform::CompareIgnoringAsciiCase(CStr(), prefix, length) == 0;
}

template <class String>
bool BText<String>::IStartsWith(const String& prefix) const noexcept
{
    return IStartsWith(prefix.CStr());
}

template <class String>
bool BText<String>::EndsWith(const Char* suffix) const noexcept
{
    return NText::EndsAs(CStr(), suffix, platform::ECase::Matters);
}

template <class String>
bool BText<String>::EndsWith(const String& suffix) const noexcept
{
    return EndsWith(suffix.CStr());
}

template <class String>
bool BText<String>::IEndsWith(const Char* suffix) const noexcept
{
    return NText::EndsAs(CStr(), suffix, platform::ECase::Ignored);
}

template <class String>
bool BText<String>::IEndsWith(const String& suffix) const noexcept
{
    return IEndsWith(suffix.CStr());
}

template <class String>
bool BText<String>::Includes(Single unit) const noexcept
{
    std::size_t ignored = 0;
    return IncludesPos(unit, ignored);
}

template <class String>
bool BText<String>::Includes(const Char* part) const noexcept
{
    return Search(part, 0) != kNotFound;
}

template <class String>
bool BText<String>::Includes(const String& part) const noexcept
{
    return Includes(part.CStr());
}

template <class String>
bool BText<String>::IIncludes(Single unit) const noexcept
{
    const auto wanted = static_cast<Char>(unit);
    return wanted && platform::FindIgnoringCase(CStr(), wanted) != platform::kNotFound;
}

template <class String>
bool BText<String>::IIncludes(const Char* part) const noexcept
{
    return platform::FindIgnoringCase(CStr(), NText::OrEmpty(part)) != platform::kNotFound;
}

template <class String>
bool BText<String>::IIncludes(const String& part) const noexcept
{
    return IIncludes(part.CStr());
}

template <class String>
bool BText<String>::IncludesPos(Single unit, std::size_t& position) const noexcept
{
    return NText::StoreFound(Search(static_cast<Char>(unit), 0), position);
}

template <class String>
bool BText<String>::IncludesPos(const Char* part, std::size_t& position) const noexcept
{
    return NText::StoreFound(Search(part, 0), position);
}

template <class String>
bool BText<String>::IncludesPos(const String& part, std::size_t& position) const noexcept
{
    return IncludesPos(part.CStr(), position);
}

template <class String>
std::size_t BText<String>::Search(Char unit, std::size_t start) const noexcept
{
    return Own().find(unit, start);
}

template <class String>
std::size_t BText<String>::Search(const Char* part, std::size_t start) const noexcept
{
    return NText::FindPart(Own(), NText::Measured(part), start);
}

template <class String>
std::size_t BText<String>::Search(const String& part, std::size_t start) const noexcept
{
    return Search(part.CStr(), start);
}
