#include "core/units/BUnit.h"

#include <algorithm>
#include <utility>

// A unit's texts go through `Printf` and `Convert` of `WString`, and so through the seam: a full
// stop is one whatever the process's locale, and what was shown can be typed again.
//
// Values stay in the base unit (millimetres, degrees) wherever they are kept, and go through a unit
// only as they are shown or typed: so a user who changes the unit changes no document.

namespace {

// Nine digits tell any two floats apart; the last ones of a double would show how factors round.
WString Digits9(double value)
{
    WString text;
    text.Printf(QD_W("%.9g"), value);
    return text;
}

WString Fixed(double value, int decimals)
{
    WString text;
    text.Printf(QD_W("%.*f"), decimals, value);
    return text;
}

} // namespace

BUnit::BUnit() = default;

BUnit::BUnit(WString symbol, double factor, int precision)
    : m_symbol(std::move(symbol))
    , m_factor(factor)
    , m_precision(precision)
{}

BUnit::BUnit(const BUnit& other) = default;
BUnit& BUnit::operator=(const BUnit& other) = default;
BUnit::~BUnit() = default;

double BUnit::Convert(WString text) const
{
    double number = 0;
    return text.Convert(number) ? Convert(number) : 0.0;
}

double BUnit::Convert(double value) const
{
    return value * m_factor;
}

double BUnit::Revert(WString text) const
{
    double number = 0;
    return text.Convert(number) ? Revert(number) : 0.0;
}

double BUnit::Revert(double value) const
{
    // Divided: a reciprocal would be rounded once more, and what was typed might not come back.
    return value / m_factor;
}

WString BUnit::ConvertStr(WString text) const
{
    return Digits9(Convert(std::move(text)));
}

WString BUnit::ConvertStr(double value) const
{
    return Digits9(Convert(value));
}

WString BUnit::RevertStr(WString text) const
{
    return Digits9(Revert(std::move(text)));
}

WString BUnit::RevertStr(double value) const
{
    return Digits9(Revert(value));
}

WString BUnit::Symbol() const
{
    return m_symbol;
}

int BUnit::Precision() const
{
    return m_precision;
}

WString BUnit::Format(WString text, int precision) const
{
    double number = 0;
    return text.Convert(number) ? Format(number, precision) : text;
}

WString BUnit::Format(double value, int precision) const
{
    constexpr int kMostCharacters = 127;
    constexpr int kUsualDecimals = 6;

    if (precision < 0)
        precision = m_precision < 0 ? kUsualDecimals : m_precision;
    const double converted = Convert(value);
    const int decimals = std::min(precision, kMostCharacters);
    WString text = Fixed(converted, decimals);
    // Decimals go, for a text without its last integer digits would show another number.
    const int surplus = static_cast<int>(text.Length()) - kMostCharacters;
    if (surplus > 0)
        text = Fixed(converted, std::max(decimals - surplus, 0));
    return text;
}
