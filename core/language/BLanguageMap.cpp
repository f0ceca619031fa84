#include "core/language/BLanguageMap.h"

#include "core/base/ErrorCodes.h"
#include "core/file/BFile.h"
#include "core/language/LanguageReader.h"
#include "core/language/LanguageTable.h"
#include "core/platform/ByteOrderMark.h"
#include "core/platform/CharClass.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileStream.h"
#include "core/platform/FileSystem.h"
#include "core/platform/FormatText.h"
#include "core/platform/SystemError.h"
#include "core/platform/WideText.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <utility>
#include <vector>

// Language files, and what the map makes of their entries; how entries are found is in
// LanguageTable.cpp, how a file is cut into cells in LanguageReader.cpp.
//
// Texts that grow piece by piece are gathered in a `WideText`: a `WString` takes another block for
// nearly each piece while the text is short, and its room grows by an eighth after that. For the
// same reason a log is appended to the caller's text once, at the end.
//
// A translator's work must not be lost to a full disk or an unreadable file. So a file is made
// whole in memory and written beside the old one, which it then replaces, and a file that broke off
// while it was read is told from one that ended, or that was never there.

namespace {

using platform::WideText;
using platform::WideView;

constexpr std::size_t kCellCount = 3;
constexpr WChar kKeySign = '$';
constexpr WChar kQuote = '"';
constexpr WChar kNoTextUnit = 0xFFFF; // a text stream takes it for its end
constexpr WChar kReadMode[] = QD_W("r,ccs=UTF-16LE");

// Holds one reference. A plain pointer, so that no static object of an application finds it
// destroyed.
constinit BLanguageMap* g_instance = nullptr;

WideView ViewOf(const WString& text)
{
    return {text.CStr(), text.Length()};
}

bool IsKey(WideView text)
{
    return text.starts_with(kKeySign);
}

// The length of the key that `text`, which begins with "$", begins with.
std::size_t KeyLength(WideView text)
{
    assert(IsKey(text));
    const auto end = std::find_if_not(text.begin() + 1, text.end(), [](WChar unit) {
        return BLanguageMap::IsAlNumUnderscore(unit);
    });
    return static_cast<std::size_t>(end - text.begin());
}

// A key that is in no entry stays, so that the screen shows which text is missing.
void AppendTranslation(WideText& out, WideView key, const LanguageTable& table, bool isTestMode)
{
    const LanguageTable::Entry* const entry = table.Find(key);
    if (entry == nullptr) {
        out += key;
        return;
    }
    const WideView mark = isTestMode ? WideView(QD_W("*")) : WideView();
    out.append(mark).append(entry->text).append(mark);
}

// The escape of `unit`, empty when it needs none. `next` is the unit behind it, 0 at the end.
WideView EscapeOf(WChar unit, WChar next)
{
    switch (unit) {
    case '\n': return QD_W("\\n");
    case '\r': return QD_W("\\r");
    case '\t': return QD_W("\\t");
    case 0x1A: return QD_W("\\x1A"); // ends the text where it stands
    case '\\': {
        // What would make an escape of it: such a letter, or an escape behind it.
        const WideView continuing = QD_W("nrtx\\\n\r\t\x1A");
        return continuing.find(next) != WideView::npos ? QD_W("\\\\") : WideView();
    }
    default: return {};
    }
}

// Only what would not read back, so that a path in a text stays readable for the translator.
WideText Escaped(const WideText& text)
{
    WideText escaped;
    for (std::size_t index = 0; index != text.size(); ++index) {
        const WChar next = text[index + 1]; // 0 at the end
        if (const WideView escape = EscapeOf(text[index], next); !escape.empty())
            escaped += escape;
        else
            escaped += text[index];
    }
    return escaped;
}

// Appends a cell that reads back as `text`, as far as a file can hold it. Quotes are put round a
// cell only where it begins with one: elsewhere a quote is a unit like any other.
void AppendCell(WideText& out, const WString& text)
{
    WideText plain = text.CStr();
    std::erase(plain, kNoTextUnit);
    const WideText escaped = Escaped(plain);
    if (!escaped.starts_with(kQuote)) {
        out += escaped;
        return;
    }
    out += kQuote;
    for (const WChar unit : escaped)
        out.append(unit == kQuote ? 2 : 1, unit);
    out += kQuote;
}

void AppendNumber(WideText& out, std::int64_t number)
{
    WChar digits[platform::kIntegerTextRoom];
    out.append(digits, platform::IntegerText(number, 10, digits));
}

void LogFault(WideText& log, std::int64_t line, int code, const BArray<WString>& cells)
{
    log += QD_W("Line ");
    AppendNumber(log, line);
    log += QD_W(" : Error ");
    AppendNumber(log, code);
    for (const WString& cell : cells)
        log.append(QD_W(" [")).append(cell).append(QD_W("]"));
    log += QD_W("\n");
}

// What is known is the first problem of a call; further ones do not change it. `problem` is none
// as long as nothing is wrong.
int Fail(BProblem& problem, int code, BProblem reason, const WString& path)
{
    if (!problem) {
        problem = std::move(reason);
        problem.path = path;
    }
    return code;
}

// Of the line of a file for which `Add` gave `code`.
BProblem ProblemOfLine(int code, std::int64_t line, const WString& key)
{
    const EProblem problem = code == kErrorLanguageKeyInvalid    ? EProblem::KeyInvalid
                             : code == kErrorLanguageKeyTwice    ? EProblem::KeyTwice
                             : code == kErrorLanguageTextMissing ? EProblem::TextMissing
                                                                 : EProblem::TextTwice;
    return {.code = problem, .position = static_cast<std::uint64_t>(line), .name = key};
}

// `log`, which may be null, gathers the text: appending to a WString measures what is there.
// A line is read before the one before it is added, so that the memory fetches what its key needs.
int ImportFile(BLanguageMap& map, const LanguageTable& table, const WChar* path, WideText* log,
               bool overwrite, bool fillMissing, BProblem& problem)
{
    if (log != nullptr)
        log->append(QD_W("Import Language File ")).append(path).append(QD_W("\n"));
    const platform::Stream stream = platform::OpenStream(path, kReadMode);
    if (!stream)
        return Fail(problem, kErrorLanguageFile, BProblem::OfSystem(), path);
    int result = kErrorNone;
    std::int64_t line = 0, entries = 0;
    LanguageReader reader(stream.get(), LanguageReader::EReadAhead::Yes);
    BProblem atEnd;
    BArray<WString> cells, next;
    const auto readNext = [&] {
        const bool isRead = reader.ReadLine(next, kCellCount) && !reader.IsTorn();
        if (isRead)
            table.Expect(ViewOf(next[0]));
        else
            atEnd = BProblem::OfSystem();
        return isRead;
    };
    for (bool isRead = readNext(); isRead;) {
        std::swap(cells, next);
        isRead = readNext();
        ++line;
        if (cells[0].GetAt(0) != kKeySign)
            continue;
        ++entries;
        const int code = map.Add(cells[0], cells[1], cells[2], overwrite, fillMissing);
        if (code == kErrorNone)
            continue;
        if (log != nullptr)
            LogFault(*log, line, code, cells);
        result = Fail(problem, kErrorLanguageLines, ProblemOfLine(code, line, cells[0]), path);
    }
    if (log != nullptr) {
        AppendNumber(*log, entries);
        *log += QD_W(" entries loaded\n\n");
    }
    return reader.IsTorn() ? Fail(problem, kErrorLanguageFile, atEnd, path) : result;
}

// `text` as a text stream of UTF-16LE writes it; by hand, as a replacement is a binary stream on
// both systems.
bool WriteUtf16File(const WChar* path, WideView text)
{
    WideText units(1, platform::kMarkUnit);
    for (const WChar unit : text) {
        if (unit == '\n')
            units += '\r';
        units += unit;
    }
    platform::FileReplacement file(path);
    std::FILE* const stream = file.Stream();
    return stream != nullptr &&
           std::fwrite(units.data(), sizeof(WChar), units.size(), stream) == units.size() &&
           file.Commit();
}

// No `WString`: one that gets no memory would be another path.
WideText Join(const WString& directory, const WString& name)
{
    WideText path(ViewOf(directory));
    const std::size_t separator = path.find_last_of(QD_W("/\\"));
    path += separator == WideText::npos ? WChar('\\') : path[separator];
    return path += ViewOf(name);
}

// The names of the files that match; none when not all can be told. Sorted, as the order
// decides which of two entries with one key counts, and a folder lists its files in any order.
std::vector<WideText> FindNames(const WString& directory, const WString& pattern)
{
    std::vector<WideText> names;
    const platform::EPresence presence =
        platform::FindFiles(Join(directory, pattern).c_str(), [&](const platform::FoundFile& file) {
            if (!file.isDirectory)
                names.push_back(file.path.substr(file.path.find_last_of(QD_W("/\\")) + 1));
            return true;
        });
    if (presence == platform::EPresence::Unknown)
        names.clear();
    std::sort(names.begin(), names.end(), [](const WideText& a, const WideText& b) {
        const int order =
            platform::CompareIgnoringAsciiCase(a.c_str(), b.c_str(), std::max(a.size(), b.size()));
        return order != 0 ? order < 0 : a < b;
    });
    return names;
}

// Why there are none, as the system's last error says where it is more than that none matches.
BProblem NoNames(const WString& directory, const WString& pattern)
{
    BProblem problem = BProblem::OfSystem();
    if (problem.systemError == 0)
        problem.code = EProblem::NotThere;
    problem.path = Join(directory, pattern).c_str();
    return problem;
}

// Calls `handle` for each name; the last result that is not 0.
template <class Handle>
int ForEachName(const std::vector<WideText>& names, Handle handle)
{
    int result = names.empty() ? kErrorLanguageFile : kErrorNone;
    for (const WideText& name : names) {
        if (const int code = handle(WString(name.c_str())); code != kErrorNone)
            result = code;
    }
    return result;
}

// False when the file cannot be read: taken for empty, it would lose its translations to the
// merged file. One that is not there has none.
bool ImportTranslations(BLanguageMap& translations, const WChar* path)
{
    return translations.ImportMapFile(path, nullptr, false, true) != kErrorLanguageFile ||
           platform::Presence(path) == platform::EPresence::Missing;
}

// True when the line is an entry that `translations` lacks. Lines that are no entries go over as
// they are: the merged file is the master, in its order and with its comments.
bool AppendMerged(WideText& out, const BArray<WString>& cells, const BLanguageMap& translations)
{
    assert(cells.Count() == kCellCount);
    if (cells[0].IsEmpty()) {
        out += QD_W("\t\t");
        return false;
    }
    AppendCell(out, cells[0]);
    if (!IsKey(ViewOf(cells[0]))) {
        for (std::uint64_t index = 1; index != cells.Count(); ++index) {
            if (cells[index].IsEmpty())
                continue;
            out += '\t';
            AppendCell(out, cells[index]);
        }
        return false;
    }
    out += '\t';
    AppendCell(out, cells[1]);
    out += '\t';
    WString translation;
    if (!translations.Find(cells[0], translation, true)) {
        out += QD_W("\tnew entry!");
        return true;
    }
    AppendCell(out, translation);
    return false;
}

} // namespace

