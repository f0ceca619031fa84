#pragma once

#include <string>
#include <vector>

// What the tool asks of the system's terminals. One header, and a side for each system in the
// folders `win32` and `posix`.

/// The arguments behind the program's name, as UTF-8. A Windows program is handed them in the ANSI
/// code page, which does not have every character of a file's name.
[[nodiscard]] std::vector<std::string> Utf8Arguments(int argc, char** argv);

enum class EStream { Out, Err };

/// Whether what is written there is shown on a terminal.
[[nodiscard]] bool IsTerminal(EStream stream) noexcept;

/// As long as it lives, UTF-8 and the sequences that change colours are shown as they are meant by
/// the terminals that the standard streams lead to. No file that is opened meanwhile takes the
/// place of a standard stream that is closed.
///
/// Not done by a manifest that makes UTF-8 the program's code page: 8-bit files are in the
/// system's.
class ConsoleMode {
public:
    ConsoleMode() noexcept;
    ~ConsoleMode(); // NOLINT(performance-trivially-destructible): it is not on Windows
    ConsoleMode(const ConsoleMode&) = delete;
    ConsoleMode& operator=(const ConsoleMode&) = delete;

    /// Whether the terminal knows the sequences that change colours.
    [[nodiscard]] bool HasColours(EStream stream) const noexcept;

private:
    // Only Windows has something to restore.
    [[maybe_unused]] unsigned int m_oldCodePage = 0; // 0 where there is none
    [[maybe_unused]] unsigned long m_oldModes[2] = {};
    bool m_hasColours[2] = {};
};
