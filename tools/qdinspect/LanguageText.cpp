#include "tools/qdinspect/LanguageText.h"

#include "core/base/BlockReader.h"
#include "core/language/BLanguageMap.h"

#include "tools/qdinspect/FileKind.h"

#include <algorithm>

// The lines of a language file in its text, where the library's reader gives cells alone: for the
// numbers of the lines in an editor, and to mend what makes one long cell of many entries.

namespace {

using platform::WideView;

constexpr std::size_t kNone = WideView::npos;
constexpr int kCells = 3; // behind them a quote is a character like others

} // namespace

bool IsEntry(WideView line)
{
    return line.size() > 1 && line[0] == '$' && BLanguageMap::IsAlNumUnderscore(line[1]) &&
           line.substr(0, line.find(WChar('\n'))).find(WChar('\t')) != kNone;
}

bool LanguageText::Next(LanguageLine& line)
{
    if (m_rest.empty())
        return false;
    std::vector<std::size_t> closed;
    const std::size_t end = EndOfLine(closed);
    const WideView taken = m_rest.substr(0, end);
    line.number = m_number;
    line.isMended = !closed.empty();
    line.text = taken;
    for (auto at = closed.rbegin(); at != closed.rend(); ++at)
        line.text.insert(*at, 1, '"');
    if (line.text.ends_with(WChar('\r')))
        line.text.pop_back();
    m_number += 1 + static_cast<std::uint64_t>(std::ranges::count(taken, WChar('\n')));
    m_rest.remove_prefix((std::min)(end + 1, m_rest.size()));
    return true;
}

std::size_t LanguageText::EndOfLine(std::vector<std::size_t>& closed) const
{
    const auto find = [&](const WChar* units, std::size_t from) {
        return (std::min)(m_rest.find_first_of(units, from), m_rest.size());
    };
    std::size_t at = 0;
    for (int cell = 0; cell < kCells; ++cell) {
        const bool isQuoted = at < m_rest.size() && m_rest[at] == '"';
        const std::size_t end = isQuoted ? EndOfQuotes(at) : at;
        const bool isOpen = m_closes && end == kNone;
        at = find(QD_W("\t\n"), isOpen ? at : (std::min)(end, m_rest.size()));
        if (isOpen)
            closed.push_back(m_rest[at - 1] == '\r' ? at - 1 : at);
        if (at == m_rest.size() || m_rest[at] == '\n')
            return at;
        ++at;
    }
    return find(QD_W("\n"), at);
}

std::size_t LanguageText::EndOfQuotes(std::size_t begin) const
{
    for (std::size_t at = begin + 1; at < m_rest.size(); ++at) {
        if (m_closes && m_rest[at] == '\n' && IsEntry(m_rest.substr(at + 1)))
            return kNone;
        if (m_rest[at] != '"')
            continue;
        if (at + 1 == m_rest.size() || m_rest[at + 1] != '"')
            return at + 1;
        ++at;
    }
    return kNone;
}

namespace {

// What the reader sees of a text: it skips zeros and stops at Ctrl-Z.
platform::WideText TextForReader(BlockReader& file)
{
    platform::WideText text = Decode(file, EncodingOf(file, EKind::Language)).text;
    text.resize((std::min)(text.find(WChar(0x1A)), text.size()));
    std::erase(text, WChar(0));
    return text;
}

} // namespace

LanguageEntries::LanguageEntries(BlockReader& file, const platform::WideText& path)
    : m_stream(platform::OpenStream(path.c_str(), QD_W("r,ccs=UTF-16LE")))
    , m_reader(m_stream.get(), LanguageReader::EReadAhead::Yes)
    , m_text(TextForReader(file))
    , m_lines(m_text, LanguageText::EOpenQuotes::AsTheyAre)
{}

bool LanguageEntries::Next()
{
    while (m_reader.ReadLine(m_cells, kCells)) {
        if (!m_lines.Next(m_line))
            ++m_line.number; // U+FFFF ends lines for the reader alone
        if (m_cells[0].GetAt(0) == '$')
            return true;
    }
    return false;
}
