#pragma once

#include "core/base/BText.h"
#include "core/base/text/FindPart.h"
#include "core/base/text/Units.h"
#include "core/platform/Collation.h"

#include <algorithm>

// Replacing every occurrence of a text. The new text is made beside the old one in a single pass,
// so that time is linear however many occurrences there are, and a lack of memory changes nothing.

namespace NText {

// First position of `part` in `text` at or after `start` without regard to case.
template <class Char>
std::size_t FindInRest(View<Char> text, View<Char> part, std::size_t start) noexcept
{
    if (start >= text.size())
        return platform::kNotFound;
    const std::size_t found = platform::FindIgnoringCase(text.data() + start, OrEmpty(part.data()));
    return found == platform::kNotFound ? found : start + found;
}

// The same, a window at a time: the platform measures all that it is given before it looks, so that
// many occurrences in one text would take quadratic time.
template <class String>
class WindowSearch {
public:
    using Char = typename BTextTraits<String>::Char;

    WindowSearch(View<Char> text, View<Char> part) noexcept
        : m_text(text)
        , m_part(part)
    {
        constexpr std::size_t least = 128;
        if (BTextTraits<String>::CanCutAnywhere(text))
            m_window = BSharedText<Char>::WithCapacity((std::max)(least, 2 * part.size()));
    }

    std::size_t Find(std::size_t start) noexcept
    {
        if (m_window.IsNull())
            return FindInRest(m_text, m_part, start);
        while (start < m_text.size()) {
            const std::size_t length = m_text.copy(m_window.Writable(), m_window.Capacity(), start);
            m_window.End(length);
            const View<Char> window(m_window.Text(), length);
            const std::size_t found = FindInRest(window, m_part, 0);
            if (found != platform::kNotFound)
                return start + found;
            // An occurrence may begin in this window and end in the next one.
            start += length < m_window.Capacity() ? length : length - m_part.size() + 1;
        }
        return platform::kNotFound;
    }

private:
    View<Char> m_text;
    View<Char> m_part;
    BSharedText<Char> m_window; // null where the text is not to be cut, or for want of memory
};

} // namespace NText

template <class String>
bool BText<String>::Replace(const Char* from, const Char* to, bool caseSensitive)
{
    const View own = Own();
    const View wanted = NText::Measured(from);
    const View replacement = NText::Measured(to);
    NText::WindowSearch<String> windows(caseSensitive ? View() : own, wanted);

    Text made;
    std::size_t length = 0;
    std::size_t copied = 0; // how much of the own text has been taken over
    for (;;) {
        const std::size_t found =
            caseSensitive ? NText::FindPart(own, wanted, copied) : windows.Find(copied);
        if (found == kNotFound)
            break;
        if (!made.Push(length, own.substr(copied, found - copied)) ||
            !made.Push(length, replacement))
            return false;
        copied = found + wanted.size();
    }
    if (made.IsNull())
        return false;
    if (!made.Push(length, own.substr(copied)) || !made.SetCapacity(length + 1))
        return false;
    made.End(length);
    m_text = std::move(made);
    return true;
}

template <class String>
bool BText<String>::Replace(const String& from, const String& to, bool caseSensitive)
{
    return Replace(from.CStr(), to.CStr(), caseSensitive);
}

template <class String>
bool BText<String>::Replace(Char from, Char to, bool caseSensitive)
{
    const Char fromText[] = {from, 0};
    const Char toText[] = {to, 0};
    return Replace(fromText, toText, caseSensitive);
}

template <class String>
bool BText<String>::IReplace(const Char* from, const Char* to)
{
    return Replace(from, to, false);
}

template <class String>
bool BText<String>::IReplace(const String& from, const String& to)
{
    return Replace(from, to, false);
}

template <class String>
bool BText<String>::IReplace(Char from, Char to)
{
    return Replace(from, to, false);
}
