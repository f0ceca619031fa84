#include "tools/qdinspect/CommandLine.h"

#include <algorithm>
#include <cstdint>
#include <utility>

// The commands, their options and their examples: the one description that parses the command line
// and prints the help.

namespace {

constexpr const char* kFooter = R"(Examples:
  qdinspect part.qda
      what an archive holds: its records and its tree of nodes
  qdinspect check settings.bin
      nothing but the damage, on the standard error output
  qdinspect recover bad.qda new.qda
      the whole records of a damaged archive
  qdinspect convert --to text settings.bin settings.ini
      a binary profile as a text profile
  qdinspect show --help
      the options of a command, and more examples

Kinds of files:
  archive, binary (profile), text (profile), language, log (of the profiler);
  the content tells which, unless --kind does

Exit codes:
  0 whole, 1 damaged (lint: or suspicious; diff: different; convert: not all),
  2 there is nothing to inspect, or the output cannot be written
)";

constexpr const char* kShowExamples = R"(Examples:
  qdinspect part.qda
      records, classes and the tree of an archive's nodes, long lists cut
  qdinspect --all german.lng
      each entry of a language file, with what is wrong with it
  qdinspect show --kind text a.ini
      takes the file for a text profile whatever it looks like
)";

constexpr const char* kCheckExamples = R"(Examples:
  qdinspect check settings.bin
      nothing but the damage, on the standard error output
  qdinspect check part.qda 2>/dev/null && cp part.qda /backup
      for a script, that goes by the exit code
)";

constexpr const char* kLintExamples = R"(Examples:
  qdinspect lint german.lng
      fails where a text is missing, an entry stands twice, or placeholders
      (%s, %d) differ between default text and translation
  qdinspect lint --sources src --sources plugins german.lng
      also entries that no source names as "$Key", and keys without an entry;
      "$Key_" stands for all keys that begin so

A line for each, "german.lng:3: what", on the standard output.

Exit codes:
  0 nothing, 1 something, 2 not to be inspected
)";

constexpr const char* kExportExamples = R"(Examples:
  qdinspect export --json part.qda > part.json
      all of it for another program, long texts of nodes cut
  qdinspect export --html part.qda > part.html
      a page for a browser that needs no other file, with a tree of nodes that
      can be searched and pictures of bit planes; it holds the first 10000 nodes,
      records, keys, entries or steps and tells how many are left out
  qdinspect export --html --all part.qda > part.html
      all of them: of a million nodes browsers make gigabytes
)";

constexpr const char* kRecoverExamples = R"(Examples:
  qdinspect recover bad.qda new.qda
      children of nodes that are lost stand below a node "recovered"
  qdinspect recover --kind text bad.ini new.ini
      the lines that can be read, as UTF-16, where the beginning tells no kind any more
)";

constexpr const char* kConvertExamples = R"(Examples:
  qdinspect convert old.bin new.bin
      a binary profile with narrow keys as one with wide keys
  qdinspect convert --to text settings.bin settings.ini
      a binary profile as a text profile, which an editor opens
  qdinspect convert --to binary settings.ini settings.bin
      and back: a value that is the text of a number, a truth or a block becomes one
  qdinspect convert --encoding utf-8 old.lng new.lng
      a text as UTF-16, which programs read whatever the code page

What the new format does not hold is told on the standard error output.

Exit codes:
  0 all is converted, 1 the new file lacks something, 2 there is no new file
)";

constexpr const char* kDiffExamples = R"(Examples:
  qdinspect diff old.ini new.ini
      keys that came, went or changed, in whatever order they stand
  qdinspect diff old.qda new.qda
      nodes by their path, with their flags and the objects that they hold, whose
      payloads are compared byte by byte; long texts by their first 1000 units
  qdinspect diff slow.log fast.log
      steps of each run, with the time since the step before
)";

// Takes one of the words for the value that it stands for. The transformers of CLI11 take the
// values' numbers, too, and tell of these in their messages.
template <class Value>
CLI::Validator OneOf(const std::map<std::string, Value>& values)
{
    const auto take = [values](std::string& word) {
        const auto found = values.find(word);
        if (found != values.end()) {
            word = std::to_string(static_cast<int>(found->second));
            return std::string();
        }
        std::string message = word + " is none of";
        for (const auto& entry : values)
            message.append(entry.first == values.begin()->first ? " " : ", ").append(entry.first);
        return message;
    };
    return {take, ""};
}

CLI::App& AddCommand(CLI::App& app, Options& options, ECommand which, const char* name,
                     const char* description, const char* examples)
{
    CLI::App& command = *app.add_subcommand(name, description);
    command.footer(examples);
    command.callback([&options, which] { options.command = which; });
    command.add_option("FILE", options.path, "The file to inspect")->required();
    command.add_option("--kind", options.kind, "Take the file for one of this kind")
        ->transform(OneOf(Kinds()))
        ->type_name("archive|binary|text|language|log");
    return command;
}

