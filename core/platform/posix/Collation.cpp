#include "core/platform/Collation.h"

#include "core/platform/CharClass.h"
#include "core/platform/CodePage.h"
#include "core/platform/posix/AnsiPosition.h"
#include "core/platform/posix/CollationTables.h"
#include "core/platform/posix/FoldCase.h"
#include "core/platform/posix/VectorBlocks.h"

#include <unicode/unorm2.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// Texts are compared as the sort keys of Windows order them, level after level: the places of the
// signs, the marks on them (accents), their forms (capital, raised), for kana size, repetition,
// type and width, and last the dashes. ICU knows another order, of which one pair in ten differs
// whatever it is set to, so the weights are a table, taken from the sort keys themselves. What a
// unit weighs does not depend on what stands around it, but for two kinds: marks add to the weight
// of the sign before them, and repetition marks take the place of that sign. So the order is one of
// sequences of numbers: total and transitive for texts of any kind.
namespace platform {

using namespace collation;

namespace {

/// The numbers stand in the table.
enum class Kind : std::uint8_t {
    None = 0,    // the end of a text, weights that are not known yet
    Ignored = 1, // counts for nothing
    Sign = 2,    // a letter, digit, symbol, blank
    Mark = 3,    // adds to the mark of the sign before it
    Dash = 4,    // counts last
    Several = 5, // counts as a text of several units
    Repeat = 6,  // counts as the sign before it
};

/// The weight of a sign without a mark and of a small letter of ordinary form.
constexpr std::uint8_t kPlain = 2;

/// Forms that make no difference without regard to case.
constexpr std::uint8_t kCaseForms = 0x18;

/// What forms of kana and of marks that repeat one are made of. (No level of forms has them.)
constexpr std::uint8_t kFullWidth = 0x01;
constexpr std::uint8_t kLarge = 0x04; // of a mark: prolongs the vowel
constexpr std::uint8_t kHiragana = 0x20;

enum class Repetition : std::uint8_t { None, Mark, Prolonged };

struct alignas(8) Weights {
    std::uint16_t place = 0; // of a sign or a dash
    std::uint8_t mark = 0;   // 0 of a sign that takes no part at this level
    std::uint8_t form = 0;   // likewise
    Kind kind = Kind::None;
    Repetition repetition = Repetition::None;
    std::uint16_t unused = 0; // fills the word: weights are stored and loaded as one, hence aligned
};

bool IsKana(const Weights& sign) noexcept
{
    return sign.place >= kFirstKana && sign.place <= kLastKana;
}

bool IsIdeograph(const Weights& sign) noexcept
{
    return sign.place >= kFirstIdeograph && sign.place <= kLastIdeograph;
}

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
            store(static_cast<std::size_t>(unit + i * stride), weights);
        }
    }
}

constexpr char16_t kAsciiEnd = 0x80;

constexpr std::array<Weights, kAsciiEnd> MakeAsciiWeights()
{
    std::array<Weights, kAsciiEnd> ascii{};
    ReadPage(0, [&](std::size_t unit, const Weights& weights) {
        if (unit < kAsciiEnd)
            ascii[unit] = weights;
    });
    return ascii;
}

constexpr std::array<Weights, kAsciiEnd> kAscii = MakeAsciiWeights();

/// The weights of the units above ASCII, by pages of 256 that were asked for before.
std::atomic<Weights> g_known[0x10000];
static_assert(std::atomic<Weights>::is_always_lock_free);

[[gnu::noinline]] void LoadPage(std::size_t page) noexcept
{
    Weights known[0x100];
    for (Weights& weights : known)
        weights.kind = Kind::Ignored;
    ReadPage(page, [&](std::size_t unit, const Weights& weights) { known[unit & 0xff] = weights; });
    for (std::size_t i = 0; i < std::size(known); ++i)
        g_known[page << 8 | i].store(known[i], std::memory_order_relaxed);
}

Weights WeightsOf(char16_t unit) noexcept
{
    if (unit < kAsciiEnd)
        return kAscii[unit];
    Weights weights = g_known[unit].load(std::memory_order_relaxed);
    if (weights.kind == Kind::None) {
        LoadPage(unit >> 8);
        weights = g_known[unit].load(std::memory_order_relaxed);
    }
    return weights;
}

