// The same operations on every platform, for parity.py to compare what they give:
//
//     parity COUNT SEED [NAME [FIRST]]
//                                   COUNT operations or a few more, of one row of the table or of
//                                   "all", from round FIRST on
//     parity graphs COUNT SEED      the digests of so many archives; one in a hundred is kept
//     parity read FILE...           what archives and profiles hold
//     parity known                  what docs/platform-differences.md lists
//
// Everything happens in the working folder, whose name is never told. A round is one row of the
// table below: it depends on the seed and its own number alone, so that a difference leads to no
// other in the rounds behind it.

#include "soak/parity/Sheet.h"

#include <cstdlib>
#include <string_view>

namespace {

struct Row {
    std::string_view name;
    int weight; // of how often it comes
    void (*run)(Sheet& sheet, Dice& dice);
};

// What touches files comes as often as its time allows.
constexpr Row kTable[] = {
    {"WString", 400, TryWideText},
    {"BString", 200, TryNarrowText},
    {"CodePage", 20, TryCodePage},
    {"Class", 2, TryClasses},
    {"Number", 200, TryNumbers},
    {"Format", 300, TryFormat},
    {"Path", 150, TryPath},
    {"Guid", 20, TryGuid},
    {"Unit", 40, TryUnits},
    {"Colour", 10, TryColours},
    {"Patterns", 4, TryPatterns},
    {"Stream", 6, TryStream},
    {"Ini", 8, TryIni},
    {"Profile", 8, TryTextProfile},
    {"BinProfile", 4, TryBinaryProfile},
    {"Registry", 4, TryRegistry},
    {"Time", 6, TryTimes},
    {"Language", 3, TryLanguage},
    {"Merge", 1, TryMerge},
    // Told by their names
    {"Collation", 0, TryCollation},
    {"LongPath", 0, TryLongPath},
};

const Row& Chosen(Dice& dice, std::string_view name)
{
    int sum = 0;
    for (const Row& row : kTable) {
        if (row.name == name)
            return row;
        sum += row.weight;
    }
    int left = dice.Below(sum);
    const Row* row = kTable;
    for (; left >= row->weight; ++row)
        left -= row->weight;
    return *row;
}

void RunTable(Sheet& sheet, std::uint64_t count, std::uint64_t seed, std::string_view name,
              std::uint64_t first)
{
    for (std::uint64_t round = first; sheet.Count() < count; ++round) {
        sheet.BeginRound(round);
        Dice dice(seed, round);
        Chosen(dice, name).run(sheet, dice);
    }
}

} // namespace

int main(int count, char** arguments)
{
    Sheet sheet;
    const auto number = [&](int at) { return std::strtoull(arguments[at], nullptr, 10); };
    const std::string_view what = count > 1 ? arguments[1] : "";
    if (count == 4 && what == "graphs") {
        SaveGraphs(sheet, number(3), static_cast<int>(number(2)));
    } else if (what == "read") {
        for (int i = 2; i < count; ++i) {
            const std::string_view name = arguments[i];
            (name.ends_with(".qda") ? ReadGraph : ReadProfile)(sheet, arguments[i]);
        }
    } else if (what == "known") {
        TellKnown(sheet);
    } else if (count >= 3 && count <= 5) {
        RunTable(sheet, number(1), number(2), count > 3 ? arguments[3] : "all",
                 count > 4 ? number(4) : 1);
    } else {
        std::fputs(
            "usage: parity COUNT SEED [NAME [FIRST]] | graphs COUNT SEED | read FILE... | known\n",
            stderr);
        return 2;
    }
    return 0;
}
