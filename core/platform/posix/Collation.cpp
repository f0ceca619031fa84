#include "core/platform/Collation.h"

#include "core/platform/CharClass.h"
#include "core/platform/CodePage.h"
#include "core/platform/posix/AnsiPosition.h"
#include "core/platform/posix/CollationTables.h"

#include <unicode/unorm2.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#if defined(__SSE2__) || defined(_M_X64)
# include <emmintrin.h>
# define QD_VECTOR_COMPARISON 1
#endif

// The sanitizers rightly object to reading past the end of a text, harmless as it is in the block
// that the end stands in.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
# undef QD_VECTOR_COMPARISON
#elif defined(__has_feature)
# if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                        \
     __has_feature(memory_sanitizer)
#  undef QD_VECTOR_COMPARISON
# endif
#endif

// Texts are compared as the reference's sort keys order them: first by the places of their signs,
// then by the marks on the signs (accents), then by the forms of the signs (case, width), last by
// the dashes. The weights of a unit do not depend on what stands around it, but for marks, which
// add to the weight of the sign before them. So the order is one of sequences of numbers: it is
// total and transitive for texts of any kind.
namespace platform {

using namespace collation;

namespace {

enum class Kind : std::uint8_t {
    None,    // the end of a text, a rule that does not apply, weights that are not known yet
    Ignored, // counts for nothing
    Sign,    // a letter, digit, symbol, blank
    Mark,    // adds to the mark of the sign before it
    Dash,    // counts last
    Several, // counts as a text of several units
};

struct alignas(8) Weights {
    std::uint32_t place = 0; // of a sign or a dash
    std::uint8_t mark = 0;
    std::uint8_t form = 0;
    Kind kind = Kind::None;
    std::uint8_t unused = 0; // fills the word: weights are stored and loaded as one, hence aligned

