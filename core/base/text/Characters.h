#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"
#include "core/platform/CharClass.h"

#include <algorithm>

// Case and classes of the units, and lines. Unit by unit, as the platform has them: halves of a
// surrogate pair are of no class and have no case.

namespace NText {

// Calls `visit` with the length of each line.
template <class Char, class Visit>
void ForEachLine(View<Char> text, Visit visit)
{
    std::size_t start = 0;
    std::size_t found = text.find(Char('\n'));
    while (found != platform::kNotFound) {
        visit(found - start);
        start = found + 1;
        // Intended: the unit behind a line feed is not looked at, so "\n\n" makes two lines.
        found = text.find(Char('\n'), start + 1);
    }
    visit(text.size() - start);
}

} // namespace NText

template <class String>
String BText<String>::ToUpper()
{
    if (IsEmpty() || !MakePrivate())
        return String();
    for (Char* at = m_text.Writable(); *at; ++at)
        *at = platform::ToUpper(*at);
    return Self();
}

template <class String>
String BText<String>::ToLower()
{
    if (IsEmpty() || !MakePrivate())
        return String();
    for (Char* at = m_text.Writable(); *at; ++at)
        *at = platform::ToLower(*at);
    return Self();
}

template <class String>
String BText<String>::Upper() const
{
    return String(Self()).ToUpper();
}

template <class String>
String BText<String>::Lower() const
{
    return String(Self()).ToLower();
}

template <class String>
bool BText<String>::IsAlpha() const noexcept
{
    return NText::All(CStr(), [](Char unit) { return platform::IsAlpha(unit); });
}

template <class String>
bool BText<String>::IsDigit() const noexcept
{
    return NText::All(CStr(), [](Char unit) { return platform::IsDigit(unit); });
}

template <class String>
bool BText<String>::IsPrint() const noexcept
{
    return NText::All(CStr(), [](Char unit) { return platform::IsPrint(unit); });
}

template <class String>
bool BText<String>::IsAlphaNum() const noexcept
{
    return NText::All(CStr(), [](Char unit) { return platform::IsAlphaNum(unit); });
}

template <class String>
bool BText<String>::IsAlphaNumUnderscore() const noexcept
{
    return NText::All(CStr(), [](Char unit) { return unit == '_' || platform::IsAlphaNum(unit); });
}

template <class String>
bool BText<String>::IsCharSet(const Char* set) const noexcept
{
    return NText::All(CStr(), NText::OneOf(NText::Measured(set)));
}

template <class String>
std::size_t BText<String>::CountLines() const noexcept
{
    std::size_t count = 0;
    NText::ForEachLine(Own(), [&count](std::size_t) { ++count; });
    return count;
}

template <class String>
std::size_t BText<String>::LengthOfLongestLine() const noexcept
{
    std::size_t longest = 0;
    NText::ForEachLine(Own(),
                       [&longest](std::size_t length) { longest = (std::max)(longest, length); });
    return longest;
}
