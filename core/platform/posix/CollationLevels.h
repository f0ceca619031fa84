#pragma once

#include "core/platform/Collation.h"
#include "core/platform/posix/CollationWeights.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

/// Texts as the weights of their levels, and their comparison level after level. What a unit weighs
/// does not depend on what stands around it, but for two kinds: marks add to the weight of the sign
/// before them, and repetition marks take the place of that sign. So the order is one of sequences
/// of numbers: total and transitive for texts of any kind.
namespace platform::collation {

/// In this order they decide.
enum class Level { Places, Marks, Forms, Sizes, Repetitions, Types, Widths, Dashes };

/// Marks add up modulo 256; this tells a sum of 0 from the end of the level.
inline constexpr std::uint16_t kMarkSum = 0x100;

/// Whether a weight of marks or forms counts for nothing at the end of its level. Sums of marks may
/// be below what is plain.
inline bool IsPlain(std::uint64_t weight) noexcept
{
    return (weight & 0xff) <= kPlain;
}

/// The weight of a kana at one of the levels that only kana have.
inline std::uint8_t KanaWeight(const Weights& kana, Level level) noexcept
{
    switch (level) {
    case Level::Sizes: return (kana.form & kLarge) != 0 ? kPlain + 1 : kPlain;
    case Level::Repetitions:
        return static_cast<std::uint8_t>(kPlain + static_cast<std::uint8_t>(kana.repetition));
    case Level::Types: return (kana.form & kHiragana) != 0 ? kPlain + 1 : kPlain;
    default: return (kana.form & kFullWidth) != 0 ? kPlain + 1 : kPlain;
    }
}

/// Reads the weights of a text, one level of it. A text of `char` must be ASCII.
///
/// Each level is read from the text anew: most comparisons end among the places, and what is not
/// stored takes no memory. Reading the places tells which of the other levels there are.
template <class Char>
class WeightReader {
public:
    WeightReader(std::basic_string_view<Char> text, ECase letterCase) noexcept
        : m_text(text.data())
        , m_end(text.data() + text.size())
        , m_forms(static_cast<std::uint8_t>(letterCase == ECase::Ignored ? ~kCaseForms : 0xff))
    {}

    /// The next sign, mark or dash; kind `None` at the end.
    Weights Next() noexcept
    {
        for (;;) {
            while (m_text != m_end && !m_isExpanding) {
                const char16_t unit = Unit(*m_text++);
                Weights weights = WeightsOf(unit);
                if (weights.kind == Kind::Sign)
                    return Pass(unit, weights);
                weights = AsUncommon(unit, weights);
                if (weights.kind != Kind::Ignored)
                    return weights;
            }
            if (!m_isExpanding)
                return {};
            if (const Weights weights = NextInExpansion(); weights.kind != Kind::Ignored)
                return weights;
        }
    }

    /// As if the unit, which is a sign, had been read.
    Weights Pass(char16_t sign, const Weights& weights) noexcept
    {
        m_repeatable = sign;
        return WithForms(weights);
    }

    /// Whether a repetition mark would find what it repeats.
    bool HasRepeatable() const noexcept { return m_repeatable != 0; }

    /// Goes on with one more unit, read before its owner returns; for sums, which take a text unit
    /// by unit.
    void Continue(const Char* unit) noexcept
    {
        m_text = unit;
        m_end = unit + 1;
    }

    /// The next weight of `level`, 0 at the end.
    template <Level level>
    std::uint64_t Next() noexcept
    {
        if constexpr (level == Level::Places)
            return NextPlace();
        else if constexpr (level == Level::Marks)
            return NextMark();
        else if constexpr (level == Level::Forms)
            return NextForm();
        else if constexpr (level == Level::Dashes)
            return NextDash();
        else
            return NextKana(level);
    }

    /// Whether the signs of which the places were read have anything else that is not plain.
    bool HasMarks() const noexcept { return m_hasMarks; }
    bool HasForms() const noexcept { return m_hasForms; }
    bool HasKana() const noexcept { return m_hasKana; }
    bool HasDashes() const noexcept { return m_hasDashes; }

private:
    /// Not inlined, so that the loops over signs stay short.
    [[gnu::noinline]] Weights AsUncommon(char16_t unit, Weights weights) noexcept
    {
        switch (weights.kind) {
        case Kind::Dash: m_repeatable = unit; break;
        case Kind::Repeat:
            weights = Repeated(weights, HasRepeatable() ? WeightsOf(m_repeatable) : Weights());
            break;
        case Kind::Several:
            Expand(unit, m_expansion);
            m_isExpanding = true;
            m_expanded = 0;
            m_repeatable = 0;
            return {0, 0, 0, Kind::Ignored};
        default: return weights;
        }
        return WithForms(weights);
    }

    [[gnu::noinline]] Weights NextInExpansion() noexcept
    {
        assert(m_expanded < kUnitTextRoom);
        const char16_t unit = m_expansion[m_expanded++];
        m_isExpanding = unit != 0;
        return unit == 0 ? Weights{0, 0, 0, Kind::Ignored}
                         : WithForms(InExpansion(WeightsOf(unit)));
    }

    Weights WithForms(Weights weights) const noexcept
    {
        weights.form &= m_forms;
        return weights;
    }

    Weights NextSign() noexcept
    {
        for (;;) {
            const Weights weights = Next();
            if (weights.kind == Kind::Sign || weights.kind == Kind::None)
                return weights;
        }
    }