    void Add(std::uint8_t moreMark, std::uint8_t moreForm) noexcept
    {
        mark = static_cast<std::uint8_t>(mark + moreMark);
        form = static_cast<std::uint8_t>(form + moreForm);
    }
};

/// Places are even multiples of 0x10000, those of units behind a unit of `kOrder` lie between. None
/// is below 0x02000000, so that the first byte of a place in a key is above any end of a level.
constexpr std::uint32_t PlaceInOrder(std::size_t index)
{
    return static_cast<std::uint32_t>(0x100 + index) << 17;
}
constexpr std::uint32_t kBehind = 0x10000;

constexpr Weights SignInOrder(std::size_t index)
{
    return {PlaceInOrder(index), kPlain, kPlain, Kind::Sign};
}

constexpr Weights DashInOrder(std::size_t index)
{
    return {static_cast<std::uint32_t>(index + 1), kPlain, kPlain, Kind::Dash};
}

constexpr std::u16string_view kOrderText = kOrder;
constexpr std::u16string_view kDashText = kDashes;
constexpr char16_t kAsciiEnd = 0x80;

/// For ASCII the order says all, so the compiler makes its weights.
constexpr std::array<Weights, kAsciiEnd> MakeAsciiWeights()
{
    std::array<Weights, kAsciiEnd> weights{};
    for (std::size_t i = 0; i < kOrderText.size(); ++i) {
        if (kOrderText[i] < kAsciiEnd)
            weights[kOrderText[i]] = SignInOrder(i);
    }
    for (std::size_t i = 0; i < kDashText.size(); ++i) {
        if (kDashText[i] < kAsciiEnd)
            weights[kDashText[i]] = DashInOrder(i);
    }
    for (char16_t capital = u'A'; capital <= u'Z'; ++capital) {
        weights[capital] = weights[static_cast<char16_t>(capital + (u'a' - u'A'))];
        weights[capital].form = kPlain + kCapital;
    }
    return weights;
}

constexpr std::array<Weights, kAsciiEnd> kAscii = MakeAsciiWeights();

/// The weights of the units above ASCII that were asked for before.
std::atomic<Weights> g_known[0x10000];
static_assert(std::atomic<Weights>::is_always_lock_free);

Weights WeightsOf(char16_t unit) noexcept;

Weights InOrder(char16_t unit) noexcept
{
    if (const auto index = kOrderText.find(unit); index != kOrderText.npos)
        return SignInOrder(index);
    if (const auto index = kDashText.find(unit); index != kDashText.npos)
        return DashInOrder(index);
    return {};
}

/// The place behind the nearest lower unit of `order`, a part of `kOrder`.
Weights BehindNearestLower(char16_t unit, std::u16string_view order = kOrderText) noexcept
{
    const char16_t* nearest = nullptr;
    for (const char16_t& other : order) {
        if (other < unit && (nearest == nullptr || other > *nearest))
            nearest = &other;
    }
    const auto index =
        static_cast<std::size_t>((nearest == nullptr ? order.data() : nearest) - kOrder);
    return {PlaceInOrder(index) | kBehind | unit, kPlain, kPlain, Kind::Sign};
}

/// The part of `kOrder` where `unit` belongs: symbols come first, then numbers, then letters.
std::u16string_view OrderOfItsKind(char16_t unit) noexcept
{
    const std::size_t numbers = kOrderText.find(u'0');
    const std::size_t letters = kOrderText.find(u'a');
    const std::uint32_t category = U_GET_GC_MASK(unit);
    if ((category & (U_GC_P_MASK | U_GC_SC_MASK | U_GC_SM_MASK | U_GC_Z_MASK)) != 0)
        return kOrderText.substr(0, numbers);
    if ((category & U_GC_N_MASK) != 0)
        return kOrderText.substr(numbers, letters - numbers);
    return kOrderText;
}

Weights AsVariant(char16_t unit) noexcept
{
    for (const Variants& variants : kVariants) {
        for (const char16_t* pair = variants.pairs; *pair != 0; pair += 2) {
            if (pair[0] != unit)
                continue;
            Weights weights = InOrder(pair[1]);
            if (weights.kind == Kind::None)
                weights = BehindNearestLower(pair[1]);
            weights.mark = variants.mark;
            weights.form = variants.form;
            return weights;
        }
    }
    return {};
}

Weights AsMark(char16_t unit) noexcept
{
    for (const Marks& marks : kMarks) {
        const unsigned index = static_cast<unsigned>(unit) - marks.first;
        if (index < std::size(marks.weights) && marks.weights[index] != 0)
            return {0, marks.weights[index], 0, Kind::Mark};
    }
    return {};
}

bool IsHiragana(char16_t unit) noexcept
{
    return unit >= 0x3041 && unit <= 0x3096;
}

Weights AsListed(char16_t unit) noexcept
{
    Weights weights = InOrder(unit);
    if (weights.kind == Kind::Sign && IsHiragana(unit))
        weights.form = kPlain + kOrdinaryKana;
    return weights;
}

/// A text that a unit counts as, which ends with a 0. The longest has 18 units.
constexpr int kUnitTextRoom = 24;
using UnitText = char16_t[kUnitTextRoom];

bool FindExpansion(char16_t unit, UnitText& text) noexcept
{
    const auto lower = static_cast<char16_t>(u_tolower(unit));
    for (const Expansion& expansion : kExpansions) {
        if (expansion.unit != unit && expansion.unit != lower)
            continue;
        char16_t* out = text;
        for (const char16_t* in = expansion.text; *in != 0; ++in)
            *out++ = expansion.unit == unit ? *in : static_cast<char16_t>(u_toupper(*in));
        *out = 0;
        return true;
    }
    return false;
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

Weights AsExpansion(char16_t unit) noexcept
{
    UnitText text;
    return FindExpansion(unit, text) ? Weights{0, 0, 0, Kind::Several} : Weights{};
}

Weights AsIgnored(char16_t unit) noexcept
{
    UVersionInfo version;
    u_charAge(unit, version);
    const bool isNew =
        version[0] > kUnicodeVersion || (version[0] == kUnicodeVersion && version[1] > 0);
    const bool isIgnored = isNew || !u_isdefined(unit) ||
                           u_hasBinaryProperty(unit, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) ||
                           std::u16string_view(kIgnored).find(unit) != std::u16string_view::npos;
    return isIgnored ? Weights{0, 0, 0, Kind::Ignored} : Weights{};
}

/// Hangul and ideographs, enclosed ones as well, which Unicode's data would take apart.
Weights AsHangulOrIdeograph(char16_t unit) noexcept
{
    const bool isOne = (unit >= 0xac00 && unit <= 0xd7a3) || (unit >= 0x3400 && unit <= 0x9fff) ||
                       (unit >= 0x3200 && unit <= 0x32b0);
    return isOne ? BehindNearestLower(unit) : Weights{};
}

Weights AsCapital(char16_t unit) noexcept
{
    const auto lower = static_cast<char16_t>(u_tolower(unit));
    Weights weights = lower == unit ? Weights{} : WeightsOf(lower);
    if (weights.kind != Kind::Sign)
        return {};
    weights.Add(0, kCapital);
    return weights;
}

Weights AsKatakana(char16_t unit) noexcept
{
    const auto hiragana = static_cast<char16_t>(unit - 0x60);
    if (!IsHiragana(hiragana))
        return {};
    Weights weights = WeightsOf(hiragana);
    weights.form = static_cast<std::uint8_t>(weights.form - kHiragana);
    return weights;
}

/// A sign with marks, or a form of another sign, by Unicode's data.
Weights AsDecomposed(char16_t unit) noexcept
{
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* normalizer = unorm2_getNFKCInstance(&error);
    if (U_FAILURE(error))
        return {};
    UnitText text;
    const auto length = unorm2_getRawDecomposition(normalizer, unit, text, kUnitTextRoom, &error);
    if (U_FAILURE(error) || length <= 0)
        return {};
    Weights weights = WeightsOf(text[0]);
    for (std::int32_t i = 1; i < length; ++i) {
        const Weights mark = WeightsOf(text[i]);
        if (weights.kind != Kind::Sign || mark.kind != Kind::Mark)
            return {0, 0, 0, Kind::Several};
        weights.Add(mark.mark, 0);
    }
    const auto type = u_getIntPropertyValue(unit, UCHAR_DECOMPOSITION_TYPE);
    for (const Form& form : kForms) {
        if (form.type == type && (weights.kind == Kind::Sign || weights.kind == Kind::Dash))
            weights.Add(form.mark, form.form);
    }
    return weights;
}

/// A decimal digit of another script: the place of the ASCII digit, with a mark for the script.
Weights AsDigit(char16_t unit) noexcept
{
    const std::int32_t value = u_charDigitValue(unit);
    if (value < 0)
        return {};
    Weights weights = kAscii[static_cast<std::size_t>(u'0' + value)];
    weights.mark = static_cast<std::uint8_t>(kPlain + 1 + (unit >> 4) % 0xf8);
    return weights;
}

/// An accent of a script whose marks the tables do not have.
Weights AsAccent(char16_t unit) noexcept
{
    constexpr std::uint8_t virama = 9;
    const std::uint8_t combiningClass = u_getCombiningClass(unit);
    if (combiningClass == 0 || combiningClass == virama)
        return {};
    return {0, static_cast<std::uint8_t>(kPlain + 1 + unit % 0x80), 0, Kind::Mark};
}

Weights FindWeights(char16_t unit) noexcept
{
    constexpr Weights (*rules[])(char16_t) noexcept = {
        AsVariant, AsMark,     AsListed,     AsExpansion, AsIgnored, AsHangulOrIdeograph,
        AsCapital, AsKatakana, AsDecomposed, AsDigit,     AsAccent};
    for (const auto rule : rules) {
        if (const Weights weights = rule(unit); weights.kind != Kind::None)
            return weights;
    }
    return BehindNearestLower(unit, OrderOfItsKind(unit));
}

Weights WeightsOf(char16_t unit) noexcept
{
    if (unit < kAsciiEnd)
        return kAscii[unit];
    Weights weights = g_known[unit].load(std::memory_order_relaxed);
    if (weights.kind == Kind::None) {
        weights = FindWeights(unit);
        g_known[unit].store(weights, std::memory_order_relaxed);
    }
    return weights;
}

/// `character` as a code unit; of a narrow text only ASCII makes sense.
template <class Char>
char16_t Unit(Char character) noexcept
{
    return static_cast<std::make_unsigned_t<Char>>(character);
}

enum class Level { Places, Marks, Forms, Dashes };

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
        while (const char16_t unit = NextUnit()) {
            Weights weights = WeightsOf(unit);
            if (weights.kind == Kind::Ignored)
                continue;
            if (weights.kind == Kind::Several) {
                Expand(unit, m_expansion);
                m_expanded = 0;
                continue;
            }
            weights.form &= m_forms;
            return weights;
        }
        return {};
    }