BLanguageMap::BLanguageMap()
    : m_table(new LanguageTable)
{}

BLanguageMap::~BLanguageMap()
{
    delete m_table;
}

void BLanguageMap::RegisterInstance(SP<BLanguageMap> map)
{
    // Counted up first, as it may be the same map once more.
    BSmartObj::Ref(map.Get());
    BSmartObj::Unref(std::exchange(g_instance, map.Get()));
}

SP<BLanguageMap> BLanguageMap::Instance()
{
    return g_instance;
}

void BLanguageMap::SetCurrentLanguage(WString language)
{
    m_currentLanguage = std::move(language);
}

int BLanguageMap::Add(WString key, WString defaultText, WString text, bool overwrite,
                      bool fillMissing)
{
    const LanguageTable::Key known(ViewOf(key)); // whose units stay where they are
    if (!known.isAscii && !IsIdValid(key))
        return kErrorLanguageKeyInvalid;
    const int missing = m_reportsMissing ? kErrorLanguageTextMissing : kErrorNone;
    int result = defaultText.IsEmpty() ? missing : kErrorNone;
    const LanguageTable::Entry* const old = m_table->Find(known);
    if (old != nullptr && !overwrite)
        return kErrorLanguageKeyTwice;
    if (text.IsEmpty() && fillMissing) {
        text = defaultText;
        result = missing;
    }
    LanguageTable::Entry entry{std::move(key), std::move(defaultText), std::move(text)};
    const bool isTwice = old != nullptr ? m_table->Replace(*old, std::move(entry))
                                        : m_table->Add(known, std::move(entry));
    return isTwice ? kErrorLanguageTextTwice : result;
}

