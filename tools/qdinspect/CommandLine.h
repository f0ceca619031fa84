#pragma once

#include "tools/qdinspect/FileKind.h"

#include <CLI/CLI.hpp>
#include <map>
#include <optional>
#include <string>
#include <vector>

enum class ECommand { Show, Check, Lint, Export, Recover, Convert, Diff };

enum class EColour { Auto, Always, Never };

/// What the caller asks for.
struct Options {
    std::string path;
    std::string newPath;               // to write to, or to compare with
    EKind kind = EKind::Unknown;       // by the content
    std::vector<std::string> sources;  // folders to look for keys in
    EKind newKind = EKind::Unknown;    // to convert to: the same
    std::optional<EEncoding> encoding; // to convert from: by the content
    bool showsAll = false;
    bool asPage = false; // not as JSON
    EColour colour = EColour::Auto;
    bool hasColours = false; // what comes of it where the output goes
    ECommand command = ECommand::Show;
};

/// The kinds of files by the names that the command line has for them.
[[nodiscard]] const std::map<std::string, EKind>& Kinds();

/// Tells `app` all that the command line may hold; parsing then fills `options`.
void DescribeCommands(CLI::App& app, Options& options);

/// The arguments as `app` parses them: `show` is the command when none is named.
[[nodiscard]] std::vector<std::string> ArgumentsFor(const CLI::App& app,
                                                    std::vector<std::string> arguments);
