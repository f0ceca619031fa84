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

#include "tools/qdinspect/ArchiveDiff.h"
#include "tools/qdinspect/BinaryProfile.h"
#include "tools/qdinspect/CommandLine.h"
#include "tools/qdinspect/Console.h"
#include "tools/qdinspect/Convert.h"
#include "tools/qdinspect/Diff.h"
#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Lint.h"
#include "tools/qdinspect/LogDiff.h"
#include "tools/qdinspect/Manual.h"
#include "tools/qdinspect/Page.h"
#include "tools/qdinspect/Paths.h"
#include "tools/qdinspect/Progress.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using platform::WideText;
using platform::WideView;

constexpr int kWhole = 0;
constexpr int kDamaged = 1;
constexpr int kNothing = 2;

// Bytes; a text is taken into memory as a whole, other files piece by piece.
constexpr std::uint64_t kLargestText = 1u << 30;

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
    case EKind::Language: InspectLanguageFile(file, path, report); break;
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

// Why what stands there is not read; empty for a file, and for what opening will tell. Pipes and
// devices have no size, and would be taken for empty files.
std::string NoFile(const std::filesystem::path& path)
{
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (std::filesystem::is_directory(status))
        return "it is a folder";
    return std::filesystem::is_other(status) ? "it is a pipe or a device, and no file" : "";
}

// False, too, where nobody may look.
bool IsNoFolder(const std::filesystem::path& path)
{
    std::error_code ignored;
    const std::filesystem::file_type type = std::filesystem::status(path, ignored).type();
    return type != std::filesystem::file_type::directory &&
           type != std::filesystem::file_type::none;
}

std::string NameOf(EKind kind)
{
    return std::ranges::find(Kinds(), kind, [](const auto& entry) { return entry.second; })->first;
}

int Inspect(const Options& options, EKind kind, BlockReader& file, const WideText& path,
            Progress& progress)
{
    const bool shows = options.command == ECommand::Show;
    std::ostream silent(nullptr);
    std::ostream& messages = shows ? std::cout : std::cerr;
    Report report(shows ? std::cout : silent, messages, shows ? messages : silent,
                  options.showsAll);
    if (options.hasColours)
        report.UseColours();
    report.ShowProgressOn(progress);
    InspectAs(kind, file, path, report);
    report.TellWhole();
    return report.IsWhole() ? kWhole : kDamaged;
}

int ExportJson(const Options& options, EKind kind, BlockReader& file, const WideText& path,
               Progress& progress)
{
    std::ostream silent(nullptr);
    Report report(silent, silent, silent, options.showsAll);
    JsonExport entries(std::cout);
    report.ExportTo(entries);
    report.ShowProgressOn(progress);
    entries.Property("kind", NameOf(kind));
    InspectAs(kind, file, path, report);
    entries.End(report);
    return report.IsWhole() ? kWhole : kDamaged;
}

int Lint(const Options& options, BlockReader& file, const WideText& path)
{
    for (const std::string& folder : options.sources) {
        if (IsNoFolder(PathOf(folder)))
            return Nothing(options, folder + " is no folder");
    }
    std::ostream silent(nullptr);
    Report report(silent, std::cout, std::cout, true);
    report.TellIn(options.path);
    InspectAs(EKind::Language, file, path, report);
    if (!options.sources.empty())
        LintSources(file, path, options.sources, report);
    return report.IsWhole() && !report.IsSuspicious() ? kWhole : kDamaged;
}

// Why a new file cannot be made there; empty where it can, as far as that is told beforehand.
std::string Hindrance(const std::string& newPath)
{
    std::error_code ignored; // what stands in the way of looking is met again by writing
    for (const char* const ending : {"", ".part"}) { // the second while an archive is being made
        if (std::filesystem::exists(PathOf(newPath + ending), ignored))
            return newPath + ending + " exists already";
    }
    const std::filesystem::path folder = PathOf(newPath).parent_path();
    const bool isWrong = !folder.empty() && IsNoFolder(folder);
    return isWrong ? TextOf(folder) + " is no folder" : "";
}

// As the system looks elsewhere for a text profile whose path is not.
WideText Absolute(const std::string& path)
{
    return WideOf(std::filesystem::absolute(PathOf(path)));
}

// Reads the file twice: the page begins with what is wrong.
int ExportPage(const Options& options, EKind kind, BlockReader& file, const WideText& path,
               Progress& progress)
{
    std::ostream silent(nullptr);
    PageSurvey survey;
    Report first(silent, silent, silent, options.showsAll);
    first.ExportTo(survey);
    first.ShowProgressOn(progress);
    InspectAs(kind, file, path, first);
    const auto name = WideOf(QDToStdPath(path.c_str()).filename());
    const PageSubject subject = {.name = Utf8(WideView(name)),
                                 .kind = kind,
                                 .findings = first.Findings(),
                                 .isWhole = first.IsWhole(),
                                 .showsAll = options.showsAll};
    Page page(std::cout, subject, survey);
    Report second(silent, silent, silent, options.showsAll);
    second.ExportTo(page);
    second.ShowProgressOn(progress);
    InspectAs(kind, file, path, second);
    page.End();
    return first.IsWhole() ? kWhole : kDamaged;
}