void BLanguageMap::Clear()
{
    m_table->RemoveAll();
}

bool BLanguageMap::Includes(WString key) const
{
    return m_table->Find(ViewOf(key)) != nullptr;
}

bool BLanguageMap::Find(const WString& key, WString& text, bool translated) const
{
    const LanguageTable::Entry* const entry = m_table->Find(ViewOf(key));
    if (entry != nullptr)
        text = translated ? entry->text : entry->defaultText;
    return entry != nullptr;
}

const BMap<WString, WString>& BLanguageMap::StdDefaultMap() const noexcept
{
    return m_table->Defaults();
}

WString BLanguageMap::Translate(WString key) const
{
    const LanguageTable::Entry* const entry =
        key.GetAt(0) == kKeySign ? m_table->Find(ViewOf(key)) : nullptr;
    if (entry == nullptr)
        return key;
    if (!m_isTestMode) // without a text of its own here, which each look-up would pay for
        return entry->text;
    key = entry->text;
    key.Prepend(QD_W("*"));
    key.Append(QD_W("*"));
    return key;
}

WString BLanguageMap::TranslateExt(WString text) const
{
    WideText translated;
    for (WideView rest = ViewOf(text); !rest.empty();) {
        const std::size_t plain = std::min(rest.find(kKeySign), rest.size());
        translated += rest.substr(0, plain);
        rest.remove_prefix(plain);
        if (rest.empty())
            break;
        const std::size_t length = KeyLength(rest);
        AppendTranslation(translated, rest.substr(0, length), *m_table, m_isTestMode);
        rest.remove_prefix(length);
    }
    return translated.c_str();
}

