// qdinspect shows what a file of the library holds, without the program that wrote it, and where it
// is damaged. The content tells its kind, unless the caller does.
//
// It is for files that a program does not open any more, so it trusts nothing in them, and goes on
// behind what is damaged as far as the format lets it.
//
// `show` prints what the file holds with the damage where it stands; `check` reads all the same and
// tells the damage alone, as messages, for a script that wants an answer and no picture; `lint`
// adds what a translator is to see.

#include "core/base/BlockReader.h"
#include "core/platform/FileStream.h"
#include "core/platform/WideText.h"

#include "tools/qdinspect/Diff.h"
#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

using platform::WideText;

constexpr int kWhole = 0;
constexpr int kDamaged = 1;
constexpr int kNothing = 2;

// Bytes; a text is taken into memory as a whole, other files piece by piece.
constexpr std::uint64_t kLargestText = 1u << 30;

constexpr const char* kExamples = R"(
Examples:
  qdinspect part.qda                 what an archive holds: its records and its tree of nodes
  qdinspect --all german.lng         each entry of a language file, with what is wrong with it
  qdinspect check settings.bin       nothing but the damage, on the standard error output
  qdinspect lint german.lng          for a script: fails where texts or placeholders are missing
  qdinspect export --json part.qda   all of it for another program, long texts of nodes cut
  qdinspect recover bad.qda new.qda  the whole records of a damaged archive; children of nodes that
                                     are lost stand below a node "recovered"
  qdinspect diff old.ini new.ini     keys that came, went or changed, in whatever order they stand
  qdinspect show --kind text a.ini   takes the file for a text profile whatever it looks like

Kinds of files: archive, binary (profile), text (profile), language, log (of the profiler).
Exit codes: 0 whole, 1 damaged (lint: or suspicious; diff: different), 2 there is nothing to inspect.
)";

enum class ECommand { Show, Check, Lint, Export, Recover, Diff };

struct Options {
    std::string path;
    std::string newPath;         // to recover to
    EKind kind = EKind::Unknown; // by the content
    bool showsAll = false;
    ECommand command = ECommand::Show;
};

int Nothing(const Options& options, const std::string& why)
{
    std::cerr << options.path << ": " << why << '\n';
    return kNothing;
}

bool IsText(EKind kind)
{
    return kind == EKind::Language || kind == EKind::TextProfile || kind == EKind::Log;
}

void InspectAs(EKind kind, BlockReader& file, const WideText& path, Report& report)
{
    switch (kind) {
    case EKind::Archive: InspectArchive(file, report); break;
    // By its path: the language map's own reader takes a text stream.
    case EKind::Language: InspectLanguageFile(path.c_str(), report); break;
    case EKind::BinaryProfile: InspectBinaryProfile(file, report); break;
    case EKind::TextProfile: InspectTextProfile(ReadText(file, kLargestText), report); break;
    case EKind::Log: InspectLog(ReadText(file, kLargestText), report); break;
    case EKind::Unknown: break;
    }
    // A cut in the middle of a unit, which the readers of texts pass over.
    file.MoveTo(0);
    const bool isWide = kind == EKind::Language ? !HasUtf8Mark(file) : HasUtf16Mark(file);
    if (IsText(kind) && isWide && file.Size() % sizeof(WChar) != 0)
        report.DamageAt(file.Size() - 1) << "half a character\n";
}

const std::map<std::string, EKind>& Kinds()
{
    static const std::map<std::string, EKind> kinds = {{"archive", EKind::Archive},
                                                       {"binary", EKind::BinaryProfile},
                                                       {"text", EKind::TextProfile},
                                                       {"language", EKind::Language},
                                                       {"log", EKind::Log}};
    return kinds;
}

std::string NameOf(EKind kind)
{
    return std::ranges::find(Kinds(), kind, [](const auto& entry) { return entry.second; })->first;
}

int Inspect(ECommand command, EKind kind, BlockReader& file, const WideText& path, bool showsAll)
{
    std::ostream silent(nullptr);
    std::ostream& out = command == ECommand::Show ? std::cout : silent;
    std::ostream& messages = command == ECommand::Show ? std::cout : std::cerr;
    Report report(out, messages, command == ECommand::Check ? silent : messages, showsAll);
    JsonExport entries(std::cout);
    if (command == ECommand::Export) {
        report.ExportTo(entries);
        entries.Property("kind", NameOf(kind));
    }
    InspectAs(kind, file, path, report);
    if (command == ECommand::Export)
        entries.End(report);
    if (command != ECommand::Export)
        messages << (report.IsWhole() ? "The file is whole.\n" : "The file is damaged.\n");
    const bool isFine = report.IsWhole() && (command != ECommand::Lint || !report.IsSuspicious());
    return isFine ? kWhole : kDamaged;
}

int Recover(const Options& options, EKind kind, BlockReader& file)
{
    const std::filesystem::path newPath(options.newPath);
    for (const char* const ending : {"", ".part"}) { // the second while it is being made
        if (std::filesystem::exists(std::filesystem::path(options.newPath + ending)))
            return Nothing(options, options.newPath + ending + " exists already");
    }
    const auto path = newPath.string<WChar>();
    if (kind != EKind::Archive && kind != EKind::BinaryProfile)
        return Nothing(options, "only archives and binary profiles can be recovered");
    const bool isDone = kind == EKind::Archive ? RecoverArchive(file, path, std::cout)
                                               : RecoverBinaryProfile(file, path, std::cout);
    return isDone ? kWhole : Nothing(options, "nothing was recovered");
}

