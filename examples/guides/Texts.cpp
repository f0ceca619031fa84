// The code of docs/texts.md.

#include "core/base/BString.h"
#include "core/base/WString.h"
#include "core/language/BLanguageMap.h"

#include "examples/guides/Guides.h"

#include <cstdio>

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

void ShowTexts()
{
    std::puts(Caption(QD_W("Housing.stl"), 3, 0.05).AsString());
    std::printf("Sum: %g\n", Sum(QD_W("3;4;x;5")));
    ShowComparisons();

    BLanguageMap map;
    map.Add(QD_W("$IDS_Scans"), QD_W("scans"), QD_W("Aufnahmen"), false, false);
    const WString shown = map.TranslateExt(QD_W("3 $IDS_Scans")); // "3 Aufnahmen"
    std::puts(shown.AsString());
}
