#pragma once

#include "core/platform/WChar.h"

#include <unicode/uchar.h>

namespace platform {

/// The unit that stands for `unit` where names are compared without regard to case: in the
/// registry, in text profiles, and where one character is searched for.
///
/// As the system's table of capitals has it, unit by unit: a capital counts only where the way back
/// from it leads to the unit again. So neither "ı" nor "ſ" nor "µ" nor the final sigma is another
/// letter's small form. Full case folding would not do: it makes two units of "ß", and stored names
/// keep their length.
[[nodiscard]] inline WChar FoldCase(WChar unit) noexcept
{
    if (unit < 0x80)
        return unit >= u'a' && unit <= u'z' ? static_cast<WChar>(unit - (u'a' - u'A')) : unit;
    const UChar32 capital = u_toupper(unit); // never beyond 16 bits for one that is not
    return u_tolower(capital) == unit ? static_cast<WChar>(capital) : unit;
}

} // namespace platform
