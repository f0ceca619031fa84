#pragma once

#include "core/base/text/Units.h"

#include <algorithm>
#include <cstddef>
#include <utility>

// Where a text stands in another, unit by unit.
//
// `std::basic_string_view::find` is quadratic for a part whose front comes again and again, and a
// file may be made of such texts. So the simple search, which is the fastest for common texts,
// gives way to a linear one as soon as it has compared too much in vain.

namespace NText {

// Where the greatest suffix of a text begins, and the period of that suffix.
struct MaximalSuffix {
    std::size_t start = 0;
    std::size_t period = 1;
};

// The greatest in the order of characters, or in the opposite one.
template <class Char>
MaximalSuffix FindMaximalSuffix(View<Char> text, bool isOpposite) noexcept
{
    MaximalSuffix suffix;
    std::size_t rival = 1; // start of the suffix that is compared with it
    std::size_t equal = 0; // how much of it was equal
    while (rival + equal < text.size()) {
        const Char ours = text[suffix.start + equal];
        const Char theirs = text[rival + equal];
        if (ours == theirs) {
            if (++equal == suffix.period)
                rival += std::exchange(equal, 0);
        } else if ((theirs < ours) != isOpposite) {
            rival += std::exchange(equal, 0) + 1;
            suffix.period = rival - suffix.start;
        } else {
            suffix = {rival++, 1};
            equal = 0;
        }
    }
    return suffix;
}

// First position of `part` in `text` at or after `start`, which leaves room for it: the Two-Way
// algorithm of Crochemore and Perrin, J. ACM 38 (1991), 650. Linear, whatever the part.
//
// The part is cut where the shortest repetition around the cut is as long as the part's period.
// Behind the cut it is compared forwards, and a mismatch moves it on by all that was compared; then
// before the cut.
template <class Char>
std::size_t FindTwoWay(View<Char> text, View<Char> part, std::size_t start) noexcept
{
    const MaximalSuffix one = FindMaximalSuffix(part, false);
    const MaximalSuffix other = FindMaximalSuffix(part, true);
    const auto [cut, suffixPeriod] = one.start > other.start ? one : other;
    const bool isPeriodic = part.substr(0, cut) == part.substr(suffixPeriod, cut);
    // What the part moves by when all behind the cut agreed, and how much then agrees beforehand.
    const std::size_t step = isPeriodic ? suffixPeriod : (std::max)(cut, part.size() - cut) + 1;
    const std::size_t overlap = isPeriodic ? part.size() - step : 0;
    std::size_t known = 0; // the front of the part that is known to agree
    while (start <= text.size() - part.size()) {
        std::size_t i = (std::max)(cut, known);
        while (i < part.size() && part[i] == text[start + i])
            ++i;
        if (i < part.size()) {
            start += i - cut + 1;
            known = 0;
            continue;
        }
        i = cut;
        while (i > known && part[i - 1] == text[start + i - 1])
            --i;
        if (i <= known)
            return start;
        start += step;
        known = overlap;
    }
    return platform::kNotFound;
}

// First position of `part` in `text` at or after `start`.
template <class Char>
std::size_t FindPart(View<Char> text, View<Char> part, std::size_t start) noexcept
{
    if (part.empty() || start >= text.size() || part.size() > text.size() - start)
        return platform::kNotFound;
    const std::size_t last = text.size() - part.size();
    constexpr std::size_t patience = 1024;
    std::size_t wasted = 0; // characters of parts that were begun only
    for (std::size_t at = text.find(part[0], start); at <= last; at = text.find(part[0], at + 1)) {
        const auto [begun, end] = std::mismatch(part.begin(), part.end(), text.begin() + at);
        if (begun == part.end())
            return at;
        wasted += static_cast<std::size_t>(begun - part.begin());
        if (wasted > patience + (at - start) * 4)
            return FindTwoWay(text, part, at);
    }
    return platform::kNotFound;
}

} // namespace NText
