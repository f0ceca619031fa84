#pragma once

#include "core/platform/WideText.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

/// What an inspection tells: prints line by line, and remembers whether there was damage.
class Report {
public:
    explicit Report(std::ostream& out)
        : m_out(out)
    {}

    [[nodiscard]] std::ostream& Line() { return m_out; }
    /// Begins a line that tells what is damaged at that byte, or in that line, of the file.
    [[nodiscard]] std::ostream& DamageAt(std::uint64_t position);
    [[nodiscard]] std::ostream& DamageInLine(std::uint64_t number);

    [[nodiscard]] bool IsWhole() const noexcept { return m_isWhole; }

private:
    std::ostream& m_out;
    bool m_isWhole = true;
};

/// A text as a report shows it: UTF-8 in quotes, with escapes for what a terminal does not print as
/// it is, so that no file can act on the terminal.
[[nodiscard]] std::string Quoted(platform::WideView text);
/// A text in the ANSI code page.
[[nodiscard]] std::string Quoted(std::string_view text);
