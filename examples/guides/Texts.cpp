// The code of docs/texts.md.

#include "core/base/BProblem.h"
#include "core/base/BString.h"
#include "core/base/ErrorCodes.h"
#include "core/base/WString.h"
#include "core/language/BLanguageMap.h"

#include "examples/guides/Guides.h"

#include <cstdio>
#include <iostream>
#include <string>
#include <unordered_map>

/// "Housing.stl: 3 scans, 0.05 mm"
WString Caption(const WString& file, int scans, double deviation)
{
    WString text;
    text.Printf(QD_W("%s: %d scans, %g mm"), file.CStr(), scans, deviation);
    return text;
}

/// The numbers of "3;4;x;5" that are numbers, added up.
double Sum(const WString& list)
{
    double sum = 0;
    for (std::size_t i = 0; i < list.TokenCount(QD_W(';')); ++i) {
        double value = 0;
        if (list.Token(i, QD_W(';')).Convert(value))
            sum += value;
    }
    return sum;
}

static void ShowComparisons()
{
    const WString name = QD_W("Stra\u00DFe");
    const bool same = name == QD_W("Strasse");          // true: the user's collation
    const bool begins = name.StartsWith(QD_W("Stras")); // false: unit by unit
    const BString narrow = name.AsString();             // in the ANSI code page
    std::printf("It %s \"Strasse\", %s with \"Stras\" and has %d bytes.\n",
                same ? "equals" : "differs from", begins ? "begins" : "does not begin",
                static_cast<int>(narrow.Length()));
}

static void ShowUnicode()
{
    bool isWhole = false;
    const WString name = WString::FromUtf8("M\xC3\xBCller \xF0\x9F", &isWhole); // cut by someone
    const std::string bytes = name.AsUtf8();                                    // ends with U+FFFD
    const std::unordered_map<WString, int> scans = {{QD_W("Stra\u00DFe"), 3}};
    const int found = scans.at(QD_W("Strasse")); // equal, so one key
    std::cout << name << ": " << found << '\n';  // UTF-8
    std::cout << (isWhole ? "whole" : "not whole") << ", " << bytes.size() << " bytes" << std::endl;
}

void Import(BLanguageMap& map, const WString& path)
{
    if (map.ImportMapFile(path, nullptr, false, true) == kErrorNone)
        return;
    BProblem problem = map.Problem();
    problem.path.Clear();
    std::printf("%s\n", problem.Text().AsUtf8().c_str());
}

static void ShowFault(const WString& path)
{
    BLanguageMap map;
    map.Add(QD_W("$IDS_Scans"), QD_W("scans"), QD_W("Aufnahmen"), false, false);
    map.ExportMapFile(path);
    Import(map, path);
}

void ShowTexts(const WString& folder)
{
    std::puts(Caption(QD_W("Housing.stl"), 3, 0.05).AsString());
    std::printf("Sum: %g\n", Sum(QD_W("3;4;x;5")));
    ShowComparisons();
    ShowUnicode();

    BLanguageMap map;
    map.Add(QD_W("$IDS_Scans"), QD_W("scans"), QD_W("Aufnahmen"), false, false);
    const WString shown = map.TranslateExt(QD_W("3 $IDS_Scans")); // "3 Aufnahmen"
    std::puts(shown.AsString());
    ShowFault(folder + QD_W("texts.lng"));
}
