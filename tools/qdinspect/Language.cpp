#include "core/base/BArray.h"
#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"

#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/LanguageText.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <ostream>

// A language file, entry by entry.
//
// Lines are read by the library's own reader and added to a map, so that what is refused is what a
// program refuses, with its code. One thing the map cannot see, and the file looks whole with it: a
// quote that is not closed makes one long text of the entries behind it.

namespace {

using platform::WideText;
using platform::WideView;

const char* Meaning(int code)
{
    switch (code) {
    case kErrorLanguageKeyInvalid: return "the key is not valid";
    case kErrorLanguageTextTwice: return "another plain key has the same default text";
    case kErrorLanguageKeyTwice: return "the key is there already";
    default: return "the entry is refused";
    }
}

std::string Cell(const WString& cell)
{
    return Quoted(WideView(cell.CStr()));
}

// A quote that nothing closes takes the entries behind it into its cell.
bool HoldsEntries(const BArray<WString>& cells)
{
    return std::any_of(cells.begin(), cells.end(), [](const WString& cell) {
        const WideView text(cell.CStr());
        const std::size_t entry = text.find(QD_W("\n$"));
        return entry != WideView::npos && text.find(WChar('\t'), entry) != WideView::npos;
    });
}

// The placeholders of `WString::Printf` in a text, one behind the other, without width and flags: a
// translation that has others makes the program read what is not there. The flag " " is left out,
// as "100 % dense" is no placeholder.
WideText Placeholders(WideView text)
{
    WideText found;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != '%')
            continue;
        if (text[++i] == '%')
            continue;
        std::size_t end = text.find_first_not_of(QD_W("0123456789+-#.*"), i);
        const std::size_t size = end;
        end = std::min(text.find_first_not_of(QD_W("hlLwI64"), end), text.size());
        if (end == text.size() ||
            WideView(QD_W("sSdiuxXofeEgGcCp")).find(text[end]) == WideView::npos)
            continue;
        found += '%';
        found += text.substr(size, end - size);
        found += text[end] == 'i' ? WChar('d') : text[end]; // they mean the same
        i = end;
    }
    return found;
}

// What is no fault of the file, and yet not meant so.
void TellSuspicion(const BArray<WString>& cells, std::uint64_t line, Report& report)
{
    const WideView standard(cells[1].CStr());
    const WideView translation(cells[2].CStr());
    if (standard.empty())
        report.SuspicionInLine(line) << Cell(cells[0]) << " has no default text\n";
    if (translation.empty()) {
        report.SuspicionInLine(line) << Cell(cells[0]) << " has no translation\n";
        return;
    }
    const WideText expected = Placeholders(standard);
    const WideText placeholders = Placeholders(translation);
    if (expected != placeholders) {
        report.SuspicionInLine(line)
            << Cell(cells[0]) << " has the placeholders " << Quoted(expected) << " in one text and "
            << Quoted(placeholders) << " in the other\n";
    }
}

} // namespace

void InspectLanguageFile(BlockReader& file, const WideText& path, Report& report)
{
    report.Line() << "language file\n";
    LanguageEntries reader(file, path);
    const SP<BLanguageMap> map = new BLanguageMap;
    Cut shown = report.NewCut();
    std::uint64_t entries = 0;
    std::uint64_t untranslated = 0;
    while (reader.Next()) {
        const BArray<WString>& cells = reader.Cells();
        const std::uint64_t line = reader.Line();
        ++entries;
        untranslated += cells[2].IsEmpty() ? 1 : 0;
        if (shown.Shows())
            report.Line() << "line " << line << ": " << Cell(cells[0]) << ' ' << Cell(cells[1])
                          << ' ' << Cell(cells[2]) << '\n';
        if (EntrySink* const entriesOut = report.NextEntry()) {
            entriesOut->Entry({{"line", line},
                               {"key", Utf8(WideView(cells[0].CStr()))},
                               {"default", Utf8(WideView(cells[1].CStr()))},
                               {"translation", Utf8(WideView(cells[2].CStr()))}},
                              line + 1);
        }
        // Without overwriting, so that the second entry of a key is told.
        if (const int code = map->Add(cells[0], cells[1], cells[2], false, true); code != 0)
            report.DamageInLine(line)
                << Cell(cells[0]) << ": " << Meaning(code) << " (" << code << ")\n";
        if (HoldsEntries(cells))
            report.DamageInLine(line) << "a quote that nothing closes holds further entries\n";
        TellSuspicion(cells, line, report);
    }
    shown.End("", "entries");
    if (entries == 0)
        report.SuspicionInLine(1) << "no entry is found in the file\n";
    report.Line() << entries << " entries, " << untranslated << " without a translation\n";
}
