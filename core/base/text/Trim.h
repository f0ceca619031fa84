#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"

#include <algorithm>

// Removing units from the ends, or everywhere.

namespace NText {

// Removes the units at one end for which `predicate` holds. True when there was any.
template <class Char, class Predicate>
bool TrimFront(BSharedText<Char>& text, Predicate predicate)
{
    const View<Char> own(text.Text(), text.Length());
    const auto end = std::find_if_not(own.begin(), own.end(), predicate);
    const auto count = static_cast<std::size_t>(end - own.begin());
    return count > 0 && text.Erase(own.size(), 0, count);
}

template <class Char, class Predicate>
bool TrimBack(BSharedText<Char>& text, Predicate predicate)
{
    const View<Char> own(text.Text(), text.Length());
    const auto end = std::find_if_not(own.rbegin(), own.rend(), predicate);
    const auto count = static_cast<std::size_t>(end - own.rbegin());
    return count > 0 && text.Erase(own.size(), own.size() - count, count);
}

} // namespace NText

template <class String>
bool BText<String>::TrimLeft()
{
    return NText::TrimFront(m_text, NText::IsBlank<Char>);
}

template <class String>
bool BText<String>::TrimLeft(Char unit)
{
    return NText::TrimFront(m_text, NText::Exactly(unit));
}

template <class String>
bool BText<String>::TrimLeft(const Char* set)
{
    return NText::TrimFront(m_text, NText::OneOf(NText::Measured(set)));
}

template <class String>
bool BText<String>::TrimRight()
{
    return NText::TrimBack(m_text, NText::IsBlank<Char>);
}

template <class String>
bool BText<String>::TrimRight(Char unit)
{
    return NText::TrimBack(m_text, NText::Exactly(unit));
}

template <class String>
bool BText<String>::TrimRight(const Char* set)
{
    return NText::TrimBack(m_text, NText::OneOf(NText::Measured(set)));
}

template <class String>
String& BText<String>::EraseLeadingChars(Char unit)
{
    NText::TrimFront(m_text, NText::Exactly(unit));
    return Self();
}

template <class String>
String& BText<String>::EraseTrailingChars(Char unit)
{
    NText::TrimBack(m_text, NText::Exactly(unit));
    return Self();
}

template <class String>
String& BText<String>::EraseAllChars(Char unit)
{
    const View own = Own();
    if (own.find(unit) == kNotFound || !MakePrivate())
        return Self();
    Char* const text = m_text.Writable();
    m_text.End(static_cast<std::size_t>(std::remove(text, text + own.size(), unit) - text));
    return Self();
}