    /// The next weight of `level`, 0 at the end.
    std::uint64_t Next(Level level) noexcept
    {
        switch (level) {
        case Level::Places: return NextPlace();
        case Level::Marks: return NextMark();
        case Level::Forms: return NextSign().form;
        case Level::Dashes: return NextDash();
        }
        return 0;
    }

    /// Whether the signs of which the places were read have anything else that is not plain.
    bool HasMarks() const noexcept { return m_hasMarks; }
    bool HasForms() const noexcept { return m_hasForms; }
    bool HasDashes() const noexcept { return m_hasDashes; }

private:
    char16_t NextUnit() noexcept
    {
        if (const char16_t unit = m_expansion[m_expanded]; unit != 0) {
            ++m_expanded;
            return unit;
        }
        return m_text == m_end ? 0 : Unit(*m_text++);
    }

    Weights NextSign() noexcept
    {
        for (;;) {
            const Weights weights = Next();
            if (weights.kind == Kind::Sign || weights.kind == Kind::None)
                return weights;
        }
    }

    std::uint32_t NextPlace() noexcept
    {
        for (;;) {
            const Weights weights = Next();
            switch (weights.kind) {
            case Kind::Sign:
                m_hasMarks = m_hasMarks || weights.mark != kPlain;
                m_hasForms = m_hasForms || weights.form != kPlain;
                return weights.place;
            case Kind::Mark: m_hasMarks = true; break;
            case Kind::Dash: m_hasDashes = true; break;
            default: return 0;
            }
        }
    }

