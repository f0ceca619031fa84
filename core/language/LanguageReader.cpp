#include "core/language/LanguageReader.h"

#include "core/platform/CharClass.h"
#include "core/platform/FileStream.h"
#include "core/platform/UnitBlock.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

// Cuts a language file into lines and cells.
//
// The stream's own function for text reads up to a line feed, and a cell in quotes may hold some:
// so units are taken one by one from what that function gave, and only the plain part of a cell,
// mostly all of it, is copied as a whole. A reader that shares its stream with its caller may not
// take a unit more than it gives out, so it has that function fetch one at a time.
//
// The function ends a piece with a 0 and takes U+FFFF for the end of the stream, while a file may
// hold either; `Fill` finds out which of them it was.

namespace {

constexpr WChar kTab = '\t';
constexpr WChar kLineFeed = '\n';
constexpr WChar kQuote = '"';
constexpr WChar kBackslash = '\\';

using platform::kBlockUnits;

// All of the text is looked at, without a branch, so that compilers do it for eight units at once.
bool HasUnit(platform::WideView text, WChar wanted)
{
    std::uint16_t found = 0;
    for (const WChar unit : text)
        found = static_cast<std::uint16_t>(found | (unit == wanted ? 1 : 0));
    return found != 0;
}

bool EndsCell(WChar unit)
{
    return unit == kTab || unit == kLineFeed || unit == LanguageReader::kEndOfFile;
}

// `text`, behind which a 0 stands, is what the file has.
void Assign(WString& cell, platform::WideView text, bool mayHaveEscape)
{
    cell.Clear();
    cell = text.data();
    if (cell.IsEmpty() && !text.empty())
        throw std::bad_alloc(); // never a line without a text that it has
    if (mayHaveEscape && HasUnit(text, kBackslash))
        cell.ResolveEsc();
}

} // namespace

LanguageReader::LanguageReader(std::FILE* stream, EReadAhead readAhead) noexcept
    : m_stream(stream)
    , m_room(readAhead == EReadAhead::Yes ? kPieceRoom : 2) // a unit and the terminator
{}

bool LanguageReader::ReadLine(BArray<WString>& cells, std::size_t count)
{
    WChar unit = Next();
    if (unit == kEndOfFile)
        return false;
    if (cells.Count() != count) {
        cells.RemoveAll();
        cells.Reserve(count);
        while (cells.Count() != count)
            cells.Append(WString());
    }
    bool isInLine = true;
    for (std::size_t index = 0; index != count; ++index) {
        if (!isInLine) {
            cells[index].Clear();
            continue;
        }
        if (index != 0)
            unit = Next();
        // The first unit is known by now: asking for it told whether there is a line at all.
        unit = ReadCellFrom(unit, cells[index]);
        isInLine = unit == kTab;
    }
    if (isInLine && unit != kLineFeed)
        SkipLine();
    return true;
}

WChar LanguageReader::ReadCell(WString& cell)
{
    return ReadCellFrom(Next(), cell);
}

void LanguageReader::SkipLine()
{
    WChar unit = Next();
    while (unit != kLineFeed && unit != kEndOfFile)
        unit = Next();
}

WChar LanguageReader::Next()
{
    while (m_begin != m_end || Fill()) {
        const WChar unit = m_piece[m_begin++];
        if (unit != 0)
            return unit;
    }
    return kEndOfFile;
}

// Reads the next piece of a line. False at the end of the stream.
bool LanguageReader::Fill()
{
    if (m_stream == nullptr)
        return false;
    m_begin = m_end = 0;
    // A piece may hold 0 units, so its end is the last 0, found before what was filled in here: a
    // unit that is not 0 and that no piece holds, as the function stops at it.
    static_assert(kEndOfFile == 0xFFFF);
    std::memset(m_piece, 0xFF, static_cast<std::size_t>(m_room) * sizeof(WChar));
    const bool isRead = platform::ReadText(m_stream, m_piece, m_room);
    if (isRead) {
        const std::size_t firstZero = platform::Length(m_piece); // mostly the only one
        const WChar* const behind =
            std::find(m_piece + firstZero + 1, m_piece + m_room, kEndOfFile);
        m_end = static_cast<std::size_t>(behind - m_piece) - 1;
        m_hasBackslash = HasUnit({m_piece, m_end}, kBackslash);
        if (m_piece[m_end - 1] == kLineFeed) // nearly all: nothing else ended it
            return true;
    }
    m_isTorn = std::ferror(m_stream) != 0;
    const bool isLast = m_isTorn || std::feof(m_stream) != 0;
    if (!isRead && isLast)
        return false;
    // A piece that ends early, but not with a line feed, was ended by U+FFFF.
    const bool isFull = m_end == static_cast<std::size_t>(m_room) - 1;
    if (!isLast && !isFull)
        m_piece[m_end++] = kLineFeed;
    return true;
}

// `first` was taken from the piece just now, unless it is the end of the file.
WChar LanguageReader::ReadCellFrom(WChar first, WString& cell)
{
    if (EndsCell(first)) {
        cell.Clear();
        return first;
    }
    m_cell.clear();
    WChar unit = first == kQuote ? ReadQuoted() : first;
    while (!EndsCell(unit)) {
        const std::size_t begin = m_begin - 1;
        PassPlain();
        if (m_cell.empty() && m_begin != m_end && EndsCell(m_piece[m_begin])) {
            // All of the cell is here, as nearly always: a 0 makes a text of it.
            unit = std::exchange(m_piece[m_begin], WChar(0));
            Assign(cell, {m_piece + begin, m_begin++ - begin}, m_hasBackslash);
            return unit;
        }
        m_cell.append(m_piece + begin, m_begin - begin);
        unit = Next();
    }
    Assign(cell, m_cell, true);
    return unit;
}

// The unit behind the closing quote. A quote that nothing closes goes on to the end of the file.
WChar LanguageReader::ReadQuoted()
{
    for (WChar unit = Next(); unit != kEndOfFile; unit = Next()) {
        if (unit == kQuote) {
            unit = Next();
            if (unit != kQuote)
                return unit;
        }
        m_cell += unit;
    }
    return kEndOfFile;
}

// To the end of what the piece holds of the cell, as far as nothing in it needs a look.
void LanguageReader::PassPlain()
{
    assert(m_begin <= m_end && m_end <= kPieceRoom);
    const WChar* const last = m_piece + m_end;
    const WChar* end = m_piece + m_begin;
    // Behind the last unit a 0 stands, or it is a line feed: that ends the last block, too. No
    // piece holds U+FFFF.
    while (end != last) {
        const std::size_t plain = platform::UnitsWithin(end, kLineFeed + 1, kEndOfFile);
        end += plain;
        if (plain == kBlockUnits)
            continue;
        if (*end == 0 || EndsCell(*end))
            break;
        ++end;
    }
    m_begin = static_cast<std::size_t>(end - m_piece);
}
