#pragma once

#include "core/base/BArray.h"
#include "core/base/WString.h"
#include "core/platform/UnitBlock.h"
#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdio>

/// Reads a language file cell by cell from a Unicode text stream.
///
///     line    cells with tabs between them, up to a line feed or the end of the file
///     cell    text, or a double quote, text, a double quote, text
///     text    between the quotes any, "" standing for one quote; elsewhere up to a tab or the
///             line's end; the escapes of `WString::ResolveEsc` count everywhere
///
/// A 0 unit is skipped. U+FFFF, which a stream cannot tell from its end, ends the line.
class LanguageReader {
public:
    /// What ends the last cell of a file.
    static constexpr WChar kEndOfFile = 0xFFFF;

    /// Whether the stream may be read beyond what was asked for.
    enum class EReadAhead { No, Yes };

    /// A null stream is at its end.
    LanguageReader(std::FILE* stream, EReadAhead readAhead) noexcept;

    /// Reads a line into exactly `count` cells: missing ones are empty, further ones skipped. False
    /// when no unit is left.
    [[nodiscard]] bool ReadLine(BArray<WString>& cells, std::size_t count);
    /// The unit that ended the cell: a tab, a line feed or `kEndOfFile`.
    WChar ReadCell(WString& cell);
    void SkipLine();

    /// Whether the stream failed: the last line was cut off then, and is none.
    [[nodiscard]] bool IsTorn() const noexcept { return m_isTorn; }

private:
    static constexpr int kPieceRoom = 256; // most lines are shorter

    [[nodiscard]] WChar Next();
    [[nodiscard]] bool Fill();
    [[nodiscard]] WChar ReadCellFrom(WChar first, WString& cell);
    [[nodiscard]] WChar ReadQuoted();
    void PassPlain();

    std::FILE* m_stream;
    int m_room;
    std::size_t m_begin = 0, m_end = 0; // units of the piece that are still to come
    bool m_isTorn = false;
    bool m_hasBackslash = false; // the piece; most have none, and no cell is then searched for one
    // Read on past its end by blocks. It is filled by whole lines of the cache and read at once:
    // what lay across two of them would have to wait for both.
    alignas(64) WChar m_piece[kPieceRoom + platform::kBlockUnits] = {};
    platform::WideText m_cell; // the one that is being read
};
