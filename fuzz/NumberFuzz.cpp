// The input is a text that a user typed where a number, a length, an angle or a UUID is wanted.
//
// What was printed in full is scanned again as what it was.

#include "core/base/BString.h"
#include "core/base/WString.h"
#include "core/file/BGuid.h"
#include "core/platform/ScanText.h"
#include "core/platform/WideText.h"
#include "core/units/BUnitSystem.h"

#include "fuzz/Target.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

bool IsSame(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

template <class String, class Char>
void TryReal(const String& text, const Char* format)
{
    double value = 0;
    float single = 0;
    static_cast<void>(text.Convert(single));
    const bool isNumber = text.Convert(value);
    Require(!isNumber || IsSame(text.AtoF(), value));
    if (!isNumber || std::isnan(value))
        return;
    String printed;
    printed.Printf(format, value);
    double again = 0;
    Require(printed.Convert(again) && IsSame(again, value));
}

template <class String>
void TryInteger(const String& text)
{
    const std::int64_t begun = text.AtoI();
    int value = 0;
    static_cast<void>(text.Convert(value));
    const String printed = String::FromInt(value);
    int again = 0;
    Require(printed.Convert(again) && again == value && printed.AtoI() == value);
    for (const int radix : {2, 16, 36}) {
        String digits;
        digits.ItoA(begun, radix);
        Require(!digits.IsEmpty());
    }
}

// The pieces that a format like "12 mm" is read by: a number, then whatever follows it.
void TryPieces(const WString& text)
{
    const WChar* const end = text.CStr() + text.Length();
    for (const WChar* next = text.CStr(); next < end;) {
        const WChar* const start = next;
        int whole = 0;
        float real = 0;
        if (!platform::ReadInt(next, whole) && !platform::ReadFloat(next, real))
            ++next;
        Require(next > start && next <= end);
    }
}

void TryUnit(const BUnit& unit, const WString& text)
{
    double value = 0;
    const bool isNumber = text.Convert(value);
    Require(isNumber || unit.Convert(text) == 0);
    const double shown = unit.Convert(text);
    Require(!isNumber || std::isnan(shown) || IsSame(shown, unit.Convert(value)));
    // Two roundings: near, where neither overflows nor loses digits to the smallest numbers.
    const double back = unit.Revert(shown);
    if (isNumber && std::isnormal(shown) && std::isnormal(back) && std::isnormal(value))
        Require(std::fabs(back - value) <= std::fabs(value) * 1e-15);
    static_cast<void>(unit.ConvertStr(text));
    static_cast<void>(unit.RevertStr(text));
    for (const int precision : {-1, 0, 3, 400}) {
        const WString formatted = unit.Format(text, precision);
        Require(isNumber || formatted.Length() == text.Length());
        Require(!isNumber || formatted.Length() < 320);
    }
}

void TryGuid(const WString& text)
{
    const BGuid guid(text.CStr());
    const WString printed = guid.ToString();
    Require(printed.Length() == 36 && BGuid(printed.CStr()) == guid);
    static const BGuid nil(QD_W(""));
    const WString lower = WString(text).ToLower();
    const bool isItsText = std::equal(printed.CStr(), printed.CStr() + 37, lower.CStr(),
                                      lower.CStr() + lower.Length() + 1);
    Require(guid == nil || isItsText); // 36 characters and nothing else
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const BUnitSystem millimetres;
    static const BUnitSystem inches = [] {
        BUnitSystem system;
        system.ChangeUnit(UnitInch);
        system.ChangeUnit(UnitClassAngle, QD_W("rad"), 0.017453292519943295, 6);
        return system;
    }();
    const HeapBound bound(size);
    const BString narrow(std::string(data, data + size).c_str());
    // Units of two bytes, too, as digits and white space of every script count.
    for (const WString& wide : {WString(platform::WideText(data, data + size).c_str()),
                                WString::FromUtf8(std::string(data, data + size))}) {
        TryReal(wide, QD_W("%.17g"));
        TryInteger(wide);
        TryPieces(wide);
        for (const BUnitSystem* system : {&millimetres, &inches}) {
            TryUnit(system->Unit(UnitClassLength), wide);
            TryUnit(system->Unit(UnitClassAngle), wide);
        }
        TryGuid(wide);
    }
    TryReal(narrow, "%.17g");
    TryInteger(narrow);
    return 0;
}