int Recover(const Options& options, EKind kind, BlockReader& file, Progress& progress)
{
    if (const std::string hindrance = Hindrance(options.newPath); !hindrance.empty())
        return Nothing(options, hindrance);
    EOutcome outcome = EOutcome::NothingThere;
    const auto path = WideOf(PathOf(options.newPath));
    switch (kind) {
    case EKind::Archive: outcome = RecoverArchive(file, path, std::cout, progress); break;
    case EKind::BinaryProfile:
        outcome = RecoverBinaryProfile(file, path, std::cout, std::cout);
        break;
    case EKind::TextProfile: outcome = RecoverTextProfile(file, path, std::cout); break;
    case EKind::Language: outcome = RecoverLanguageFile(file, path, std::cout); break;
    default: return Nothing(options, "a log holds nothing that wants to be recovered");
    }
    if (outcome == EOutcome::Unwritten)
        return Nothing(options, options.newPath + " cannot be written");
    return outcome != EOutcome::NothingThere ? kWhole : Nothing(options, "nothing was recovered");
}

// Why a file cannot be converted as is wanted; empty where it can. The kind may be that of a text
// in an encoding that programs do not read.
std::string Obstacle(const Options& options, EKind kind, EEncoding encoding, BlockReader& file)
{
    const bool isProfile = kind == EKind::BinaryProfile || kind == EKind::TextProfile;
    if (kind == EKind::Archive)
        return "there is one format of archives alone";
    if (options.newKind != EKind::Unknown && !isProfile)
        return "only profiles become profiles";
    if (kind == EKind::BinaryProfile) {
        const bool isOld = BinaryRecords(file).HasNarrowKeys();
        file.MoveTo(0);
        return isOld || options.newKind == EKind::TextProfile ? "" : "it has wide keys already";
    }
    if (options.newKind == EKind::BinaryProfile) {
        return encoding == EEncoding::Ansi || encoding == EEncoding::Utf16
                   ? ""
                   : "convert it to UTF-16 first";
    }
    return encoding == EEncoding::Utf16 ? "it is UTF-16 already" : "";
}

EOutcome ConvertTo(const WideText& newPath, const Options& options, EKind kind, EEncoding encoding,
                   BlockReader& file)
{
    if (kind == EKind::BinaryProfile) {
        return options.newKind == EKind::TextProfile
                   ? ConvertToTextProfile(file, newPath, std::cout, std::cerr)
                   : RecoverBinaryProfile(file, newPath, std::cout, std::cerr);
    }
    const WideText text = encoding == EEncoding::Utf8 ? WideText() : ReadText(file, kLargestText);
    return options.newKind == EKind::BinaryProfile
               ? ConvertToBinaryProfile(Absolute(options.path), text, newPath, std::cout, std::cerr)
               : ConvertToUtf16(file, encoding, newPath, std::cerr);
}

int Convert(const Options& options, EKind kind, BlockReader& file)
{
    const EEncoding found = EncodingOf(file, kind);
    const EEncoding encoding = found == EEncoding::Utf16 ? found : options.encoding.value_or(found);
    const std::string obstacle = Obstacle(options, kind, encoding, file);
    if (const std::string why = obstacle.empty() ? Hindrance(options.newPath) : obstacle;
        !why.empty())
        return Nothing(options, why);
    switch (ConvertTo(Absolute(options.newPath), options, kind, encoding, file)) {
    case EOutcome::Whole: return kWhole;
    case EOutcome::Lossy: return kDamaged;
    case EOutcome::NothingThere: return Nothing(options, "nothing was converted");
    default: return Nothing(options, options.newPath + " cannot be written");
    }
}

void TakeEntries(EKind kind, BlockReader& file, const WideText& path, EntrySink& entries)
{
    std::ostream silent(nullptr);
    Report report(silent, silent, silent, true);
    report.ExportTo(entries);
    InspectAs(kind, file, path, report);
}

template <class Entries>
bool DiffEntries(EKind kind, BlockReader& file, const WideText& path, BlockReader& other,
                 const WideText& otherPath)
{
    Entries before;
    Entries now;
    TakeEntries(kind, file, path, before);
    TakeEntries(kind, other, otherPath, now);
    return before.TellDifferences(now, std::cout);
}

