#pragma once

#include "core/base/WString.h"

#include <new>
#include <utility>

// A string that gets no memory is empty, and an empty key or value would be written without a word,
// or a default over a value. So keys and values that are made here throw instead.

/// `text`, which is empty only where memory ran out; throws `std::bad_alloc` then.
[[nodiscard]] inline WString Made(WString text)
{
    if (text.IsEmpty())
        throw std::bad_alloc();
    return text;
}

/// `text` as a string, also the empty one; throws `std::bad_alloc` when memory runs out.
[[nodiscard]] inline WString MadeOf(const WChar* text)
{
    return *text != 0 ? Made(text) : WString();
}
