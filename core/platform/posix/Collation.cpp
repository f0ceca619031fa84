#include "core/platform/Collation.h"

#include "core/platform/CharClass.h"
#include "core/platform/CodePage.h"
#include "core/platform/posix/AnsiPosition.h"
#include "core/platform/posix/CollationLevels.h"
#include "core/platform/posix/CollationSearch.h"
#include "core/platform/posix/FoldCase.h"
#include "core/platform/posix/VectorBlocks.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// Texts are compared as the sort keys of Windows order them, level after level: the places of the
// signs, the marks on them (accents), their forms (capital, raised), for kana size, repetition,
// type and width, and last the dashes. A level decides where all before it are equal.
// CollationWeights.cpp says where the weights come from and why not from ICU, CollationLevels.h
// what a text's weights are, CollationSearch.cpp how a part is found.
//
// Here stand the comparison, whose texts are mostly names that begin alike and are ASCII where they
// differ, hence the shortcuts before the levels, and the keys.
namespace platform {

using namespace collation;

namespace {

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

/// The same by blocks of `size` bytes, 16 or 8, of which both texts begin at the same `offset`.
template <std::size_t size>
std::size_t SharedUnitsByBlocks(const WChar* a, const WChar* b, std::size_t offset) noexcept
{
    const char* left = reinterpret_cast<const char*>(a) - offset;
    const char* right = reinterpret_cast<const char*>(b) - offset;
    const auto load = [](const char* at) {
        const auto* const block = reinterpret_cast<const __m128i*>(at);
        return size == sizeof(__m128i) ? _mm_load_si128(block) : _mm_loadl_epi64(block);
    };
    const auto ends = [load](const char* x, const char* y) {
        const __m128i units = load(x);
        const __m128i equal = _mm_cmpeq_epi16(units, load(y));
        const __m128i zero = _mm_cmpeq_epi16(units, _mm_setzero_si128());
        const auto shared = static_cast<unsigned>(_mm_movemask_epi8(_mm_andnot_si128(zero, equal)));
        return shared ^ ((1u << size) - 1); // of a short block, the rest is 0 and not shared
    };
    unsigned found = ends(left, right) >> offset << offset;
    while (found == 0)
        found = ends(left += size, right += size);
    const char* const end = left + std::countr_zero(found);
    return static_cast<std::size_t>(end - reinterpret_cast<const char*>(a)) / sizeof(WChar);
}

std::size_t SharedUnits(const WChar* a, const WChar* b) noexcept
{
    const auto left = reinterpret_cast<std::uintptr_t>(a);
    const std::uintptr_t apart = left ^ reinterpret_cast<std::uintptr_t>(b);
    if (left % sizeof(WChar) == 0 && apart % 16 == 0)
        return SharedUnitsByBlocks<16>(a, b, left % 16);
    if (left % sizeof(WChar) == 0 && apart % 8 == 0) // as the blocks of short texts lie
        return SharedUnitsByBlocks<8>(a, b, left % 8);
    return SharedUnits<WChar>(a, b);
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

/// A narrow text as UTF-16, on the stack while it is short: a comparison throws nothing, so it
/// cannot stand in a string.
class ConvertedText {
public:
    explicit ConvertedText(const char* text) noexcept
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

// A key has the levels one after another. Bytes of 1 end a level, as no other byte is below 2, but
// for the second of a place, and of marks that add up to less: a plain one goes before these,
// behind which else stands no lower one. What is plain at the end of a level is left out (texts of
// equal places have as many kana, so of these nothing is), and so are the ends of levels when
// nothing follows.

void AppendPlaces(WeightReader<WChar>& reader, std::string& key)
{
    while (const std::uint64_t place = reader.Next<Level::Places>()) {
        key.push_back(static_cast<char>(place >> 8));
        key.push_back(static_cast<char>(place));
    }
}

/// The forms of a text of plain ASCII signs, of which the last `AppendWeights` leaves out as well.
void AppendAsciiForms(std::u16string_view text, std::string& key)
{
    key.append(2, 1); // the ends of places and marks
    std::size_t end = key.size();
    for (const char16_t unit : text) {
        const std::uint8_t form = kAscii[unit].form;
        if (form != 0)
            key.push_back(static_cast<char>(form));
        if (form > kPlain)
            end = key.size();
    }
    key.resize(end);
}

/// A text of plain ASCII signs has nothing but their places and, where case matters, their forms,
/// as most names. False, and nothing is appended, for another one.
bool AppendAscii(std::u16string_view text, ECase letterCase, std::string& key)
{
    const std::size_t before = key.size();
    const bool isForms = letterCase == ECase::Matters;
    key.reserve(before + 2 * text.size() + (isForms ? 2 + text.size() : 0));
    key.resize(before + 2 * text.size());
    static_assert(std::endian::native == std::endian::little);
    char* out = key.data() + before;
    for (const char16_t unit : text) {
        if (unit >= kAsciiEnd || kAscii[unit].kind != Kind::Sign) {
            key.resize(before);
            return false;
        }
        const std::uint16_t place = kAscii[unit].place;
        const auto swapped = static_cast<std::uint16_t>(place << 8 | place >> 8);
        std::memcpy(out, &swapped, sizeof swapped); // at once, the upper byte first
        out += sizeof swapped;
    }
    const auto hasForm = [](char16_t unit) { return kAscii[unit].form > kPlain; };
    if (isForms && std::any_of(text.begin(), text.end(), hasForm))
        AppendAsciiForms(text, key);
    return true;
}

/// `ends` is how many ends of levels are due before a byte follows.
template <Level level>
void AppendWeights(WeightReader<WChar> reader, std::size_t& ends, std::string& key)
{
    const std::size_t before = key.size();
    std::size_t end = before;
    key.append(ends, 1);
    while (const std::uint64_t weight = reader.Next<level>()) {
        const auto byte = static_cast<std::uint8_t>(weight);
        if (byte < kPlain)
            key.push_back(static_cast<char>(kPlain));
        key.push_back(static_cast<char>(byte));
        if (!IsPlain(byte))
            end = key.size();
    }
    key.resize(end);
    if (end != before)
        ends = 0;
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

// Apart, so that the shortcut before it needs no registers put away.
[[gnu::noinline]] int CollateFromFirst(const WChar* a, const WChar* b, ECase letterCase) noexcept
{
    std::size_t shared = SharedUnits(a, b);
    if (a[shared] == b[shared])
        return 0;
    if (const auto order = CompareAscii(a, b, shared, letterCase))
        return *order;
    // Marks may follow: so begin with the last sign to which they add that both texts share.
    bool takesMarks = false;
    while (shared > 0 && !takesMarks)
        takesMarks = TakesMarks(WeightsOf(a[--shared]));
    return CompareLevels(View(a + shared), View(b + shared), letterCase);
}

} // namespace

int Collate(const WChar* a, const WChar* b, ECase letterCase) noexcept
{
    if (a == b)
        return 0;
    // The first signs decide for most texts that a sorted list compares, and for an empty one.
    if (*a != *b && *a < kAsciiEnd && *b < kAsciiEnd) {
        const Weights& l = kAscii[*a];
        const Weights& r = kAscii[*b];
        if (l.place != r.place && l.kind != Kind::Dash && r.kind != Kind::Dash)
            return l.place < r.place ? -1 : 1;
    }
    return CollateFromFirst(a, b, letterCase);
}

int Collate(const char* a, const char* b, ECase letterCase) noexcept
{
    const int bytes = std::strcmp(a, b);
    if (bytes == 0)
        return 0;
    if (IsAscii(a) && IsAscii(b))
        return CompareAscii(a, b, 0, letterCase).value_or(0);
    const ConvertedText wideA(a);
    const ConvertedText wideB(b);
    if (wideA.Text() == nullptr || wideB.Text() == nullptr)
        return bytes;
    return Collate(wideA.Text(), wideB.Text(), letterCase);
}

void AppendCollationKey(const WChar* text, std::size_t length, ECase letterCase, std::string& key)
{
    const std::u16string_view all(text, length);
    if (AppendAscii(all, letterCase, key))
        return;
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
    const ConvertedText wideText(text);
    const ConvertedText widePart(part);
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