// The kind of the second file is that of the first.
int Diff(const Options& options, EKind kind, BlockReader& file, const WideText& path,
         Progress& progress)
{
    if (const std::string why = NoFile(PathOf(options.newPath)); !why.empty())
        return Nothing(options, options.newPath + ": " + why);
    const auto otherPath = WideOf(PathOf(options.newPath));
    BlockReader other(platform::OpenStream(otherPath.c_str(), QD_W("rb")));
    if (!other.IsGood())
        return Nothing(options, options.newPath + " cannot be opened");
    if (options.kind == EKind::Unknown && KindOf(other) != kind)
        return Nothing(options, options.newPath + " is of another kind");
    if (IsText(kind) && other.Size() > kLargestText)
        return Nothing(options, options.newPath + " is too large for a text");
    other.MoveTo(0);
    std::optional<bool> differs;
    if (kind == EKind::Archive)
        differs = TellArchiveDifferences(file, other, std::cout, progress);
    else if (kind == EKind::Log)
        differs = DiffEntries<LoggedRuns>(kind, file, path, other, otherPath);
    else
        differs = DiffEntries<KeyedEntries>(kind, file, path, other, otherPath);
    if (!differs)
        return Nothing(options, "one of the two has no records that can be compared");
    return *differs ? kDamaged : kWhole;
}

Progress::EPlace PlaceOfBar(const Options& options)
{
    if (!IsTerminal(EStream::Err))
        return Progress::EPlace::Nowhere;
    if (!IsTerminal(EStream::Out))
        return Progress::EPlace::Alone;
    // Beside what a terminal shows of a page, a bar would only be in the way.
    return options.command == ECommand::Export ? Progress::EPlace::Nowhere
                                               : Progress::EPlace::AmongOutput;
}

// A value of the JSON library takes memory when it is destroyed: where there is none for one, the
// process would be aborted. Commands that make a file have none of these.
void EndWithoutMemory()
{
    std::fputs("there is not enough memory\n", stderr);
    std::_Exit(kNothing);
}

int Inspect(const Options& options)
{
    const std::filesystem::path path = PathOf(options.path);
    if (const std::string why = NoFile(path); !why.empty())
        return Nothing(options, why);
    const auto widePath = WideOf(path);
    BlockReader file(platform::OpenStream(widePath.c_str(), QD_W("rb")));
    if (!file.IsGood())
        return Nothing(options, "the file cannot be opened");
    EKind kind = options.kind != EKind::Unknown ? options.kind : KindOf(file);
    if (kind == EKind::Unknown && options.command == ECommand::Convert)
        kind = KindInAnyEncoding(file);
    const std::string otherwise = kind == EKind::Unknown ? WhatElse(file) : std::string();
    if (!file.IsGood())
        return Nothing(options, "the file cannot be read");
    if (kind == EKind::Unknown)
        return Nothing(options, "no kind that I know" +
                                    (otherwise.empty() ? otherwise : "; it is " + otherwise));
    if (options.command == ECommand::Lint && kind != EKind::Language)
        return Nothing(options, "it is no language file");
    if (IsText(kind) && file.Size() > kLargestText)
        return Nothing(options, "the file is too large for a text");
    Progress progress(PlaceOfBar(options));
    if (options.command == ECommand::Diff || options.command == ECommand::Export)
        std::set_new_handler(&EndWithoutMemory);
    if (options.command == ECommand::Diff)
        return Diff(options, kind, file, widePath, progress);
    if (options.command == ECommand::Recover)
        return Recover(options, kind, file, progress);
    if (options.command == ECommand::Convert)
        return Convert(options, kind, file);
    if (options.command == ECommand::Export && options.asPage)
        return ExportPage(options, kind, file, widePath, progress);
    if (options.command == ECommand::Export)
        return ExportJson(options, kind, file, widePath, progress);
    if (options.command == ECommand::Lint)
        return Lint(options, file, widePath);
    return Inspect(options, kind, file, widePath, progress);
}

bool HasColours(const Options& options, const ConsoleMode& console)
{
    if (options.colour != EColour::Auto)
        return options.colour == EColour::Always;
    const char* const noColours = std::getenv("NO_COLOR");
    return (noColours == nullptr || *noColours == '\0') &&
           console.HasColours(options.command == ECommand::Show ? EStream::Out : EStream::Err);
}

int Run(std::vector<std::string> arguments)
{
    const ConsoleMode console;
    Options options;
    CLI::App app;
    DescribeCommands(app, options);
    if (arguments.size() == 2 && arguments.front() == "--make") // for the build, and not told
        return WriteManual(app, arguments.back(), std::cout) ? 0 : kNothing;
    try {
        app.parse(ArgumentsFor(app, std::move(arguments)));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kNothing;
    }
    options.hasColours = HasColours(options, console);
    // Such as missing memory: that says nothing of the file.
    try {
        return Inspect(options);
    } catch (const std::exception& failure) {
        return Nothing(options, failure.what());
    }
}

} // namespace

int main(int argc, char** argv)
try {
    const int code = Run(Utf8Arguments(argc, argv));
    // A full disk would leave whoever reads the output with a part of it for all.
    if (std::cout.flush())
        return code;
    std::cerr << "the standard output cannot be written\n";
    return kNothing;
} catch (const std::exception& failure) { // for want of memory, before there is a file
    std::cerr << failure.what() << '\n';
    return kNothing;
}