// The kind of the second file is that of the first.
int Diff(const Options& options, EKind kind, BlockReader& file, const WideText& path)
{
    if (kind == EKind::Archive || kind == EKind::Log)
        return Nothing(options, "only profiles and language files can be compared");
    const auto otherPath = std::filesystem::path(options.newPath).string<WChar>();
    BlockReader other(platform::OpenStream(otherPath.c_str(), QD_W("rb")));
    if (!other.IsGood())
        return Nothing(options, options.newPath + " cannot be opened");
    if (options.kind == EKind::Unknown && KindOf(other) != kind)
        return Nothing(options, options.newPath + " is of another kind");
    std::ostream silent(nullptr);
    KeyedEntries before;
    KeyedEntries after;
    Report beforeReport(silent, silent, silent, true);
    beforeReport.ExportTo(before);
    InspectAs(kind, file, path, beforeReport);
    Report afterReport(silent, silent, silent, true);
    afterReport.ExportTo(after);
    other.MoveTo(0);
    InspectAs(kind, other, otherPath, afterReport);
    return before.TellDifferences(after, std::cout) ? kDamaged : kWhole;
}

int Inspect(const Options& options)
{
    const std::filesystem::path path(options.path);
    if (std::filesystem::is_directory(path))
        return Nothing(options, "it is a folder");
    const auto widePath = path.string<WChar>();
    BlockReader file(platform::OpenStream(widePath.c_str(), QD_W("rb")));
    if (!file.IsGood())
        return Nothing(options, "the file cannot be opened");
    const EKind kind = options.kind != EKind::Unknown ? options.kind : KindOf(file);
    const std::string otherwise = kind == EKind::Unknown ? WhatElse(file) : std::string();
    if (!file.IsGood())
        return Nothing(options, "the file cannot be read");
    if (kind == EKind::Unknown)
        return Nothing(options, "no kind that I know" +
                                    (otherwise.empty() ? otherwise : "; it is " + otherwise));
    if (options.command == ECommand::Lint && kind != EKind::Language)
        return Nothing(options, "it is no language file");
    if (options.command == ECommand::Recover)
        return Recover(options, kind, file);
    if (options.command == ECommand::Diff)
        return Diff(options, kind, file, widePath);
    if (IsText(kind) && file.Size() > kLargestText)
        return Nothing(options, "the file is too large for a text");
    return Inspect(options.command, kind, file, widePath, options.showsAll);
}

void AddFileOptions(CLI::App& command, Options& options)
{
    command.add_option("FILE", options.path, "The file to inspect")->required();
    command.add_option("--kind", options.kind, "Take the file for one of this kind")
        ->transform(CLI::CheckedTransformer(Kinds()).description(""))
        ->option_text("archive|binary|text|language|log");
}

// `show` is the command when none is named.
std::vector<std::string> Arguments(const CLI::App& app, int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool isNamed = arguments.empty() ||
                         std::ranges::any_of(app.get_subcommands(nullptr),
                                             [&](const CLI::App* command) {
                                                 return command->get_name() == arguments.front();
                                             }) ||
                         app.get_option_no_throw(arguments.front()) != nullptr;
    if (!isNamed)
        arguments.insert(arguments.begin(), "show");
    std::ranges::reverse(arguments); // as CLI11 takes them
    return arguments;
}

int Run(int argc, char** argv)
{
    Options options;
    CLI::App app("Shows what a file of qdcore holds and where it is damaged.", "qdinspect");
    app.allow_windows_style_options(false); // "/" begins a path there, too
    app.footer(kExamples);
    app.require_subcommand(1);
    app.set_version_flag("--version", "qdinspect " QD_INSPECT_VERSION);
    CLI::App& show = *app.add_subcommand("show", "Print what the file holds (the default)");
    AddFileOptions(show, options);
    show.add_flag("--all", options.showsAll, "Print long lists whole");
    CLI::App& check = *app.add_subcommand("check", "Print the damage alone, as messages");
    AddFileOptions(check, options);
    CLI::App& lint = *app.add_subcommand(
        "lint", "Print what is wrong or suspicious in a language file, as messages");
    AddFileOptions(lint, options);
    CLI::App& exportCommand =
        *app.add_subcommand("export", "Write what the file holds for other programs");
    AddFileOptions(exportCommand, options);
    exportCommand
        .add_flag(
            "--json", [](std::int64_t) {}, "As JSON, to the standard output")
        ->required();
    CLI::App& recover = *app.add_subcommand("recover", "Write what is whole into a new file");
    AddFileOptions(recover, options);
    recover.add_option("NEWFILE", options.newPath, "The file to write; it must not exist")
        ->required();
    CLI::App& diff = *app.add_subcommand(
        "diff", "Print the entries that differ in two profiles or language files");
    AddFileOptions(diff, options);
    diff.add_option("OTHER", options.newPath, "The file to compare with")->required();
    try {
        app.parse(Arguments(app, argc, argv));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kNothing;
    }
    if (check.parsed())
        options.command = ECommand::Check;
    else if (lint.parsed())
        options.command = ECommand::Lint;
    else if (exportCommand.parsed())
        options.command = ECommand::Export;
    else if (recover.parsed())
        options.command = ECommand::Recover;
    else if (diff.parsed())
        options.command = ECommand::Diff;
    // Such as missing memory: that says nothing of the file.
    try {
        return Inspect(options);
    } catch (const std::exception& failure) {
        return Nothing(options, failure.what());
    }
}

} // namespace

int main(int argc, char** argv)
{
    return Run(argc, argv);
}
