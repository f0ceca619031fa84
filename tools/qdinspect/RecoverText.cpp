#include "core/base/BArray.h"
#include "core/base/ErrorCodes.h"
#include "core/base/SP.h"
#include "core/language/BLanguageMap.h"
#include "core/language/LanguageReader.h"
#include "core/platform/FileStream.h"

#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/LanguageText.h"
#include "tools/qdinspect/NewFile.h"
#include "tools/qdinspect/Report.h"
#include "tools/qdinspect/TextProfile.h"

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

// New text files of what is readable in damaged ones, in UTF-16.
//
// Lines are kept as they stand, comments, too, so that the new file is the old one without its
// damage. A line with a zero in it is lost as a whole: zeros are what a disk puts in place of text
// that it never got, and what stands beside them is the rest of some other line.

namespace {

using platform::WideText;
using platform::WideView;

class ProfileRecovery {
public:
    explicit ProfileRecovery(std::ostream& messages)
        : m_messages(messages)
        , m_sections(1) // what stands before the first
    {}

    void TakeLine(WideView line);
    [[nodiscard]] WideText Text() const;
    [[nodiscard]] std::uint64_t KeyCount() const noexcept { return m_keyCount; }

private:
    struct Section {
        WideText lines;
        std::set<WideText> keys;
    };

    void EnterSection(const TextLine& line);
    void TakeKey(const TextLine& line, WideView whole);
    std::ostream& Tell() { return m_messages << "line " << m_number << ": "; }

    std::ostream& m_messages;
    std::vector<Section> m_sections;
    std::map<WideText, std::size_t> m_found; // sections by their names
    std::size_t m_current = 0;
    std::uint64_t m_number = 0;
    std::uint64_t m_keyCount = 0;
};

void ProfileRecovery::TakeLine(WideView line)
{
    ++m_number;
    if (line.find(WChar(0)) != WideView::npos) {
        Tell() << "zeros in the text, the line is lost\n";
        return;
    }
    const TextLine parsed = ParseLine(line);
    if (parsed.kind == TextLine::Section)
        EnterSection(parsed);
    else if (parsed.kind == TextLine::Key)
        TakeKey(parsed, line);
    else if (parsed.kind == TextLine::Other)
        Tell() << Quoted(parsed.name) << " is lost\n";
    else
        m_sections[m_current].lines.append(line).append(QD_W("\r\n"));
}

// Programs go by the first section of a name, so that this takes what others of the name have.
void ProfileRecovery::EnterSection(const TextLine& line)
{
    const auto [found, isNew] = m_found.try_emplace(Folded(line.name), m_sections.size());
    m_current = found->second;
    if (!line.isClosed)
        Tell() << "the name of the section gets its bracket\n";
    if (isNew) {
        m_sections.emplace_back();
        m_sections.back().lines.append(QD_W("[")).append(line.name).append(QD_W("]\r\n"));
    } else {
        Tell() << "what follows stands in the first section " << Quoted(line.name) << " now\n";
    }
}

void ProfileRecovery::TakeKey(const TextLine& line, WideView whole)
{
    Section& section = m_sections[m_current];
    if (!section.keys.insert(Folded(line.name)).second) {
        Tell() << "the second " << Quoted(line.name) << " is lost\n";
        return;
    }
    ++m_keyCount;
    section.lines.append(whole).append(QD_W("\r\n"));
}

WideText ProfileRecovery::Text() const
{
    WideText text;
    for (const Section& section : m_sections)
        text += section.lines;
    return text;
}

} // namespace

EOutcome RecoverTextProfile(BlockReader& file, const WideText& newPath, std::ostream& messages)
{
    const DecodedText decoded = Decode(file, EncodingOf(file, EKind::TextProfile));
    if (!decoded.loss.empty())
        messages << decoded.loss << '\n';
    ProfileRecovery recovery(messages);
    for (WideView rest = decoded.text; !rest.empty();)
        recovery.TakeLine(TakeLine(rest));
    messages << recovery.KeyCount() << " keys\n";
    return WriteUtf16(recovery.Text(), newPath, EOutcome::Whole);
}

namespace {

// The text with its open quotes closed, and without what ends it for a reader.
std::vector<LanguageLine> MendedLines(WideText text, std::ostream& messages)
{
    std::erase_if(text, [](WChar unit) { return unit == 0 || unit == 0x1A || unit == 0xFFFF; });
    std::vector<LanguageLine> lines;
    LanguageText reader(text, LanguageText::EOpenQuotes::Closed);
    for (LanguageLine line; reader.Next(line); lines.push_back(line)) {
        if (line.isMended)
            messages << "line " << line.number << ": a quote that nothing closed is closed\n";
    }
    return lines;
}

WideText Joined(const std::vector<LanguageLine>& lines)
{
    WideText text;
    for (const LanguageLine& line : lines)
        text.append(line.text).append(QD_W("\r\n"));
    return text;
}

// The lines but those that the map refuses. The cells are those that the library reads from the
// file `part` of the same lines.
std::vector<LanguageLine> AcceptedLines(const std::vector<LanguageLine>& lines,
                                        const WideText& part, std::ostream& messages)
{
    const platform::Stream stream = platform::OpenStream(part.c_str(), QD_W("r,ccs=UTF-16LE"));
    LanguageReader reader(stream.get(), LanguageReader::EReadAhead::Yes);
    const SP<BLanguageMap> map = new BLanguageMap;
    BArray<WString> cells;
    std::vector<LanguageLine> accepted;
    std::uint64_t count = 0;
    for (const LanguageLine& line : lines) {
        const bool isEntry = reader.ReadLine(cells, 3) && cells[0].GetAt(0) == '$';
        const int code = isEntry ? map->Add(cells[0], cells[1], cells[2], false, false) : 0;
        if (code == kErrorLanguageKeyInvalid || code == kErrorLanguageKeyTwice) {
            messages << "line " << line.number << ": " << Quoted(WideView(cells[0].CStr()))
                     << (code == kErrorLanguageKeyTwice ? " is there already, and lost\n"
                                                        : " is no key, and lost\n");
            continue;
        }
        count += isEntry ? 1 : 0;
        accepted.push_back(line);
    }
    messages << count << " entries\n";
    return accepted;
}

} // namespace

EOutcome RecoverLanguageFile(BlockReader& file, const WideText& newPath, std::ostream& messages)
{
    const DecodedText decoded = Decode(file, EncodingOf(file, EKind::Language));
    if (!decoded.loss.empty())
        messages << decoded.loss << '\n';
    const std::vector<LanguageLine> lines = MendedLines(decoded.text, messages);
    const WideText partPath = newPath + QD_W(".part");
    NewFile part(partPath, NewFile::ESync::No);
    part.WriteText(Joined(lines));
    if (!part.Close())
        return EOutcome::Unwritten;
    return WriteUtf16(Joined(AcceptedLines(lines, partPath, messages)), newPath, EOutcome::Whole);
}
