#include "core/platform/posix/CollationSearch.h"

#include "core/platform/SeededHash.h"
#include "core/platform/posix/CollationLevels.h"

#include <bit>
#include <cassert>
#include <cstdint>

// A stretch of the text is found when it compares equal to the part, which no search for units can
// tell: letters are equal in both cases, ignored units count for nothing, one unit may count as
// two. To compare at each position costs the product of both lengths. That is what `FindFirst`
// begins with, as the first sign mostly tells; where it tells too little, `SumSearch` goes on,
// which takes time linear in the text whatever the part is.
namespace platform::collation {

namespace {

/// A number modulo the prime 2^61 - 1. (Modulo 2^64 there are texts whose sums collide whatever the
/// base: Thue and Morse's.)
class Residue {
public:
    /// `number` is below 2^62 - 2.
    constexpr Residue(std::uint64_t number = 0) noexcept
        : m_number(number < kPrime ? number : number - kPrime)
    {}
    friend Residue operator+(Residue a, Residue b) noexcept { return a.m_number + b.m_number; }
    friend Residue operator-(Residue a, Residue b) noexcept
    {
        return a.m_number + (kPrime - b.m_number);
    }
    friend Residue operator*(Residue a, Residue b) noexcept
    {
        __extension__ using Product = unsigned __int128;
        const Product product = Product{a.m_number} * b.m_number;
        return (static_cast<std::uint64_t>(product) & kPrime) +
               static_cast<std::uint64_t>(product >> 61);
    }
    friend bool operator==(Residue a, Residue b) noexcept = default;

private:
    static constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;

    std::uint64_t m_number;
};

/// The base of the sums, drawn once, so that no text can be made for which they often collide.
Residue SumBase() noexcept
{
    static const Residue base = SeededHash(std::uint64_t{1}) >> 3;
    return base;
}

/// Sums over the signs of a text from its front up to some unit, from which those of any stretch
/// follow, so that the stretches that can equal a part are found in one pass: Karp and Rabin, IBM
/// J. Res. Dev. 31 (1987), 249. Marks have a sum of their own, as they add up.
template <class Char>
class SignSums {
public:
    void Append(const Char& unit) noexcept
    {
        const Weights weights = WeightsOf(Unit(unit));
        if (weights.kind == Kind::Sign) {
            AddSign(m_reader.Pass(Unit(unit), weights));
            return;
        }
        m_repeats += weights.kind == Kind::Repeat;
        m_reader.Continue(&unit);
        for (Weights next = m_reader.Next(); next.kind != Kind::None; next = m_reader.Next()) {
            if (next.kind == Kind::Mark)
                AddMark(next.mark);
            else
                AddSign(next);
        }
    }

    /// Whether the signs between `front` and this, but for their marks, are those of `part`.
    bool HasSigns(const SignSums& front, const SignSums& part) const noexcept
    {
        return m_signs - front.m_signs == part.m_signs * front.m_signPower;
    }

    /// The same for their marks. The marks behind `front` and before `first` have no sign to add
    /// to; `first` stands before a sign that takes marks, or is this.
    bool HasMarks(const SignSums& front, SignSums& first, const SignSums& part) const noexcept
    {
        const auto loose = static_cast<std::uint8_t>(first.m_markTotal - front.m_markTotal);
        const bool isLoose = first.m_markUnits != front.m_markUnits;
        const Residue lead = isLoose ? Excess(loose) : Residue(0);
        const Residue between = m_marks - first.m_marks;
        if (between == 0)
            return lead == part.m_marks;
        const Residue power = first.MarkPower(first.m_markCount);
        return lead * power + between * (isLoose ? m_base : Residue(1)) == part.m_marks * power;
    }

