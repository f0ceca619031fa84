#pragma once

#include "core/base/BText.h"
#include "core/platform/FormatText.h"
#include "core/platform/ScanText.h"

#include <cstddef>
#include <cstdint>

// Numbers read from the text's start, and made into a text, by the seam and not by the C library: a
// full stop is one whatever the process's locale.

template <class String>
int BText<String>::AtoI() const noexcept
{
    return platform::ParseInt(CStr());
}

template <class String>
double BText<String>::AtoF() const noexcept
{
    return platform::ParseDouble(CStr());
}

template <class String>
bool BText<String>::Convert(float& value) const noexcept
{
    return platform::ScanFloat(CStr(), value);
}

template <class String>
bool BText<String>::Convert(double& value) const noexcept
{
    return platform::ScanDouble(CStr(), value);
}

template <class String>
void BText<String>::ItoA(std::int64_t value, int radix)
{
    Char digits[platform::kIntegerTextRoom];
    const std::size_t length = platform::IntegerText(value, radix, digits);
    if (length > 0)
        m_text.Assign(View(digits, length));
}

template <class String>
String BText<String>::FromInt(std::int64_t value)
{
    String text;
    text.ItoA(value, 10);
    return text;
}
