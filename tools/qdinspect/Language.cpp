#include "core/base/BArray.h"
#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"
#include "core/language/LanguageReader.h"
#include "core/platform/FileStream.h"
#include "core/platform/WideText.h"

#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <cstdint>
#include <ostream>

// A language file, entry by entry.
//
// Lines are read by the library's own reader and added to a map, so that what is refused is what a
// program refuses, with its code. One thing the map cannot see, and the file looks whole with it: a
// quote that is not closed makes one long text of the entries behind it.

namespace {

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

} // namespace

void InspectLanguageFile(const WChar* path, Report& report)
{
    report.Line() << "language file\n";
    const platform::Stream stream = platform::OpenStream(path, QD_W("r,ccs=UTF-16LE"));
    LanguageReader reader(stream.get(), LanguageReader::EReadAhead::Yes);
    const SP<BLanguageMap> map = new BLanguageMap;
    BArray<WString> cells;
    std::uint64_t entries = 0;
    std::uint64_t untranslated = 0;
    for (std::uint64_t line = 1; reader.ReadLine(cells, 3); ++line) {
        if (cells[0].GetAt(0) != '$')
            continue; // a comment, or nothing
        ++entries;
        untranslated += cells[2].IsEmpty() ? 1 : 0;
        report.Line() << "line " << line << ": " << Cell(cells[0]) << ' ' << Cell(cells[1]) << ' '
                      << Cell(cells[2]) << '\n';
        // Without overwriting, so that the second entry of a key is told.
        if (const int code = map->Add(cells[0], cells[1], cells[2], false, true); code != 0)
            report.DamageInLine(line) << Meaning(code) << " (" << code << ")\n";
        if (HoldsEntries(cells))
            report.DamageInLine(line) << "a quote that nothing closes holds further entries\n";
    }
    report.Line() << entries << " entries, " << untranslated << " without a translation\n";
}