    /// Goes on to the first sign that takes marks, at most to `end`, from `position`.
    void GoToMarked(const Char* text, std::size_t& position, std::size_t end) noexcept
    {
        for (; position < end; ++position) {
            const Weights weights = WeightsOf(Unit(text[position]));
            if (TakesMarks(weights))
                return;
            if (weights.kind != Kind::Several && weights.kind != Kind::Repeat) {
                Append(text[position]);
                continue;
            }
            SignSums next = *this;
            next.Append(text[position]);
            if (next.m_markedSigns != m_markedSigns)
                return;
            *this = next;
        }
    }

    std::size_t Repeats() const noexcept { return m_repeats; }
    bool EndsRepeatable() const noexcept { return m_reader.HasRepeatable(); }

private:
    void AddSign(const Weights& sign) noexcept
    {
        constexpr auto mark = std::bit_cast<std::uint64_t>(Weights{0, 0xff});
        auto number = std::bit_cast<std::uint64_t>(sign);
        if (sign.kind == Kind::Sign) {
            number &= ~mark;
            if (sign.mark != 0) {
                ++m_markedSigns;
                OpenMark(sign.mark);
            }
        }
        m_signs = m_signs + m_signPower * number;
        m_signPower = m_signPower * m_base;
    }

    void OpenMark(std::uint8_t mark) noexcept
    {
        ++m_markCount;
        m_mark = mark;
        if (mark != kPlain)
            m_marks = m_marks + Excess(mark) * MarkPower(m_markCount - 1);
    }

    void AddMark(std::uint8_t mark) noexcept
    {
        ++m_markUnits;
        m_markTotal = static_cast<std::uint8_t>(m_markTotal + mark);
        if (m_markCount == 0) {
            OpenMark(mark);
            return;
        }
        const Residue power = MarkPower(m_markCount - 1);
        m_marks = m_marks - Excess(m_mark) * power;
        m_mark = static_cast<std::uint8_t>(m_mark + mark);
        m_marks = m_marks + Excess(m_mark) * power;
    }

    /// What the mark of this number counts. Numbers do not fall.
    Residue MarkPower(std::size_t number) noexcept
    {
        assert(number >= m_markPowerNumber);
        for (; m_markPowerNumber < number; ++m_markPowerNumber)
            m_markPower = m_markPower * m_base;
        return m_markPower;
    }

    /// 0 for what is plain, so that it makes no difference at the end. Sums below that, which few
    /// texts have, are told from it by the comparison alone.
    static Residue Excess(std::uint8_t mark) noexcept
    {
        return static_cast<std::uint64_t>(IsPlain(mark) ? 0 : mark - kPlain);
    }

    WeightReader<Char> m_reader{{}, ECase::Ignored};
    Residue m_base = SumBase();
    Residue m_signs = 0;
    Residue m_signPower = 1;
    Residue m_marks = 0;
    Residue m_markPower = 1; // of the mark of m_markPowerNumber
    std::size_t m_markPowerNumber = 0;
    std::size_t m_markCount = 0;
    std::uint8_t m_mark = 0;      // the last one: to which marks add that follow
    std::uint8_t m_markTotal = 0; // of the marks that were read, and their number
    std::size_t m_markUnits = 0;
    std::size_t m_markedSigns = 0;
    std::size_t m_repeats = 0;
};

/// Finds `part` by the sums of the stretches of a text.
template <class Char>
class SumSearch {
public:
    SumSearch(std::basic_string_view<Char> text, std::basic_string_view<Char> part) noexcept
        : m_text(text)
        , m_part(part)
    {}

