#pragma once

#include "core/platform/posix/CollationTables.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <type_traits>

/// What each UTF-16 unit weighs in the order of texts. All functions are safe on any threads at
/// once, and none allocates.
namespace platform::collation {

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
inline constexpr std::uint8_t kPlain = 2;

/// Forms that make no difference without regard to case.
inline constexpr std::uint8_t kCaseForms = 0x18;

/// What forms of kana and of marks that repeat one are made of. (No level of forms has them.)
inline constexpr std::uint8_t kFullWidth = 0x01;
inline constexpr std::uint8_t kLarge = 0x04; // of a mark: prolongs the vowel
inline constexpr std::uint8_t kHiragana = 0x20;

enum class Repetition : std::uint8_t { None, Mark, Prolonged };

struct alignas(8) Weights {
    std::uint16_t place = 0; // of a sign or a dash
    std::uint8_t mark = 0;   // 0 of a sign that takes no part at this level
    std::uint8_t form = 0;   // likewise
    Kind kind = Kind::None;
    Repetition repetition = Repetition::None;
    std::uint16_t unused = 0; // fills the word: weights are stored and loaded as one, hence aligned
};

inline bool IsKana(const Weights& sign) noexcept
{
    return sign.place >= kFirstKana && sign.place <= kLastKana;
}

inline bool IsIdeograph(const Weights& sign) noexcept
{
    return sign.place >= kFirstIdeograph && sign.place <= kLastIdeograph;
}

/// Whether marks that follow add to its own. Signs of private use have none.
inline bool TakesMarks(const Weights& weights) noexcept
{
    return weights.kind == Kind::Sign && weights.mark != 0;
}

inline constexpr char16_t kAsciiEnd = 0x80;

// Hidden, so that they are reached without the table of what a shared library exports.

[[gnu::visibility("hidden")]] extern const std::array<Weights, kAsciiEnd> kAscii;

/// The weights of the units above ASCII, by pages of 256 that were asked for before.
[[gnu::visibility("hidden")]] extern std::atomic<Weights> g_known[0x10000];
static_assert(std::atomic<Weights>::is_always_lock_free);

/// Fills a page of `g_known`.
void LoadPage(std::size_t page) noexcept;

inline Weights WeightsOf(char16_t unit) noexcept
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

/// The text that a unit of kind `Several` counts as; empty without Unicode's data.
void Expand(char16_t unit, UnitText& text) noexcept;

/// Intended: kana that a unit counts as are other signs, as Windows has them.
inline Weights InExpansion(Weights weights) noexcept
{
    if (IsKana(weights))
        weights.place =
            static_cast<std::uint16_t>(weights.place - kFirstKana + kFirstKanaInExpansion);
    return weights;
}

/// The weights of a repetition mark behind `sign`, which has kind `None` where nothing stands.
[[nodiscard]] Weights Repeated(const Weights& repeat, const Weights& sign) noexcept;

/// `character` as a code unit; of a narrow text only ASCII makes sense.
template <class Char>
char16_t Unit(Char character) noexcept
{
    return static_cast<std::make_unsigned_t<Char>>(character);
}

} // namespace platform::collation
