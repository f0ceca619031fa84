#pragma once

#include "core/base/BArray.h"
#include "core/base/WString.h"
#include "core/language/LanguageReader.h"
#include "core/platform/FileStream.h"
#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class BlockReader;

/// A line of a language file as its reader takes it: a cell in quotes may have line ends in it.
struct LanguageLine {
    platform::WideText text;  // without its end
    std::uint64_t number = 0; // where it begins, counted from 1 by the file's line feeds
    bool isMended = false;    // a quote that nothing closed was closed
};

/// Takes a language file's text line by line.
class LanguageText {
public:
    /// Whether a quote that takes the next entry into its cell is closed at the next tab or line
    /// end; otherwise lines are those that the reader takes.
    enum class EOpenQuotes { AsTheyAre, Closed };

    /// The text stays the caller's and outlives this.
    LanguageText(platform::WideView text, EOpenQuotes quotes)
        : m_rest(text)
        , m_closes(quotes == EOpenQuotes::Closed)
    {}

    /// False when no line is left.
    [[nodiscard]] bool Next(LanguageLine& line);

private:
    /// Where the line ends; adds to `closed` where a quote is wanted.
    [[nodiscard]] std::size_t EndOfLine(std::vector<std::size_t>& closed) const;
    /// Behind the quote that closes the cell in quotes that begins there; `npos` where none does.
    [[nodiscard]] std::size_t EndOfQuotes(std::size_t begin) const;

    platform::WideView m_rest;
    bool m_closes;
    std::uint64_t m_number = 1;
};

/// Whether a line is an entry: a key and a tab, at least.
[[nodiscard]] bool IsEntry(platform::WideView line);

/// The entries of a language file as the library's reader gives them, with their lines.
class LanguageEntries {
public:
    LanguageEntries(BlockReader& file, const platform::WideText& path);

    /// Goes to the next entry. False when there is none.
    [[nodiscard]] bool Next();

    /// Key, default text and translation.
    [[nodiscard]] const BArray<WString>& Cells() const noexcept { return m_cells; }
    [[nodiscard]] std::uint64_t Line() const noexcept { return m_line.number; }

private:
    platform::Stream m_stream;
    LanguageReader m_reader;
    platform::WideText m_text;
    LanguageText m_lines;
    BArray<WString> m_cells;
    LanguageLine m_line;
};
