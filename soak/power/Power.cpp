// What power.py records, and who looks at what it replays:
//
//     qdpower list                          the operations, a line each, with what they promise
//     qdpower save FOLDER NAME FIRST LAST   saves those numbers, with a call of `getppid` before
//                                           the first and behind each that was acknowledged
//     qdpower judge                         for each line "FOLDER <tab> NAME" of the input the
//                                           number that the folder holds (-1: torn), then what a
//                                           next save was acknowledged with (1 or 0), was to leave,
//                                           and left; and how many drafts stay behind it
//
// A folder is judged by a process of its own, which forgets it and may crash.

#include "core/archive/BArchive.h"
#include "core/base/ErrorCodes.h"
#include "core/file/BDirEntry.h"
#include "core/file/BFile.h"
#include "core/language/BLanguageMap.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BProfile.h"
#include "core/tree/BNode.h"
#include "support/SaveArchive.h"

#include "soak/Processes.h"
#include "soak/SavedFiles.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <spawn.h>
#include <string>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

// --- a file system of another machine: the registry keeps its old pages there --------------------

namespace {
bool g_isRemote = false;
} // namespace

extern "C" int statfs(const char* path, struct statfs* status) noexcept
{
    const long result = ::syscall(SYS_statfs, path, status);
    if (g_isRemote && result == 0)
        status->f_type = 0x6969; // NFS
    return static_cast<int>(result);
}

namespace {

// --- what Death.cpp does not save ----------------------------------------------------------------
// -----------------------------------------------------------------

const SavedFile& Shared(const char* name)
{
    return *std::ranges::find_if(
        SavedFiles(), [&](const SavedFile& file) { return std::strcmp(file.name, name) == 0; });
}

std::string Numbered(const char* name, int number)
{
    return name + std::to_string(number);
}

// The last number from 1 on that all numbers to it hold for.
template <class Holds>
int LastOf(Holds holds)
{
    int number = 0;
    while (holds(number + 1))
        ++number;
    return number;
}

bool SaveInPlace(const fs::path& folder, int worker, int number)
{
    BArchive archive(Wide(folder / "document.qda"), BArchive::ModeWrite, "class Document", 1);
    InsertPieces(archive, worker + number);
    return archive.Flush();
}

// From the second number on, as before there is no folder.
bool SaveInNewFolder(const fs::path& folder, int worker, int number)
{
    const fs::path place = folder / "new";
    return number == 1 || ((fs::is_directory(place) || BDirEntry(Wide(place)).MakeDir()) &&
                           Shared("archive").save(place, worker, number));
}

std::optional<int> ReadInNewFolder(const fs::path& folder, int worker, int floor)
{
    return fs::exists(folder / "new/document.qda")
               ? Shared("archive").read(folder / "new", worker, floor)
               : 1;
}

// Defaults that reading fills in, each behind the last one: over the end of a sector, and then of a
// page of memory.
const WString kDefault(QD_W("Default")), kLong(QD_W("Long"));
constexpr unsigned kLongLength = 1600, kNameLength = 150;

WString TextOf(unsigned length, int number = 0)
{
    WString text;
    text.Fill(length, QD_W('x'));
    return WString::FromInt(number) + text;
}

bool FillIn(const fs::path& folder, int, int number)
{
    BProfile profile(Wide(folder / "defaults.ini"), ProfileReadWrite);
    profile.SetSection(kDefault);
    if (number == 1 && !profile.WriteString(kLong, TextOf(kLongLength)))
        return false;
    return profile.ReadInt(TextOf(kNameLength, number), number) == number;
}

std::optional<int> ReadDefaults(const fs::path& folder, int, int)
{
    BProfile profile(Wide(folder / "defaults.ini"), ProfileReadOnly);
    profile.SetSection(kDefault);
    const int last = LastOf(
        [&](int number) { return profile.ReadInt(TextOf(kNameLength, number), -1) == number; });
    const WString first = profile.ReadString(kLong, WString());
    return first.IsEmpty() || first == TextOf(kLongLength) ? std::optional(last) : std::nullopt;
}

const WString kSection(QD_W("Section")), kKey(QD_W("Key")), kPassing(QD_W("Passing"));
constexpr const char* kEightBit = "\xE4 text that has a line\r\n";
constexpr int kTexts = 9;

// Makes 8-bit texts when it is called for the first, and converts one.
bool ConvertText(const fs::path& folder, int, int number)
{
    for (int i = 1; number == 1 && i <= kTexts; ++i)
        std::ofstream(folder / Numbered("text", i), std::ios::binary) << kEightBit;
    return BFile::ConvertToUnicode(Wide(folder / Numbered("text", number))) == kErrorNone;
}

std::string BytesOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::optional<int> ReadConverted(const fs::path& folder, int, int)
{
    std::string wide("\xFF\xFE");
    for (const char* byte = kEightBit; *byte != '\0'; ++byte)
        wide.append({*byte, '\0'});
    int wholeCount = 0;
    for (int i = 1; i <= kTexts; ++i) {
        const std::string bytes = BytesOf(folder / Numbered("text", i));
        wholeCount += bytes == kEightBit || bytes == wide ? 1 : 0;
    }
    const int last =
        LastOf([&](int number) { return BytesOf(folder / Numbered("text", number)) == wide; });
    return wholeCount == kTexts ? std::optional(last) : std::nullopt;
}

bool Export(const fs::path& folder, int worker, int number)
{
    BLanguageMap map;
    const WString text = WString::FromInt(worker + number);
    for (int i = 0; i < kPieces; ++i)
        map.Add(WString(QD_W("$ID_")) + WString::FromInt(i), text, text, true, false);
    fs::create_directory(folder / "merged"); // where the merged ones are read
    return map.ExportMapFile(Wide(folder / "merged/texts.lng")) == kErrorNone;
}

// So many writes, each for itself, that the database takes over its log meanwhile. They must come
// in their order.
constexpr int kManyValues = 400;

bool WriteManyValues(const fs::path& folder, int, int number)
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    BConfigRegistry config(kSection);
    bool isWritten = true;
    for (int i = 0; i < kManyValues; ++i)
        isWritten = config.WriteInt(WString::FromInt(i), number) == kErrorNone && isWritten;
    return isWritten;
}

