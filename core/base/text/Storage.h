#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"

#include <algorithm>
#include <string>
#include <utility>

// The text's block: filling, writing, appending, inserting, removing.
//
// Who writes makes the block private first, or assembles a new one, which takes the place of the
// old one when all is in it: so an argument may lie in the old block, and a lack of memory leaves
// the string as it was. Capacities are those that users of `Append` know, length + 1 and steps of
// 64, not the usual doubling; blocks of long texts are larger than that by up to an eighth, so that
// most of those steps need no new one.

template <class String>
bool BText<String>::Fill(std::size_t count, Char unit)
{
    if (count == 0) {
        Clear();
        return true;
    }
    auto filled = Text::WithCapacity(count);
    if (filled.IsNull())
        return false;
    std::fill_n(filled.Writable(), count, unit);
    filled.End(unit != 0 ? count : 0);
    m_text = std::move(filled);
    return true;
}

template <class String>
auto BText<String>::Str() -> Char*
{
    if (!MakePrivate())
        return nullptr;
    m_text.Forget();
    return m_text.Writable();
}

template <class String>
void BText<String>::SetAt(std::size_t position, Char unit)
{
    if (MakePrivate())
        m_text.Set(position, unit);
}

template <class String>
void BText<String>::Append(const String& text)
{
    TryAppend(text.Own());
}

template <class String>
void BText<String>::Append(const Char* text)
{
    TryAppend(NText::Measured(text));
}

template <class String>
void BText<String>::AppendApart(Char unit)
{
    const View own = Own();
    // Intended: one character of the capacity stays unused, so that a text that grows character by
    // character has blocks of 64, 127, 190 ... of them.
    if (!HasRoomFor(own.size() + 1, own.size() + 64)) {
        m_text.Assemble(own.size() + 64, {own, View(&unit, unit != 0 ? 1 : 0)});
    } else if (unit != 0) {
        m_text.Writable()[own.size()] = unit;
        m_text.End(own.size() + 1);
    }
}

template <class String>
String& BText<String>::operator+=(const String& text)
{
    Append(text);
    return Self();
}

template <class String>
String& BText<String>::operator+=(const Char* text)
{
    Append(text);
    return Self();
}

template <class String>
void BText<String>::Prepend(const String& text)
{
    TryPrepend(text.Own());
}

template <class String>
void BText<String>::Prepend(const Char* text)
{
    TryPrepend(NText::Measured(text));
}

template <class String>
void BText<String>::Prepend(Char unit)
{
    TryPrepend(View(&unit, unit != 0 ? 1 : 0));
}

template <class String>
String& BText<String>::Insert(const Char* text, std::size_t position)
{
    const View own = Own();
    const View added = NText::Measured(text);
    if (!added.empty() && position <= own.size()) {
        m_text.Assemble(own.size() + added.size(),
                        {own.substr(0, position), added, own.substr(position)});
    }
    return Self();
}

template <class String>
String& BText<String>::Insert(Char unit, std::size_t position)
{
    const Char text[] = {unit, 0};
    return Insert(text, position);
}

template <class String>
void BText<String>::Remove(std::size_t position, std::size_t count)
{
    const std::size_t length = Length();
    if (position < length)
        m_text.Erase(length, position, (std::min)(count, length - position));
}

template <class String>
void BText<String>::ReplaceAt(const Char* text, std::size_t position)
{
    const View own = Own();
    if (position >= own.size())
        return;
    const View written = NText::Measured(text).substr(0, own.size() - position);
    if (m_text.IsPrivate()) {
        // A move: the text that is written may be a part of the one that is overwritten.
        std::char_traits<Char>::move(m_text.Writable() + position, written.data(), written.size());
    } else {
        m_text.Assemble(own.size(),
                        {own.substr(0, position), written, own.substr(position + written.size())});
    }
}

template <class String>
bool BText<String>::MakePrivate() noexcept
{
    if (m_text.IsPrivate())
        return true;
    const View shared = Own(); // without its spare capacity, as nothing says that it will grow
    return m_text.Assemble(shared.size(), {shared});
}

template <class String>
bool BText<String>::HasRoomFor(std::size_t length, std::size_t capacity) noexcept
{
    // Intended: a text that would just fill the capacity gets a new one, too.
    return m_text.IsPrivate() && (length < m_text.Capacity() || m_text.Extend(capacity));
}

template <class String>
bool BText<String>::TryAppend(View added)
{
    if (added.empty())
        return true;
    const View own = Own();
    const std::size_t length = own.size() + added.size();
    if (!HasRoomFor(length, length + 1))
        return m_text.Assemble(length + 1, {own, added});
    std::copy(added.begin(), added.end(), m_text.Writable() + own.size());
    m_text.End(length);
    return true;
}

template <class String>
bool BText<String>::TryPrepend(View added)
{
    const View own = Own();
    return added.empty() || m_text.Assemble(own.size() + added.size() + 1, {added, own});
}
