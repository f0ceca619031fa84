#include "core/platform/posix/CollationWeights.h"

#include <unicode/unorm2.h>

#include <cstddef>
#include <iterator>

// The table is taken from the sort keys of Windows, unit by unit: the library sorts as they do, so
// that a list and a document have one order on both platforms. ICU knows another order. Of pairs of
// texts one in ten differs, whatever its collator is set to; with rules added for that, the dashes,
// the ignored units and the expansions would still have to be done apart, and a comparison of ASCII
// names would take four times as long.
//
// Weights of 8 bytes for each of 65,536 units would be half a megabyte in every program. Neighbours
// mostly differ by the same steps, so the table has runs of them, written as text: 30 KB. A page of
// 256 units is unpacked when one of them is first asked for. Threads that do so at once write the
// same weights, each in one piece, so they need no lock.
namespace platform::collation {

namespace {

/// A number of the table: digits of "]" and above, 34 of them, then one of the 56 below but "?".
constexpr int ReadNumber(const char*& in)
{
    int number = 0;
    while (*in >= ']')
        number = number * 34 + (*in++ - ']');
    const char last = *in++;
    return number * 56 + (last - '#') - (last > '?' ? 1 : 0);
}

constexpr int ReadSigned(const char*& in)
{
    const int number = ReadNumber(in);
    return (number & 1) == 0 ? number >> 1 : ~(number >> 1);
}

/// Calls `store` with each unit of a page of 256 that is not ignored, and with its weights.
///
/// A run is: how far its first unit is behind the first of the run before; which of the following
/// numbers there are, a bit each: its length less 2 (none: it is 1), the step of places, the first
/// mark, the form, the kind, the stride of units and the step of marks; last how far its first
/// place is from the last one before. What is missing is as it was.
template <class Function>
constexpr void ReadPage(std::size_t page, Function store)
{
    const char* in = kRuns + kPageStarts[page];
    const char* const end = kRuns + kPageStarts[page + 1];
    int unit = static_cast<int>(page) << 8;
    int place = 0;
    int mark = kPlain;
    int step = 1;
    int stride = 1;
    int markStep = 0;
    Weights weights{0, kPlain, kPlain, Kind::Sign};
    while (in != end) {
        unit += ReadNumber(in);
        const int changes = ReadNumber(in);
        const int length = (changes & 1) != 0 ? ReadNumber(in) + 2 : 1;
        step = (changes & 2) != 0 ? ReadSigned(in) : step;
        mark = (changes & 4) != 0 ? ReadNumber(in) : mark;
        if ((changes & 8) != 0)
            weights.form = static_cast<std::uint8_t>(ReadNumber(in));
        if ((changes & 16) != 0)
            weights.kind = static_cast<Kind>(ReadNumber(in));
        stride = (changes & 32) != 0 ? ReadNumber(in) : stride;
        markStep = (changes & 32) != 0 ? ReadSigned(in) : markStep;
        place += ReadSigned(in);
        for (int i = 0; i < length; ++i) {
            place += i == 0 ? 0 : step;
            mark += i == 0 ? 0 : markStep;
            weights.place = static_cast<std::uint16_t>(place);
            weights.mark = static_cast<std::uint8_t>(mark);
            const int at = unit + i * stride;
            store(static_cast<std::size_t>(at), weights);
        }
    }
}

constexpr std::array<Weights, kAsciiEnd> MakeAsciiWeights()
{
    std::array<Weights, kAsciiEnd> ascii{};
    ReadPage(0, [&](std::size_t unit, const Weights& weights) {
        if (unit < kAsciiEnd)
            ascii[unit] = weights;
    });
    return ascii;
}

} // namespace

constinit const std::array<Weights, kAsciiEnd> kAscii = MakeAsciiWeights();

std::atomic<Weights> g_known[0x10000];

void LoadPage(std::size_t page) noexcept
{
    Weights known[0x100];
    for (Weights& weights : known)
        weights.kind = Kind::Ignored;
    ReadPage(page, [&](std::size_t unit, const Weights& weights) { known[unit & 0xff] = weights; });
    for (std::size_t i = 0; i < std::size(known); ++i)
        g_known[page << 8 | i].store(known[i], std::memory_order_relaxed);
}

namespace {

bool FindExpansion(char16_t unit, UnitText& text) noexcept
{
    const char16_t* in = kExpansions;
    while (*in != 0 && *in != unit) {
        while (*in++ != u' ') {
        }
    }
    if (*in++ == 0)
        return false;
    char16_t* out = text;
    while (*in != u' ')
        *out++ = *in++;
    *out = 0;
    return true;
}

} // namespace

void Expand(char16_t unit, UnitText& text) noexcept
{
    text[0] = 0;
    if (FindExpansion(unit, text))
        return;
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* normalizer = unorm2_getNFKDInstance(&error);
    if (U_SUCCESS(error))
        unorm2_getDecomposition(normalizer, unit, text, kUnitTextRoom, &error);
}

namespace {

/// The last byte of an ideograph's place in the keys of Windows, which are numbers without 0 and 1.
std::uint8_t LastByte(const Weights& ideograph) noexcept
{
    const int front =
        ideograph.place < kFirstLaterIdeograph ? kFirstIdeograph : kFirstLaterIdeograph;
    return static_cast<std::uint8_t>(2 + (ideograph.place - front) % 254);
}

} // namespace

Weights Repeated(const Weights& repeat, const Weights& sign) noexcept
{
    if (sign.kind == Kind::None)
        return {repeat.place, 0, 0, Kind::Sign};
    // The place of the ideograph was compared before, so there is no need to have it again. The end
    // of it stands where other signs have a mark, and marks that follow add to that.
    if (IsIdeograph(sign))
        return {kRepeatedIdeograph, LastByte(sign), kPlain, Kind::Sign};
    Weights weights = sign;
    if (!IsKana(sign)) {
        weights.form = kPlain;
        weights.kind = Kind::Sign;
        return weights;
    }
    const bool prolongs = (repeat.form & kLarge) != 0;
    if (const char vowel = kVowels[sign.place - kFirstKana]; prolongs && vowel != '-')
        weights.place = static_cast<std::uint16_t>(kFirstKana + (vowel - '0'));
    weights.mark = repeat.mark;
    weights.form =
        static_cast<std::uint8_t>((sign.form & ~kFullWidth) | (repeat.form & kFullWidth));
    weights.repetition = prolongs ? Repetition::Prolonged : Repetition::Mark;
    return weights;
}

} // namespace platform::collation
