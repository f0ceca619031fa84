#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"

#include <algorithm>
#include <cstddef>
#include <utility>

// Taking a text apart. A piece that is all of the text shares its block; any other is a copy, as a
// block holds one text only.

namespace NText {

// First or last position of `unit`.
template <class Char>
std::size_t FindSingle(View<Char> text, Char unit, bool first) noexcept
{
    return first ? text.find(unit) : text.rfind(unit);
}

} // namespace NText

template <class String>
String BText<String>::Sub(std::size_t position, std::size_t count) const
{
    return Piece(Own(), position, count);
}

template <class String>
String BText<String>::Sub(std::size_t position) const
{
    return Sub(position, kNotFound);
}

template <class String>
String BText<String>::SubCh(std::size_t position, Single end) const
{
    const View own = Own();
    const std::size_t found = (std::min)(own.find(static_cast<Char>(end), position), own.size());
    return Piece(own, position, found - position);
}

template <class String>
String BText<String>::Cut(std::size_t position)
{
    return Cut(position, kNotFound);
}

template <class String>
String BText<String>::Cut(std::size_t position, std::size_t count)
{
    const View own = Own();
    if (position >= own.size() || count == 0)
        return String();
    // The piece first: without memory for it the string must not lose what nobody has.
    count = (std::min)(count, own.size() - position);
    String piece;
    if (!piece.m_text.Assign(own.substr(position, count)) ||
        !m_text.Erase(own.size(), position, count))
        return String();
    return piece;
}

template <class String>
bool BText<String>::CutAt(std::size_t position)
{
    const std::size_t length = Length();
    return position < length && m_text.Erase(length, position, length - position);
}

template <class String>
bool BText<String>::CutAfter(Single unit, bool first)
{
    const View own = Own();
    const std::size_t found = NText::FindSingle(own, static_cast<Char>(unit), first);
    if (found == kNotFound || found + 1 == own.size())
        return false;
    return m_text.Erase(own.size(), found + 1, own.size() - found - 1);
}

template <class String>
bool BText<String>::Split(String& rest, Single unit, bool first)
{
    const View own = Own();
    const std::size_t found = NText::FindSingle(own, static_cast<Char>(unit), first);
    if (found == kNotFound) {
        if (&rest != this)
            rest.Clear();
        return false;
    }
    String tail; // not `rest` itself, which may be this string
    if (!tail.m_text.Assign(own.substr(found)) ||
        !m_text.Erase(own.size(), found, own.size() - found))
        return false;
    rest = std::move(tail);
    return true;
}

template <class String>
std::size_t BText<String>::TokenCount(Char separator) const noexcept
{
    if (IsEmpty())
        return 0;
    const View own = Own();
    return static_cast<std::size_t>(std::count(own.begin(), own.end(), separator)) + 1;
}

template <class String>
String BText<String>::Token(std::size_t index, Char separator) const
{
    const View own = Own();
    std::size_t start = 0;
    for (; index > 0; --index) {
        const std::size_t found = own.find(separator, start);
        if (found == kNotFound)
            return String();
        start = found + 1;
    }
    const std::size_t end = (std::min)(own.find(separator, start), own.size());
    return Piece(own, start, end - start);
}

template <class String>
String BText<String>::Piece(View own, std::size_t position, std::size_t count) const
{
    if (position >= own.size())
        return String();
    if (position == 0 && count >= own.size())
        return Self();
    String piece;
    piece.m_text.Assign(own.substr(position, count));
    return piece;
}
