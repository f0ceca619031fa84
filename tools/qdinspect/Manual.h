#pragma once

#include <CLI/App.hpp>
#include <iosfwd>
#include <string>

/// Writes what an installation has beside the program, all of it from the description of the
/// command line: "man" for a manual page, "bash" or "zsh" for the completion of these shells. False
/// for anything else.
[[nodiscard]] bool WriteManual(const CLI::App& app, const std::string& what, std::ostream& out);
