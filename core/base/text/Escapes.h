#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"
#include "core/platform/CharClass.h"
#include "core/platform/ScanText.h"

#include <algorithm>
#include <cstddef>

// Texts that show what cannot be printed, and back. The length is told first and the text written
// once; back it never grows, so that is done in place.

namespace NText {

// What stands behind the backslash in an escape of two units, 0 when `unit` has none.
template <class Char>
Char EscapeLetter(Char unit) noexcept
{
    switch (unit) {
    case '\n': return 'n';
    case '\t': return 't';
    case '\r': return 'r';
    case '\\': return '\\';
    default: return 0;
    }
}

// The unit that such an escape stands for, 0 when `letter` makes none.
template <class Char>
Char EscapedUnit(Char letter) noexcept
{
    switch (letter) {
    case 'n': return '\n';
    case 't': return '\t';
    case 'r': return '\r';
    case '\\': return '\\';
    default: return 0;
    }
}

// Writes `unit` as it is or as its escape; gives the place behind it.
template <class Char>
Char* WritePrintable(Char* out, Char unit) noexcept
{
    constexpr char digits[] = "0123456789abcdef";
    if (const Char letter = EscapeLetter(unit)) {
        *out++ = '\\';
        *out++ = letter;
    } else if (platform::IsPrint(unit)) {
        *out++ = unit;
    } else {
        *out++ = '\\';
        *out++ = 'x';
        *out++ = static_cast<Char>(digits[(unit >> 4) & 15]);
        *out++ = static_cast<Char>(digits[unit & 15]);
    }
    return out;
}

// Reads two hexadecimal digits, those of other scripts included.
template <class Char>
bool ReadHexPair(const Char* digits, Char& unit) noexcept
{
    const Char number[] = {'0', 'x', digits[0], digits[1], 0};
    const Char* end = number;
    const unsigned long value = platform::ParseHex(number, end);
    if (end != number + 4)
        return false;
    unit = static_cast<Char>(value);
    return true;
}

} // namespace NText

template <class String>
String BText<String>::Printable() const
{
    const View own = Own();
    std::size_t length = own.size();
    for (const Char unit : own)
        length += NText::EscapeLetter(unit) ? 1u : platform::IsPrint(unit) ? 0u : 3u;
    if (length == own.size())
        return Self();

    String printable;
    printable.m_text = Text::WithCapacity(length);
    if (printable.m_text.IsNull())
        return printable;
    Char* out = printable.m_text.Writable();
    for (const Char unit : own)
        out = NText::WritePrintable(out, unit);
    printable.m_text.End(length);
    return printable;
}

template <class String>
void BText<String>::ResolveEsc()
{
    const View own = Own();
    if (own.find(Char('\\')) == kNotFound || !MakePrivate())
        return;
    Char* out = m_text.Writable();
    const Char* in = out;
    const Char* const end = out + own.size();
    while (in != end) {
        const bool isEscape = *in == '\\';
        if (const Char unit = isEscape ? NText::EscapedUnit(in[1]) : Char(0)) {
            *out++ = unit;
            in += 2;
        } else if (isEscape && in[1] == 'x') {
            // Intended: without its two digits all four units go.
            if (end - in >= 4 && NText::ReadHexPair(in + 2, *out))
                ++out;
            in += (std::min<std::ptrdiff_t>)(4, end - in);
        } else {
            *out++ = *in++;
        }
    }
    *out = 0;
    m_text.End(platform::Length(m_text.Text())); // "\x00" may have ended it before
}
