#include "tools/qdinspect/Lint.h"

#include "core/base/BlockReader.h"
#include "core/language/BLanguageMap.h"
#include "core/platform/FileStream.h"

#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/LanguageText.h"
#include "tools/qdinspect/Paths.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <ostream>

// What programs say of a language file.
//
// Keys are compared by a language map, as programs have them compared. Sources are searched as
// texts, whatever their language, but for language files, which would name each key: a key in a
// comment counts as used, which spares an entry too many rather than naming one that is needed.

namespace {

using platform::WideText;
using platform::WideView;

constexpr std::uint64_t kLargestSource = 1u << 26; // bytes

struct Place {
    std::string file;
    std::uint64_t line;
};

class SourceKeys {
public:
    void Search(const std::filesystem::path& folder);

    [[nodiscard]] bool Names(const WString& key) const
    {
        const WideView units(key.CStr());
        const auto begins = [&](const WideText& prefix) { return units.starts_with(prefix); };
        return m_names->Includes(key) || std::ranges::any_of(m_prefixes, begins);
    }

    /// Those that stand alone in quotes, as programs hand them over, with the first such place.
    [[nodiscard]] const std::map<WideText, Place>& Quoted() const { return m_quoted; }

private:
    void SearchFile(const std::filesystem::path& path);
    void SearchLine(WideView line, const Place& place);

    SP<BLanguageMap> m_names = new BLanguageMap;
    std::vector<WideText> m_prefixes;
    std::map<WideText, Place> m_quoted;
};

void SourceKeys::Search(const std::filesystem::path& folder)
{
    using namespace std::filesystem;
    std::vector<path> files;
    for (recursive_directory_iterator found(folder), end; found != end; ++found) {
        if (TextOf(found->path().filename()).starts_with('.')) {
            if (found->is_directory())
                found.disable_recursion_pending();
        } else if (found->is_regular_file()) {
            files.push_back(found->path());
        }
    }
    std::ranges::sort(files); // so that each run tells the same place
    for (const path& file : files)
        SearchFile(file);
}

void SourceKeys::SearchFile(const std::filesystem::path& path)
{
    BlockReader file(platform::OpenStream(WideOf(path).c_str(), QD_W("rb")));
    if (!file.IsGood() || file.Size() > kLargestSource || !LooksLikeText(file) ||
        KindOf(file) == EKind::Language || KindInAnyEncoding(file) == EKind::Language)
        return;
    // Language tells UTF-8 where it can be; keys beyond ASCII in other encodings are rare.
    const DecodedText decoded = Decode(file, EncodingOf(file, EKind::Language));
    Place place = {TextOf(path), 0};
    for (WideView rest = decoded.text; !rest.empty();) {
        ++place.line;
        SearchLine(TakeLine(rest), place);
    }
}

void SourceKeys::SearchLine(WideView line, const Place& place)
{
    const auto isKeyUnit = [](WChar unit) { return BLanguageMap::IsAlNumUnderscore(unit); };
    for (std::size_t at = line.find(WChar('$')); at != WideView::npos;
         at = line.find(WChar('$'), at + 1)) {
        const auto behind = line.substr(at + 1);
        const auto end = std::ranges::find_if_not(behind, isKeyUnit);
        const auto length = static_cast<std::size_t>(end - behind.begin());
        const WideText key(line.substr(at, length + 1));
        if (length == 0)
            continue;
        if (key.back() == '_') {
            m_prefixes.push_back(key);
            continue;
        }
        m_names->Add(key.c_str(), WString(), WString(), false, false);
        const bool isQuoted = at != 0 && line[at - 1] == '"' && end != behind.end() && *end == '"';
        if (isQuoted)
            m_quoted.try_emplace(key, place);
    }
}

} // namespace

void LintSources(BlockReader& file, const WideText& path, const std::vector<std::string>& folders,
                 Report& report)
{
    SourceKeys sources;
    for (const std::string& folder : folders)
        sources.Search(PathOf(folder));
    const SP<BLanguageMap> entries = new BLanguageMap;
    LanguageEntries reader(file, path);
    while (reader.Next()) {
        const WString& key = reader.Cells()[0];
        entries->Add(key, WString(), WString(), false, false);
        if (!sources.Names(key))
            report.SuspicionInLine(reader.Line())
                << Quoted(WideView(key.CStr())) << " is named by no source\n";
    }
    for (const auto& [key, place] : sources.Quoted()) {
        if (!entries->Includes(key.c_str()))
            report.SuspicionIn(place.file, place.line)
                << Quoted(WideView(key)) << " has no entry\n";
    }
}