    /// There is room for the part behind `start`. Linear in the text, whatever the part, but for
    /// stretches that begin with a mark that repeats a sign before them, or with a unit that counts
    /// as a mark and then a sign, or whose marks add up to less than is plain: each may cost a
    /// comparison.
    std::size_t Find(std::size_t start) noexcept
    {
        assert(m_part.size() <= m_text.size() - start);
        for (std::size_t i = 0; i < m_part.size(); ++i) {
            m_wanted.Append(m_part[i]);
            m_back.Append(m_text[start + i]);
        }
        for (std::size_t i = start;; ++i) {
            if (MayEqual(i) &&
                CompareLevels(m_text.substr(i, m_part.size()), m_part, ECase::Ignored) == 0)
                return i;
            if (i + m_part.size() == m_text.size())
                return kNotFound;
            m_front.Append(m_text[i]);
            m_back.Append(m_text[i + m_part.size()]);
        }
    }

private:
    /// Whether the stretch at `i` may equal the part, as far as sums tell.
    bool MayEqual(std::size_t i) noexcept
    {
        const Weights weights = WeightsOf(Unit(m_text[i]));
        if (TakesMarks(weights))
            return m_back.HasSigns(m_front, m_wanted) &&
                   m_back.HasMarks(m_front, m_front, m_wanted);
        // It may begin with marks that in the text add to an earlier sign, or that repeat one.
        const std::size_t end = i + m_part.size();
        if (m_firstPosition <= i) {
            m_first = m_front;
            m_firstPosition = i;
        }
        m_first.GoToMarked(m_text.data(), m_firstPosition, end);
        if (m_front.EndsRepeatable() && weights.kind != Kind::Dash && BeginsRepeating(end))
            return true;
        return m_back.HasSigns(m_front, m_wanted) &&
               (HidesMark(end) || m_back.HasMarks(m_front, m_first, m_wanted));
    }

    /// Whether a repetition mark stands before the first sign of the stretch, or as that sign.
    bool BeginsRepeating(std::size_t end) const noexcept
    {
        return m_first.Repeats() != m_front.Repeats() ||
               (m_firstPosition < end &&
                WeightsOf(Unit(m_text[m_firstPosition])).kind == Kind::Repeat);
    }

    /// Whether the first sign is one of the few units that count as a mark and then a sign: sums
    /// before and behind the unit do not tell the two apart.
    bool HidesMark(std::size_t end) const noexcept
    {
        if (m_firstPosition == end)
            return false;
        const char16_t unit = Unit(m_text[m_firstPosition]);
        if (WeightsOf(unit).kind != Kind::Several)
            return false;
        UnitText text;
        Expand(unit, text);
        return WeightsOf(text[0]).kind == Kind::Mark;
    }

    std::basic_string_view<Char> m_text;
    std::basic_string_view<Char> m_part;
    SignSums<Char> m_wanted; // of the part
    SignSums<Char> m_front;  // up to the stretch
    SignSums<Char> m_first;  // up to the first sign of the stretch that takes marks
    SignSums<Char> m_back;   // up to the end of the stretch
    std::size_t m_firstPosition = 0;
};

/// Compares wherever the first sign is the right one, until that has cost more than sums would.
template <class Char>
std::size_t FindFirst(std::basic_string_view<Char> text, std::basic_string_view<Char> part) noexcept
{
    if (part.empty() || part.size() > text.size())
        return kNotFound;
    const std::size_t last = text.size() - part.size();
    const Weights first = WeightsOf(Unit(part[0]));
    const bool isSign = first.kind == Kind::Sign;
    std::size_t compared = 0;
    std::size_t i = 0;
    for (; isSign && i <= last && compared <= 1024 + i * 16; ++i) {
        const Weights here = WeightsOf(Unit(text[i]));
        if (here.kind == Kind::Sign && here.place != first.place)
            continue;
        if (CompareLevels(text.substr(i, part.size()), part, ECase::Ignored) == 0)
            return i;
        compared += part.size();
    }
    return i <= last ? SumSearch<Char>(text, part).Find(i) : kNotFound;
}

} // namespace

std::size_t Find(std::string_view text, std::string_view part) noexcept
{
    return FindFirst(text, part);
}

std::size_t Find(WideView text, WideView part) noexcept
{
    return FindFirst(text, part);
}

} // namespace platform::collation
