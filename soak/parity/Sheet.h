#pragma once

#include "core/base/BString.h"
#include "core/base/WString.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

/// What the operations of Parity.cpp share: where they have their arguments from, and where they
/// tell what came out. Nothing here may differ between the platforms.

/// Random numbers that are the same everywhere, which the standard's distributions need not be.
/// Draw each into a variable of its own: arguments of a call are worked out in any order.
class Dice {
public:
    Dice(std::uint64_t seed, std::uint64_t round)
        : m_state(seed * 0x9E3779B97F4A7C15 ^ round)
    {
        Next();
        m_state += round << 32;
    }

    /// SplitMix64: Steele, Lea, Flood, OOPSLA 2014, 453.
    std::uint64_t Next()
    {
        std::uint64_t z = m_state += 0x9E3779B97F4A7C15;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }
    /// 0 to `end` - 1.
    int Below(int end) { return static_cast<int>(Next() % static_cast<unsigned>(end)); }
    bool OneIn(int count) { return Below(count) == 0; }
    template <class Range>
    const auto& Pick(const Range& range)
    {
        return range[Next() % std::size(range)];
    }

private:
    std::uint64_t m_state;
};

// Values as they are told: in ASCII, exact to the bit.

std::string Show(const WString& text);
std::string Show(const BString& text);
/// The shortest text that reads back as the same number.
std::string Show(double value);
template <std::integral T>
std::string Show(T value)
{
    if constexpr (std::same_as<T, bool>)
        return value ? "yes" : "no";
    else
        return std::to_string(value);
}
/// What is shown already.
inline std::string Show(const std::string& shown)
{
    return shown;
}
inline std::string Show(const char* shown)
{
    return shown;
}

/// All of them with blanks between.
template <class... Values>
std::string Words(const Values&... values)
{
    std::string words;
    ((words += ' ' + Show(values)), ...);
    return words.empty() ? words : words.substr(1);
}

/// The sign of a comparison's answer: no more of it is promised.
template <std::integral T>
int Sign(T order)
{
    return (order > 0) - (order < 0);
}

/// Where the operations tell what they did, a line each: round, name, arguments, result, with tabs
/// between them.
class Sheet {
public:
    /// Nothing told is lost when the program dies in the round.
    void BeginRound(std::uint64_t round)
    {
        std::fflush(stdout);
        m_round = round;
    }
    void Tell(std::string_view name, std::string_view arguments, std::string_view result)
    {
        std::printf("%llu\t%.*s\t%.*s\t%.*s\n", static_cast<unsigned long long>(m_round),
                    static_cast<int>(name.size()), name.data(), static_cast<int>(arguments.size()),
                    arguments.data(), static_cast<int>(result.size()), result.data());
        ++m_count;
    }
    [[nodiscard]] std::uint64_t Count() const { return m_count; }

private:
    std::uint64_t m_round = 0, m_count = 0;
};

// Random arguments. What is known to differ, and tried in Known.cpp, is never among them.

/// A text of one script or of several, mostly short; now and then an odd one that is known to
/// matter somewhere.
WString RandomText(Dice& dice);
BString RandomNarrow(Dice& dice);
/// `text` with a small change: another case, a unit more, less or of another kind.
WString Varied(Dice& dice, const WString& text);
/// ASCII letters and digits.
std::string RandomName(Dice& dice, int longest = 8);
/// As people and programs write numbers, and as they should not.
WString RandomNumberText(Dice& dice);
/// Whether it is a sign whose class is known to differ; no random text has one.
bool IsVowelSign(WChar unit);
/// Whether it is a jamo, which may be a syllable with others and then is known to sort otherwise;
/// no random text has one.
bool IsJamo(WChar unit);
struct UnitRange {
    int first, last;
};
/// One that a random text may have, of any of the ranges.
WChar RandomUnit(Dice& dice, std::span<const UnitRange> ranges);
/// Of all magnitudes, with ties and limits.
double RandomDouble(Dice& dice);
std::int64_t RandomInteger(Dice& dice);

/// `text`, which is ASCII.
WString Wide(std::string_view text);

// The bytes of files, by their names in the working folder.

/// UTF-16LE.
std::string UnitBytes(const WString& text);
std::string BytesOfFile(const std::string& name);
void PutFile(const std::string& name, const std::string& bytes);
/// "missing", or size and digest.
std::string DigestOfFile(const std::string& name);
/// The bytes themselves while they are few.
std::string ShowBytes(std::string_view bytes);

// The rows of the table: see their sources.

void TryWideText(Sheet& sheet, Dice& dice);
void TryNarrowText(Sheet& sheet, Dice& dice);
void TryCodePage(Sheet& sheet, Dice& dice);
void TryCollation(Sheet& sheet, Dice& dice);
void TryClasses(Sheet& sheet, Dice& dice);
void TryNumbers(Sheet& sheet, Dice& dice);
void TryFormat(Sheet& sheet, Dice& dice);
void TryPath(Sheet& sheet, Dice& dice);
void TryLongPath(Sheet& sheet, Dice& dice);
void TryPatterns(Sheet& sheet, Dice& dice);
void TryStream(Sheet& sheet, Dice& dice);
void TryIni(Sheet& sheet, Dice& dice);
void TryTextProfile(Sheet& sheet, Dice& dice);
void TryBinaryProfile(Sheet& sheet, Dice& dice);
void TryRegistry(Sheet& sheet, Dice& dice);
void TryTimes(Sheet& sheet, Dice& dice);
void TryLanguage(Sheet& sheet, Dice& dice);
void TryMerge(Sheet& sheet, Dice& dice);
void TryGuid(Sheet& sheet, Dice& dice);
void TryUnits(Sheet& sheet, Dice& dice);
void TryColours(Sheet& sheet, Dice& dice);

/// What docs/platform-differences.md lists, and nothing else: each line is named after its entry.
void TellKnown(Sheet& sheet);

/// Saves `count` random graphs of objects, tells the digest of each archive, and keeps one in a
/// hundred, as "graph-100.qda".
void SaveGraphs(Sheet& sheet, std::uint64_t seed, int count);
/// Tells all that an archive of `SaveGraphs` gives.
void ReadGraph(Sheet& sheet, const std::string& name);
/// Tells what a binary profile, a text profile or a language file of the table holds.
void ReadProfile(Sheet& sheet, const std::string& name);