/// A text that a unit counts as, which ends with a 0. The longest has 18 units.
constexpr int kUnitTextRoom = 24;
using UnitText = char16_t[kUnitTextRoom];

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

/// The text that a unit of kind `Several` counts as; empty without Unicode's data.
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

/// Intended: kana that a unit counts as are other signs, as Windows has them.
Weights InExpansion(Weights weights) noexcept
{
    if (IsKana(weights))
        weights.place =
            static_cast<std::uint16_t>(weights.place - kFirstKana + kFirstKanaInExpansion);
    return weights;
}

/// The weights of a repetition mark behind `sign`, which has kind `None` where nothing stands.
Weights Repeated(const Weights& repeat, const Weights& sign) noexcept
{
    if (sign.kind == Kind::None)
        return {repeat.place, 0, 0, Kind::Sign};
    // The place of the ideograph was compared before, so there is no need to have it again.
    if (IsIdeograph(sign))
        return {kRepeatedIdeograph, kPlain, kPlain, Kind::Sign};
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

/// `character` as a code unit; of a narrow text only ASCII makes sense.
template <class Char>
char16_t Unit(Char character) noexcept
{
    return static_cast<std::make_unsigned_t<Char>>(character);
}

/// In this order they decide.
enum class Level { Places, Marks, Forms, Sizes, Repetitions, Types, Widths, Dashes };

/// Marks add up modulo 256, but to no end of a level.
std::uint8_t SumOfMarks(std::uint8_t sum) noexcept
{
    return sum < kPlain ? kPlain + 1 : sum;
}

/// The weight of a kana at one of the levels that only kana have.
std::uint8_t KanaWeight(const Weights& kana, Level level) noexcept
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

    /// Goes on with one more unit, read before its owner returns.
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
    std::uint8_t NextMark() noexcept
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
            const std::uint8_t mark = SumOfMarks(m_pending);
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

template <Level level, class Char>
int CompareLevel(WeightReader<Char>& left, WeightReader<Char>& right) noexcept
{
    const std::uint64_t missing = level == Level::Marks || level == Level::Forms ? kPlain : 0;
    for (;;) {
        std::uint64_t x = left.template Next<level>();
        std::uint64_t y = right.template Next<level>();
        if (x == y) {
            if (x == 0)
                return 0;
            continue;
        }
        x = x == 0 ? missing : x;
        y = y == 0 ? missing : y;
        if (x != y)
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

template <class Char>
std::basic_string_view<Char> View(const Char* text) noexcept
{
    return {text, Length(text)};
}

/// How many units the texts have in common before they differ or end.
template <class Char>
std::size_t SharedUnits(const Char* a, const Char* b) noexcept
{
    std::size_t shared = 0;
    while (a[shared] == b[shared] && a[shared] != 0)
        ++shared;
    return shared;
}

#if defined(QD_VECTOR_BLOCKS)

std::size_t SharedUnits(const WChar* a, const WChar* b) noexcept
{
    constexpr std::size_t size = sizeof(__m128i);
    const std::size_t offset = reinterpret_cast<std::uintptr_t>(a) % size;
    if (offset % sizeof(WChar) != 0 || reinterpret_cast<std::uintptr_t>(b) % size != offset)
        return SharedUnits<WChar>(a, b);
    const auto* left = reinterpret_cast<const __m128i*>(reinterpret_cast<const char*>(a) - offset);
    const auto* right = reinterpret_cast<const __m128i*>(reinterpret_cast<const char*>(b) - offset);
    const auto ends = [](const __m128i* x, const __m128i* y) {
        const __m128i units = _mm_load_si128(x);
        const __m128i equal = _mm_cmpeq_epi16(units, _mm_load_si128(y));
        const __m128i zero = _mm_cmpeq_epi16(units, _mm_setzero_si128());
        return 0xffffu ^ static_cast<unsigned>(_mm_movemask_epi8(_mm_andnot_si128(zero, equal)));
    };
    unsigned found = ends(left, right) >> offset << offset;
    while (found == 0)
        found = ends(++left, ++right);
    const char* end = reinterpret_cast<const char*>(left) + std::countr_zero(found);
    return static_cast<std::size_t>(end - reinterpret_cast<const char*>(a)) / sizeof(WChar);
}

#endif

/// The order of two texts as far as ASCII decides it; nothing when it takes more. They share their
/// first `shared` units.
///
/// Wherever the signs before agree in place and number, equal units add the same to both texts, and
/// two signs of different places decide whatever follows them.
template <class Char>
std::optional<int> CompareAscii(const Char* a, const Char* b, std::size_t shared,
                                ECase letterCase) noexcept
{
    const Char* left = a + shared;
    const Char* right = b + shared;
    int forms = 0;
    bool dashes = false;
    for (;;) {
        const char16_t x = Unit(*left);
        const char16_t y = Unit(*right);
        if (x == 0 && y == 0)
            break;
        if (x != y) {
            if (x >= kAsciiEnd || y >= kAsciiEnd)
                return std::nullopt;
            const Weights& l = kAscii[x];
            const Weights& r = kAscii[y];
            if (l.kind == Kind::Dash || r.kind == Kind::Dash) {
                dashes = true;
                left += l.kind == Kind::Dash;
                right += r.kind == Kind::Dash;
                continue;
            }
            if (l.place != r.place)
                return l.place < r.place ? -1 : 1;
            if (forms == 0)
                forms = l.form - r.form;
        } else if (dashes && x >= kAsciiEnd) {
            return std::nullopt; // it may repeat what stands before, a dash or none
        }
        ++left;
        ++right;
    }
    if (forms != 0 && letterCase == ECase::Matters)
        return forms < 0 ? -1 : 1;
    if (!dashes)
        return 0;
    return CompareLevel<Level::Dashes>(View(a + shared), View(b + shared), letterCase);
}

/// Whether the text is ASCII up to its first 0.
bool IsAscii(const char* text) noexcept
{
    while (*text != 0 && Unit(*text) < kAsciiEnd)
        ++text;
    return *text == 0;
}

/// A narrow text as UTF-16.
class WideText {
public:
    explicit WideText(const char* text) noexcept
    {
        const std::size_t bytes = std::strlen(text); // no text has more units
        if (bytes >= std::size(m_short)) {
            m_long.reset(new (std::nothrow) WChar[bytes + 1]);
            m_text = m_long.get();
        }
        if (m_text == nullptr)
            return;
        m_text[AnsiToWide(text, bytes, m_text, bytes)] = 0;
    }

    /// Null when memory was short.
    const WChar* Text() const noexcept { return m_text; }

private:
    WChar m_short[128];
    std::unique_ptr<WChar[]> m_long;
    WChar* m_text = m_short;
};

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
    static const Residue base = []() noexcept -> Residue {
        try {
            std::random_device device;
            return std::uint64_t{device()} << 29 | device() >> 3;
        } catch (const std::exception&) {
            return 0x1e3779b97f4a7c15; // a collision costs time, no more
        }
    }();
    return base;
}

bool TakesMarks(const Weights& weights) noexcept
{
    return weights.kind == Kind::Sign && weights.mark != 0;
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
        for (; m_markPowerNumber < number; ++m_markPowerNumber)
            m_markPower = m_markPower * m_base;
        return m_markPower;
    }

    /// 0 for what is plain, so that it makes no difference at the end.
    static Residue Excess(std::uint8_t mark) noexcept
    {
        return static_cast<std::uint64_t>(SumOfMarks(mark) - kPlain);
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
    /// as a mark and then a sign: each may cost a comparison.
    std::size_t Find(std::size_t start) noexcept
    {
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
std::size_t Find(std::basic_string_view<Char> text, std::basic_string_view<Char> part) noexcept
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

// A key has the levels one after another. Bytes of 1 end a level, as no other byte is below 2, but
// for the second of a place. What is plain at the end of a level is left out (texts of equal places
// have as many kana, so of these nothing is), and so are the ends of levels when nothing follows.

void AppendPlaces(WeightReader<WChar>& reader, std::string& key)
{
    while (const std::uint64_t place = reader.Next<Level::Places>()) {
        key.push_back(static_cast<char>(place >> 8));
        key.push_back(static_cast<char>(place));
    }
}

/// `ends` is how many ends of levels are due before a byte follows.
template <Level level>
void AppendWeights(WeightReader<WChar> reader, std::size_t& ends, std::string& key)
{
    std::size_t plain = 0;
    while (const std::uint64_t weight = reader.Next<level>()) {
        if (weight == kPlain) {
            ++plain;
            continue;
        }
        key.append(std::exchange(ends, 0), 1);
        key.append(std::exchange(plain, 0), static_cast<char>(kPlain));
        key.push_back(static_cast<char>(weight));
    }
}

template <Level level>
void AppendKana(WeightReader<WChar> reader, std::string& key)
{
    while (const std::uint64_t weight = reader.Next<level>())
        key.push_back(static_cast<char>(weight));
}

void AppendDashes(WeightReader<WChar> reader, std::size_t ends, std::string& key)
{
    key.append(ends, 1);
    while (const std::uint64_t weight = reader.Next<Level::Dashes>()) {
        for (int shift = 56; shift >= 0; shift -= 8)
            key.push_back(static_cast<char>(weight >> shift));
    }
}

} // namespace

int Collate(const WChar* a, const WChar* b, ECase letterCase) noexcept
{
    if (a == b)
        return 0;
    std::size_t shared = SharedUnits(a, b);
    if (a[shared] == b[shared])
        return 0;
    if (const auto order = CompareAscii(a, b, shared, letterCase))
        return *order;
    // Marks may follow: so begin with the last sign that both texts share.
    bool isSign = false;
    while (shared > 0 && !isSign)
        isSign = WeightsOf(a[--shared]).kind == Kind::Sign;
    return CompareLevels(View(a + shared), View(b + shared), letterCase);
}

int Collate(const char* a, const char* b, ECase letterCase) noexcept
{
    const int bytes = std::strcmp(a, b);
    if (bytes == 0)
        return 0;
    if (IsAscii(a) && IsAscii(b))
        return CompareAscii(a, b, 0, letterCase).value_or(0);
    const WideText wideA(a);
    const WideText wideB(b);
    if (wideA.Text() == nullptr || wideB.Text() == nullptr)
        return bytes;
    return Collate(wideA.Text(), wideB.Text(), letterCase);
}

void AppendCollationKey(const WChar* text, std::size_t length, ECase letterCase, std::string& key)
{
    const std::u16string_view all(text, length);
    WeightReader<WChar> reader(all, letterCase);
    AppendPlaces(reader, key);
    std::size_t ends = 1;
    if (reader.HasMarks())
        AppendWeights<Level::Marks>({all, letterCase}, ends, key);
    ++ends;
    if (reader.HasForms())
        AppendWeights<Level::Forms>({all, letterCase}, ends, key);
    ++ends;
    if (reader.HasKana()) {
        key.append(std::exchange(ends, 0), 1);
        AppendKana<Level::Sizes>({all, letterCase}, key);
        AppendKana<Level::Repetitions>({all, letterCase}, key);
        AppendKana<Level::Types>({all, letterCase}, key);
        AppendKana<Level::Widths>({all, letterCase}, key);
    }
    ++ends;
    if (reader.HasDashes())
        AppendDashes({all, letterCase}, ends, key);
}

std::size_t FindIgnoringCase(const WChar* text, const WChar* part) noexcept
{
    return Find(View(text), View(part));
}

std::size_t FindIgnoringCase(const char* text, const char* part) noexcept
{
    if (IsAscii(text) && IsAscii(part))
        return Find(View(text), View(part));
    const WideText wideText(text);
    const WideText widePart(part);
    if (wideText.Text() == nullptr || widePart.Text() == nullptr)
        return kNotFound;
    const std::size_t position = Find(View(wideText.Text()), View(widePart.Text()));
    return position == kNotFound ? kNotFound : AnsiPosition(text, std::strlen(text), position);
}

std::size_t FindIgnoringCase(const WChar* text, WChar wanted) noexcept
{
    const WChar folded = FoldCase(wanted);
    for (std::size_t i = 0; text[i] != 0; ++i) {
        if (text[i] == wanted || FoldCase(text[i]) == folded)
            return i;
    }
    return kNotFound;
}

std::size_t FindIgnoringCase(const char* text, char wanted) noexcept
{
    const char part[] = {wanted, 0};
    return FindIgnoringCase(text, part);
}

} // namespace platform