int BLanguageMap::TranslateBack(WString text, WString& keys, WString prefix,
                                ELanguage language) const
{
    int count = 0;
    WideText found;
    for (const auto& item : m_table->Defaults()) {
        const WString& candidate =
            language == LanguageDefault ? item.value : m_table->Find(ViewOf(item.key))->text;
        if (!candidate.IEqual(text) || !HasPrefix(item.key, prefix))
            continue;
        if (count++ != 0)
            found += ',';
        found += item.key;
    }
    if (count != 0)
        keys = found.c_str();
    return count;
}

bool BLanguageMap::IsIdValid(WString key)
{
    const WideView view = ViewOf(key);
    return IsKey(view) && KeyLength(view) == view.size();
}

bool BLanguageMap::IsAlNumUnderscore(WChar unit) noexcept
{
    if (unit < 0x80) { // nearly all
        const WChar lower = unit | 0x20;
        return (lower >= 'a' && lower <= 'z') || (unit >= '0' && unit <= '9') || unit == '_';
    }
    return platform::IsAlphaNum(unit);
}

bool BLanguageMap::HasPrefix(WString key, WString prefix)
{
    if (prefix.IsEmpty())
        return true;
    const WideView view = ViewOf(prefix);
    if (view == QD_W("$"))
        return !key.Includes(WChar('_'));
    return key.IStartsWith(prefix) && key.GetAt(view.size()) == '_';
}

int BLanguageMap::ImportMapFile(WString path, WString* log, bool overwrite, bool fillMissing)
{
    WideText text;
    BProblem problem;
    const int result = ImportFile(*this, *m_table, path, log != nullptr ? &text : nullptr,
                                  overwrite, fillMissing, problem);
    m_problem = std::move(problem);
    if (log != nullptr)
        log->Append(text.c_str());
    return result;
}