    std::uint8_t NextForm() noexcept
    {
        for (;;) {
            const Weights sign = NextSign();
            if (sign.form != 0 || sign.kind == Kind::None)
                return IsKana(sign) ? kPlain : sign.form;
        }
    }

    std::uint8_t NextKana(Level level) noexcept
    {
        for (;;) {
            const Weights sign = NextSign();
            if (sign.kind == Kind::None)
                return 0;
            if (IsKana(sign))
                return KanaWeight(sign, level);
        }
    }

    std::uint16_t NextPlace() noexcept
    {
        for (;;) {
            const Weights weights = Next();
            switch (weights.kind) {
            case Kind::Sign:
                m_hasMarks = m_hasMarks || weights.mark > kPlain;
                if (IsKana(weights))
                    m_hasKana = true;
                else if (weights.form > kPlain)
                    m_hasForms = true;
                return weights.place;
            case Kind::Mark: m_hasMarks = true; break;
            case Kind::Dash: m_hasDashes = true; break;
            default: return 0;
            }
        }
    }

    /// The mark of a sign with the marks that follow it, across dashes. Marks before the first sign
    /// make one of their own.
    std::uint16_t NextMark() noexcept
    {
        for (;;) {
            const Weights weights = Next();
            if (weights.kind == Kind::Dash || (weights.kind == Kind::Sign && weights.mark == 0))
                continue;
            if (weights.kind == Kind::Mark) {
                m_pending = static_cast<std::uint8_t>(m_pending + weights.mark);
                m_isPending = true;
                continue;
            }
            const std::uint16_t mark = kMarkSum | m_pending;
            const bool wasPending = std::exchange(m_isPending, weights.kind == Kind::Sign);
            m_pending = weights.mark;
            if (wasPending)
                return mark;
            if (weights.kind == Kind::None)
                return 0;
        }
    }

    /// A dash with the signs before it: the later it stands, the less it weighs.
    std::uint64_t NextDash() noexcept
    {
        for (;;) {
            const Weights weights = Next();
            if (weights.kind == Kind::None)
                return 0;
            if (weights.kind == Kind::Dash)
                return std::uint64_t{~m_signs} << 32 | std::uint64_t{weights.place} << 16 |
                       std::uint64_t{weights.mark} << 8 | std::uint64_t{weights.form};
            m_signs += weights.kind == Kind::Sign;
        }
    }

    const Char* m_text;
    const Char* m_end;
    std::uint8_t m_forms;
    std::uint8_t m_pending = 0; // the mark that is adding up
    bool m_isPending = false;
    char16_t m_repeatable = 0; // the unit that a repetition mark repeats
    std::uint32_t m_signs = 0;
    bool m_hasMarks = false;
    bool m_hasForms = false;
    bool m_hasKana = false;
    bool m_hasDashes = false;
    bool m_isExpanding = false;
    std::uint8_t m_expanded = 0; // how far m_expansion is read
    UnitText m_expansion;
};

/// Whether `weight` or one behind it is not plain.
template <Level level, class Char>
bool HasMore(WeightReader<Char>& reader, std::uint64_t weight) noexcept
{
    while (weight != 0 && IsPlain(weight))
        weight = reader.template Next<level>();
    return weight != 0;
}

template <Level level, class Char>
int CompareLevel(WeightReader<Char>& left, WeightReader<Char>& right) noexcept
{
    for (;;) {
        const std::uint64_t x = left.template Next<level>();
        const std::uint64_t y = right.template Next<level>();
        if (x == y && x == 0)
            return 0;
        if (x == y)
            continue;
        // At these levels a text ends with its last weight that is not plain.
        constexpr bool endsEarly = level == Level::Marks || level == Level::Forms;
        if (endsEarly && IsPlain((std::max)(x, y))) {
            const int hasLeft = HasMore<level>(left, x);
            const int hasRight = HasMore<level>(right, y);
            if (hasLeft == 0 || hasRight == 0)
                return hasLeft - hasRight;
        }
        return x < y ? -1 : 1;
    }
}

template <Level level, class Char>
int CompareLevel(std::basic_string_view<Char> a, std::basic_string_view<Char> b,
                 ECase letterCase) noexcept
{
    WeightReader<Char> left(a, letterCase);
    WeightReader<Char> right(b, letterCase);
    return CompareLevel<level>(left, right);
}

template <class Char>
int CompareLevels(std::basic_string_view<Char> a, std::basic_string_view<Char> b,
                  ECase letterCase) noexcept
{
    // Only levels that one of the texts has are read: two plain ones are done after the places.
    WeightReader<Char> left(a, letterCase);
    WeightReader<Char> right(b, letterCase);
    if (const int order = CompareLevel<Level::Places>(left, right); order != 0)
        return order;
    int order = 0;
    if (left.HasMarks() || right.HasMarks())
        order = CompareLevel<Level::Marks>(a, b, letterCase);
    if (order == 0 && (left.HasForms() || right.HasForms()))
        order = CompareLevel<Level::Forms>(a, b, letterCase);
    if (left.HasKana() || right.HasKana()) {
        if (order == 0)
            order = CompareLevel<Level::Sizes>(a, b, letterCase);
        if (order == 0)
            order = CompareLevel<Level::Repetitions>(a, b, letterCase);
        if (order == 0)
            order = CompareLevel<Level::Types>(a, b, letterCase);
        if (order == 0)
            order = CompareLevel<Level::Widths>(a, b, letterCase);
    }
    if (order == 0 && (left.HasDashes() || right.HasDashes()))
        order = CompareLevel<Level::Dashes>(a, b, letterCase);
    return order;
}

} // namespace platform::collation