    /// The mark of a sign with the marks that follow it, across dashes. Marks before the first sign
    /// make one of their own. They add up modulo 256, as in the reference, but to no end of a
    /// level.
    std::uint8_t NextMark() noexcept
    {
        for (;;) {
            const Weights weights = Next();
            if (weights.kind == Kind::Dash)
                continue;
            if (weights.kind == Kind::Mark) {
                m_pending = static_cast<std::uint8_t>(m_pending + weights.mark);
                m_isPending = true;
                continue;
            }
            const std::uint8_t mark = m_pending < kPlain ? kPlain + 1 : m_pending;
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
                return std::uint64_t{~m_signs} << 32 | weights.place << 8 | weights.form;
            m_signs += weights.kind == Kind::Sign;
        }
    }

    const Char* m_text;
    const Char* m_end;
    std::uint8_t m_forms;
    std::uint8_t m_pending = 0; // the mark that is adding up
    bool m_isPending = false;
    std::uint32_t m_signs = 0;
    bool m_hasMarks = false;
    bool m_hasForms = false;
    bool m_hasDashes = false;
    UnitText m_expansion = {};
    std::size_t m_expanded = 0; // how far m_expansion is read
};

template <class Char>
int CompareLevel(Level level, WeightReader<Char>& left, WeightReader<Char>& right) noexcept
{
    const std::uint64_t missing = level == Level::Marks || level == Level::Forms ? kPlain : 0;
    for (;;) {
        std::uint64_t x = left.Next(level);
        std::uint64_t y = right.Next(level);
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

template <class Char>
int CompareLevel(Level level, std::basic_string_view<Char> a, std::basic_string_view<Char> b,
                 ECase letterCase) noexcept
{
    WeightReader<Char> left(a, letterCase);
    WeightReader<Char> right(b, letterCase);
    return CompareLevel(level, left, right);
}

int CompareLevels(std::u16string_view a, std::u16string_view b, ECase letterCase) noexcept
{
    WeightReader<WChar> left(a, letterCase);
    WeightReader<WChar> right(b, letterCase);
    if (const int order = CompareLevel(Level::Places, left, right); order != 0)
        return order;
    int order = 0;
    if (left.HasMarks() || right.HasMarks())
        order = CompareLevel(Level::Marks, a, b, letterCase);
    if (order == 0 && (left.HasForms() || right.HasForms()))
        order = CompareLevel(Level::Forms, a, b, letterCase);
    if (order == 0 && (left.HasDashes() || right.HasDashes()))
        order = CompareLevel(Level::Dashes, a, b, letterCase);
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

#if defined(QD_VECTOR_COMPARISON)

std::size_t SharedUnits(const WChar* a, const WChar* b) noexcept
{
    // Aligned blocks never reach into a page that the texts do not reach into.
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
        }
        ++left;
        ++right;
    }
    if (forms != 0 && letterCase == ECase::Matters)
        return forms < 0 ? -1 : 1;
    if (!dashes)
        return 0;
    return CompareLevel(Level::Dashes, View(a + shared), View(b + shared), letterCase);
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

/// A hash over the places of the signs between a front and an end that both move on, so that the
/// stretches of a text that can equal a part are found in one pass: Karp and Rabin, IBM J. Res.
/// Dev. 31 (1987), 249, modulo 2^64.
class PlaceHash {
public:
    void Append(char16_t unit) noexcept
    {
        ForEachPlace(unit, [this](std::uint32_t place) {
            m_hash = m_hash * kBase + place;
            m_power *= kBase;
        });
    }

    void RemoveFront(char16_t unit) noexcept
    {
        ForEachPlace(unit, [this](std::uint32_t place) {
            m_power *= kInverse;
            m_hash -= m_power * place;
        });
    }

    bool operator==(const PlaceHash& other) const noexcept { return m_hash == other.m_hash; }

private:
    template <class Function>
    static void ForEachPlace(char16_t unit, Function function) noexcept
    {
        const Weights weights = WeightsOf(unit);
        if (weights.kind == Kind::Sign)
            function(weights.place);
        if (weights.kind != Kind::Several)
            return;
        WeightReader<WChar> reader({&unit, 1}, ECase::Ignored);
        while (const std::uint64_t place = reader.Next(Level::Places))
            function(static_cast<std::uint32_t>(place));
    }

    static constexpr std::uint64_t kBase = 0x9e3779b97f4a7c15;
    static constexpr std::uint64_t kInverse = 0xf1de83e19937733d;
    static_assert(kBase * kInverse == 1);

    std::uint64_t m_hash = 0;
    std::uint64_t m_power = 1; // kBase to the number of places
};

/// Whether two stretches whose places agree by their hash are equal without regard to case.
template <class Char>
bool IsEqual(std::basic_string_view<Char> a, std::basic_string_view<Char> b) noexcept
{
    // The places last: they need a look only to make sure.
    for (const Level level : {Level::Marks, Level::Forms, Level::Dashes, Level::Places}) {
        if (CompareLevel(level, a, b, ECase::Ignored) != 0)
            return false;
    }
    return true;
}

template <class Char>
std::size_t Find(std::basic_string_view<Char> text, std::basic_string_view<Char> part) noexcept
{
    if (part.empty() || part.size() > text.size())
        return kNotFound;
    PlaceHash wanted;
    PlaceHash here;
    for (std::size_t i = 0; i < part.size(); ++i) {
        wanted.Append(Unit(part[i]));
        here.Append(Unit(text[i]));
    }
    for (std::size_t i = 0;; ++i) {
        if (here == wanted && IsEqual(text.substr(i, part.size()), part))
            return i;
        if (i + part.size() == text.size())
            return kNotFound;
        here.RemoveFront(Unit(text[i]));
        here.Append(Unit(text[i + part.size()]));
    }
}

/// The capital of which `unit` is the small letter: none for another small form, like the final
/// sigma.
UChar32 SimpleCapital(char16_t unit) noexcept
{
    const UChar32 capital = u_toupper(unit);
    return u_tolower(capital) == unit ? capital : unit;
}

// A key has the levels one after another. Bytes of 1 end a level, as no other byte there is below
// 2, but for the inner bytes of a place. What is plain at the end of a level is left out, and so
// are the ends of levels when nothing follows them.

void AppendPlaces(WeightReader<WChar>& reader, std::string& key)
{
    while (const std::uint64_t place = reader.Next(Level::Places)) {
        key.push_back(static_cast<char>(place >> 24));
        key.push_back(static_cast<char>(place >> 16));
        if ((place & kBehind) != 0) {
            key.push_back(static_cast<char>(place >> 8));
            key.push_back(static_cast<char>(place));
        }
    }
}

/// `ends` is how many ends of levels are due before a byte follows.
void AppendWeights(Level level, WeightReader<WChar> reader, std::size_t& ends, std::string& key)
{
    std::size_t plain = 0;
    while (const std::uint64_t weight = reader.Next(level)) {
        if (weight == kPlain) {
            ++plain;
            continue;
        }
        key.append(std::exchange(ends, 0), 1);
        key.append(std::exchange(plain, 0), static_cast<char>(kPlain));
        key.push_back(static_cast<char>(weight));
    }
}

void AppendDashes(WeightReader<WChar> reader, std::size_t ends, std::string& key)
{
    key.append(ends, 1);
    while (const std::uint64_t weight = reader.Next(Level::Dashes)) {
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
        AppendWeights(Level::Marks, {all, letterCase}, ends, key);
    ++ends;
    if (reader.HasForms())
        AppendWeights(Level::Forms, {all, letterCase}, ends, key);
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
    const UChar32 capital = SimpleCapital(wanted);
    for (std::size_t i = 0; text[i] != 0; ++i) {
        if (text[i] == wanted || SimpleCapital(text[i]) == capital)
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