std::optional<int> ReadManyValues(const fs::path& folder, int, int)
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    const BConfigRegistry config(kSection);
    const auto valueAt = [&](int i) {
        int value = 0;
        return config.ReadInt(WString::FromInt(i), value) == kErrorNone ? value : 0;
    };
    const int first = valueAt(0);
    int last = first;
    for (int i = 1; i < kManyValues; ++i) {
        const int value = valueAt(i);
        if (value > last || value < first - 1)
            return std::nullopt;
        last = value;
    }
    return last;
}

bool WriteRemotely(const fs::path& folder, int worker, int number)
{
    g_isRemote = true;
    return Shared("registry").save(folder, worker, number);
}

std::optional<int> ReadRemotely(const fs::path& folder, int worker, int floor)
{
    g_isRemote = true;
    return Shared("registry").read(folder, worker, floor);
}

/// Whether `qdinspect`, which stands beside this program, had success with these words.
bool Inspect(std::initializer_list<std::string> words)
{
    std::string program = fs::read_symlink("/proc/self/exe").replace_filename("qdinspect").string();
    std::vector<char*> arguments = {program.data()};
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    posix_spawn_file_actions_t silent;
    ::posix_spawn_file_actions_init(&silent);
    ::posix_spawn_file_actions_addopen(&silent, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const bool isDone =
        ::posix_spawn(&child, program.c_str(), &silent, nullptr, arguments.data(), environ) == 0 &&
        ::waitpid(child, &status, 0) == child && status == 0;
    ::posix_spawn_file_actions_destroy(&silent);
    return isDone;
}

// What a power failure left of it is in the way of a second try.
void RemoveOutput(const fs::path& path)
{
    fs::remove(path);
    fs::remove(path.string() + ".part");
}

bool ConvertProfile(const fs::path& folder, int, int number)
{
    const fs::path source = folder / "source.ini", made = folder / Numbered("made", number);
    if (number == 1) {
        std::ofstream file(source, std::ios::binary);
        file << "[default]\r\n";
        for (int i = 0; i < kPieces; ++i)
            file << "Key" << i << '=' << i << "\r\n";
    }
    RemoveOutput(made);
    return Inspect({"convert", source.string(), made.string()});
}

std::optional<int> ReadConvertedProfile(const fs::path& folder, int, int)
{
    const auto isWhole = [&](int number) {
        BProfile profile(Wide(folder / Numbered("made", number)), ProfileReadOnly);
        profile.SetSection(QD_W("default"));
        for (int i = 0; i < kPieces; ++i) {
            if (profile.ReadInt(i, kKey, -1) != i)
                return false;
        }
        return true;
    };
    const int last = LastOf(isWhole);
    return fs::exists(folder / Numbered("made", last + 1)) ? std::nullopt : std::optional(last);
}

bool Recover(const fs::path& folder, int worker, int number)
{
    const fs::path source = folder / "document.qda", made = folder / "recovered/document.qda";
    fs::create_directory(made.parent_path());
    if (!Shared("archive").save(folder, worker, number))
        return false;
    RemoveOutput(made);
    return Inspect({"recover", source.string(), made.string()});
}

// What was removed before another one was made is the one before.
std::optional<int> ReadRecovered(const fs::path& folder, int worker, int floor)
{
    const bool isThere = fs::exists(folder / "recovered/document.qda");
    const std::optional<int> number =
        Shared("archive").read(isThere ? folder / "recovered" : folder, worker, floor);
    return isThere || !number ? number : *number - 1;
}

// --- what they promise ---------------------------------------------------------------------------
// ----------------------------------------------------------------------------

/// What is found when the power comes back.
enum class EPromise {
    Durable, // what was acknowledged, or a later one, whole
    Atomic,  // what was there before, or a later one, whole
    Kept,    // what was there before; what was saved later may be missing, or there in part
    Nothing, // something that readers survive and the next save mends
};

struct Operation {
    SavedFile file;
    EPromise promise;
    const char* path; // that may be a link, be missing, or stay in its place; none: no variants
};

using enum EPromise;

const Operation kOperations[] = {
    {Shared("archive"), Durable, "document.qda"},
    {{"archive in a new folder", true, SaveInNewFolder, ReadInNewFolder}, Atomic, ""},
    {{"archive in place", true, SaveInPlace, Shared("archive").read}, Nothing, ""},
    {Shared("binary profile"), Durable, "settings.bin"},
    {Shared("text profile"), Nothing, "settings.ini"},
    {Shared("INI file"), Nothing, "probe.ini"},
    {{"defaults of a text profile", false, FillIn, ReadDefaults}, Nothing, "defaults.ini"},
    {Shared("language file"), Durable, "merged/texts.lng"},
    {{"exported language file", true, Export, Shared("language file").read}, Durable, ""},
    {{"converted text", false, ConvertText, ReadConverted}, Durable, ""},
    {Shared("registry"), Atomic, "registry.db"},
    {{"registry, many writes", false, WriteManyValues, ReadManyValues}, Atomic, ""},
    {{"remote registry", false, WriteRemotely, ReadRemotely}, Atomic, "registry.db"},
    {Shared("profiler log"), Kept, ""},
    {{"inspector's conversion", false, ConvertProfile, ReadConvertedProfile}, Durable, ""},
    {{"inspector's recovery", true, Recover, ReadRecovered}, Durable, ""},
};

const Operation* Find(const std::string& name)
{
    const auto* const found = std::ranges::find_if(
        kOperations, [&](const Operation& operation) { return name == operation.file.name; });
    return found != std::end(kOperations) ? found : nullptr;
}

// --- the three commands --------------------------------------------------------------------------
// ---------------------------------------------------------------------------

int List()
{
    constexpr const char* names[] = {"durable", "atomic", "kept", "nothing"};
    for (const auto& [file, promise, path] : kOperations)
        std::printf("%s\t%s\t%s\n", file.name, names[static_cast<int>(promise)], path);
    return 0;
}

int Save(const SavedFile& file, const fs::path& folder, int first, int last)
{
    ::getppid();
    for (int number = first; number <= last; ++number) {
        if (!file.save(folder, 0, number))
            return 1;
        ::getppid();
    }
    return 0;
}

int Read(const SavedFile& file, const fs::path& folder)
{
    try {
        return file.read(folder, 0, 0).value_or(-1);
    } catch (const std::exception&) { // there is no registry, and none can be made
        return -1;
    }
}

// What changes a text profile at its end leaves drafts to those that replace it.
void ReplaceTextProfile(const fs::path& path)
{
    BProfile profile(Wide(path), ProfileReadWrite);
    profile.SetSection(kPassing);
    profile.WriteInt(kKey, 1);
    profile.DeleteSection();
}

void JudgeFolder(const Operation& operation, const fs::path& folder)
{
    ::alarm(20);
    const SavedFile& file = operation.file;
    const int number = Read(file, folder), next = (std::max)(number, 0) + 1;
    std::printf("%d", number);
    std::fflush(stdout);
    const bool isSaved = file.save(folder, 0, next);
    std::printf(" %d %d %d", isSaved, next, Read(file, folder));
    if (const fs::path path(operation.path); path.extension() == ".ini")
        ReplaceTextProfile(folder / path);
    std::printf(" %d", DraftCount(folder));
    std::fflush(stdout);
}

int Judge()
{
    for (std::string folder, name; std::getline(std::getline(std::cin, folder, '\t'), name);) {
        const Operation* const operation = Find(name);
        const pid_t child = Fork([&] { JudgeFolder(*operation, folder); });
        int status = 0;
        ::waitpid(child, &status, 0);
        std::printf(WIFEXITED(status) ? "\n" : " ended by a signal\n");
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    const auto argument = [&](int i) { return std::string(i < count ? arguments[i] : ""); };
    if (argument(1) == "list")
        return List();
    if (argument(1) == "judge")
        return Judge();
    const Operation* const operation = Find(argument(3));
    if (argument(1) != "save" || operation == nullptr)
        return 2;
    return Save(operation->file, argument(2), std::atoi(arguments[4]), std::atoi(arguments[5]));
}