void AddColour(CLI::App& command, Options& options)
{
    using Colours = std::map<std::string, EColour>;
    const Colours colours = {
        {"auto", EColour::Auto}, {"always", EColour::Always}, {"never", EColour::Never}};
    command
        .add_option(
            "--color", options.colour,
            "Whether what is wrong is coloured; otherwise on a terminal, unless NO_COLOR is "
            "set in the environment")
        ->transform(OneOf(colours))
        ->type_name("auto|always|never");
}

void AddConversion(CLI::App& command, Options& options)
{
    using Profiles = std::map<std::string, EKind>;
    using Encodings = std::map<std::string, EEncoding>;
    const Profiles profiles = {{"binary", EKind::BinaryProfile}, {"text", EKind::TextProfile}};
    const Encodings encodings = {{"ansi", EEncoding::Ansi}, {"utf-8", EEncoding::Utf8}};
    command.add_option("NEWFILE", options.newPath, "The file to write; it must not exist")
        ->required();
    command
        .add_option("--to", options.newKind,
                    "The other kind of profile; without it a binary profile gets wide keys, and a "
                    "text becomes UTF-16")
        ->transform(OneOf(profiles))
        ->type_name("binary|text");
    command
        .add_option("--encoding", options.encoding,
                    "What a text without a byte-order mark is written in; otherwise a profile is "
                    "in the ANSI code page, as programs read it, and a language file in UTF-8 "
                    "where it can be")
        ->transform(OneOf(encodings))
        ->type_name("ansi|utf-8");
}

} // namespace

const std::map<std::string, EKind>& Kinds()
{
    static const std::map<std::string, EKind> kinds = {{"archive", EKind::Archive},
                                                       {"binary", EKind::BinaryProfile},
                                                       {"text", EKind::TextProfile},
                                                       {"language", EKind::Language},
                                                       {"log", EKind::Log}};
    return kinds;
}

void DescribeCommands(CLI::App& app, Options& options)
{
    app.name("qdinspect");
    app.description("Shows what a file of qdcore holds and where it is damaged.");
    app.allow_windows_style_options(false); // "/" begins a path there, too
    app.footer(kFooter);
    app.require_subcommand(1);
    app.set_version_flag("--version", "qdinspect " QD_INSPECT_VERSION);
    const auto add = [&](ECommand which, const char* name, const char* description,
                         const char* examples) -> CLI::App& {
        return AddCommand(app, options, which, name, description, examples);
    };
    CLI::App& show =
        add(ECommand::Show, "show", "Print what the file holds (the default)", kShowExamples);
    show.add_flag("--all", options.showsAll, "Print long lists whole");
    AddColour(show, options);
    AddColour(add(ECommand::Check, "check", "Print the damage alone, as messages", kCheckExamples),
              options);
    add(ECommand::Lint, "lint", "Print what is wrong or suspicious in a language file, for a CI",
        kLintExamples)
        .add_option("--sources", options.sources,
                    "Look in the files of this folder for the keys that programs use")
        ->type_name("DIR")
        ->allow_extra_args(false);
    CLI::App& exporting = add(ECommand::Export, "export",
                              "Write what the file holds to the standard output", kExportExamples);
    exporting.add_flag("--all", options.showsAll, "Write long lists whole, as --json does anyway");
    CLI::Option_group& format = *exporting.add_option_group("Format");
    format.require_option(1);
    format.add_flag(
        "--json", [](std::int64_t) {}, "As JSON, for other programs");
    format.add_flag("--html", options.asPage, "As a page for a browser");
    add(ECommand::Recover, "recover", "Write what is whole into a new file", kRecoverExamples)
        .add_option("NEWFILE", options.newPath, "The file to write; it must not exist")
        ->required();
    CLI::App& convert =
        add(ECommand::Convert, "convert", "Write a file in another format", kConvertExamples);
    AddConversion(convert, options);
    add(ECommand::Diff, "diff", "Print what differs in two files of a kind", kDiffExamples)
        .add_option("OTHER", options.newPath, "The file to compare with")
        ->required();
}

std::vector<std::string> ArgumentsFor(const CLI::App& app, std::vector<std::string> arguments)
{
    const auto isCommand = [&](const CLI::App* command) {
        return command->get_name() == arguments.front();
    };
    const bool isNamed = arguments.empty() ||
                         std::ranges::any_of(app.get_subcommands(nullptr), isCommand) ||
                         app.get_option_no_throw(arguments.front()) != nullptr;
    if (!isNamed)
        arguments.insert(arguments.begin(), "show");
    std::ranges::reverse(arguments); // as CLI11 takes them
    return arguments;
}