int BLanguageMap::ImportMapFiles(WString directory, WString pattern, WString* log, bool overwrite)
{
    WideText text;
    BProblem problem;
    platform::SetLastErrorCode(0);
    const std::vector<WideText> names = FindNames(directory, pattern);
    if (names.empty())
        problem = NoNames(directory, pattern);
    const int result = ForEachName(names, [&](const WString& name) {
        return ImportFile(*this, *m_table, Join(directory, name).c_str(),
                          log != nullptr ? &text : nullptr, overwrite, true, problem);
    });
    m_problem = std::move(problem);
    if (log != nullptr)
        log->Append(text.c_str());
    return result;
}

BProblem BLanguageMap::Problem() const
{
    return m_problem;
}

int BLanguageMap::ExportMapFile(WString path) const
{
    BProblem ignored;
    return ExportMapFile(std::move(path), ignored);
}

int BLanguageMap::ExportMapFile(WString path, BProblem& problem) const
{
    problem = {};
    WideText lines;
    for (const auto& item : m_table->Defaults()) {
        lines.append(item.key).append(QD_W("\t"));
        AppendCell(lines, item.value);
        lines += '\t';
        AppendCell(lines, m_table->Find(ViewOf(item.key))->text);
        lines += '\n';
    }
    if (WriteUtf16File(path, lines))
        return kErrorNone;
    return Fail(problem, kErrorLanguageFile, BProblem::OfSystem(), path);
}

int BLanguageMap::MergeMapFile(const WString& masterDirectory, const WString& translationDirectory,
                               const WString& outputDirectory, const WString& fileName,
                               int& newEntries)
{
    BProblem ignored;
    return MergeMapFile(masterDirectory, translationDirectory, outputDirectory, fileName,
                        newEntries, ignored);
}

int BLanguageMap::MergeMapFile(const WString& masterDirectory, const WString& translationDirectory,
                               const WString& outputDirectory, const WString& fileName,
                               int& newEntries, BProblem& problem)
{
    problem = {};
    const WideText master = Join(masterDirectory, fileName);
    platform::Stream stream = platform::OpenStream(master.c_str(), kReadMode);
    if (!stream)
        return Fail(problem, kErrorLanguageFile, BProblem::OfSystem(), master.c_str());
    BLanguageMap translations;
    if (!ImportTranslations(translations, Join(translationDirectory, fileName).c_str())) {
        problem = translations.Problem();
        return kErrorLanguageFile;
    }

    WideText lines;
    int added = 0;
    LanguageReader reader(stream.get(), LanguageReader::EReadAhead::Yes);
    BArray<WString> cells;
    while (reader.ReadLine(cells, kCellCount)) {
        added += AppendMerged(lines, cells, translations) ? 1 : 0;
        lines += '\n';
    }
    if (reader.IsTorn())
        return Fail(problem, kErrorLanguageFile, BProblem::OfSystem(), master.c_str());
    stream.reset(); // the output may be the same file
    const WideText output = Join(outputDirectory, fileName);
    if (!WriteUtf16File(output.c_str(), lines))
        return Fail(problem, kErrorLanguageOutput, BProblem::OfSystem(), output.c_str());
    newEntries += added;
    return kErrorNone;
}

int BLanguageMap::MergeMapFiles(const WString& masterDirectory, const WString& translationDirectory,
                                const WString& outputDirectory, const WString& pattern,
                                int& newEntries)
{
    return ForEachName(FindNames(masterDirectory, pattern), [&](const WString& name) {
        return MergeMapFile(masterDirectory, translationDirectory, outputDirectory, name,
                            newEntries);
    });
}

bool BLanguageMap::ReadLn(BFile& file, BArray<WString>& cells, std::size_t count)
{
    return LanguageReader(file, LanguageReader::EReadAhead::No).ReadLine(cells, count);
}

WChar BLanguageMap::ReadCell(BFile& file, WString& cell)
{
    return LanguageReader(file, LanguageReader::EReadAhead::No).ReadCell(cell);
}

void BLanguageMap::SkipLn(BFile& file)
{
    LanguageReader(file, LanguageReader::EReadAhead::No).SkipLine();
}

void BLanguageMap::ReplaceControlChars(WString& text)
{
    text = Escaped(text.CStr()).c_str();
}
