// An operation of the library on files, tried twice, for faults.py, which makes the first try fail:
//
//     qdfaults list | prepare FOLDER | show FOLDER
//     qdfaults OPERATION FOLDER [alloc N [on] | size N]
//
// The first try is on the main thread, between two calls of `getppid`. The tracer follows that
// thread alone, so what the other one does always succeeds: it counts descriptors, prints, waits
// for a line and tries again. "alloc" fails the Nth allocation of the first try or all from there
// on, "size" lets no file grow beyond N bytes. `show` prints what the registry holds.

#include "core/archive/BArchive.h"
#include "core/base/ErrorCodes.h"
#include "core/diag/BProfiler.h"
#include "core/file/BDirEntry.h"
#include "core/file/BFile.h"
#include "core/geometry/BBitArray.h"
#include "core/language/BLanguageMap.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/OpenProfile.h"
#include "core/tree/BNode.h"
#include "support/SaveArchive.h"

#include "tests/ResourceLimit.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <latch>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

// --- allocations: the C library's own, under the names that everybody uses -----------------------

namespace {

thread_local bool t_counts = false; // this thread's allocations are counted
long g_count = 0;
long g_failing = 0; // its number; 0: none
bool g_failsOn = false;

bool Fails()
{
    if (!t_counts || (++g_count != g_failing && !(g_failsOn && g_count > g_failing)))
        return false;
    errno = ENOMEM;
    return true;
}

} // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size)
{
    return Fails() ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size)
{
    return Fails() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size)
{
    return Fails() ? nullptr : __libc_realloc(block, size);
}
}

namespace {

// --- what is worked on ------------------------------------------------------------------------

SP<BNode> Tree(int childCount)
{
    SP<BNode> root(new BNode);
    for (int i = 0; i < childCount; ++i) {
        SP<BNode> child(new BNode(new BBitArray(1, 32, 32)));
        child->SetText(root->ChildTextSuggestion(QD_W("Plane")));
        root->AddChild(child.Get(), -1);
    }
    return root;
}

/// What an operation works on, made before anything fails: a text that gets no memory is empty.
struct Place {
    explicit Place(const fs::path& path)
        : folder(path)
    {
        ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    }
    [[nodiscard]] WString Wide(const char* name) const
    {
        return WString((folder / name).u16string().c_str());
    }

    fs::path folder;
    const WString ini = Wide("settings.ini"), bin = Wide("settings.bin"), text = Wide("text.txt"),
                  document = Wide("document.qda"), language = Wide("translated/texts.lng"),
                  master = Wide("master"), translated = Wide("translated"), merged = Wide("merged"),
                  logs = Wide("logs/"), texts = Wide("*.txt");
    const BDirEntry newFolder{Wide("some/more/folders")};
    const SP<BNode> tree = Tree(40);
};

using At = const Place&;

const WString kSection(QD_W("Section2")), kKey(QD_W("Key7")), kMissing(QD_W("Missing")),
    kText(QD_W("text")), kGreek(QD_W("\x03B1")), kNumber(QD_W("7")),
    kRegistryKey(QD_W("Software\\Test")), kFile(QD_W("texts.lng")), kPattern(QD_W("*.lng"));
const BString kDocClass("class Document");

/// What an operation tells its caller.
struct Answer {
    const char* success = "-"; // the interface does not say
    long long found = 0;
};

Answer Done(bool isDone, long long found = 0)
{
    return {isDone ? "yes" : "no", found};
}

Answer Found(long long found)
{
    return {"-", found};
}

bool Save(At at, BNode* root)
{
    BArchive archive(at.document, BArchive::ModeWrite, kDocClass, 1);
    archive.Insert(root, "root");
    return archive.Flush();
}

Answer Log(At at)
{
    BProfiler::SetLogfilePath(at.logs);
    BProfiler::Start(kText);
    for (int i = 0; i < 200; ++i) // more than a stream's buffer takes
        BProfiler::Step(kKey);
    BProfiler::Stop(kText);
    return {};
}

void Prepare(At at)
{
    BBinProfile profile(at.bin, ProfileNew);
    BConfigRegistry config(kRegistryKey);
    WString longText; // so that a stream's buffer holds but a part of the file
    longText.Fill(200, QD_W('x'));
    for (int i = 0; i < 30; ++i) {
        profile.WriteInt(i, kKey, i);
        profile.WriteString(i, kText, longText);
        config.WriteInt(WString::FromInt(i), i);
    }
    Save(at, Tree(20).Get());
    Log(at);
}

void ShowRegistry(At at)
{
    const bool isThere = fs::exists(at.folder / "registry.db"); // reading would make it
    std::optional<BConfigRegistry> config;
    for (int i = 0; i < 30; ++i) {
        int value = -1;
        if (isThere)
            (config ? *config : config.emplace(kRegistryKey)).ReadInt(WString::FromInt(i), value);
        std::cout << value << ' ';
    }
}

// --- operations ----------------------------------------------------------------------------------

struct Text : BProfile {
    explicit Text(At at)
        : BProfile(at.ini, ProfileReadWrite)
    {
        SetSection(kSection);
    }
};

BIniProfile Ini(At at)
{
    return BIniProfile(at.ini, kSection, true);
}

Answer ReadIni(At at, const WString& key)
{
    int value = 5;
    const bool isDone = Ini(at).Read(key, value, 0, 1000);
    return Done(isDone, value);
}

Answer Load(At at)
{
    BArchive archive(at.document, BArchive::ModeRead, kDocClass, 1);
    const SP<BSmartObj> object = archive.TakeOut("root");
    const auto* const root = dynamic_cast<BNode*>(object.Get());
    long long found = 0;
    for (int i = 0; root != nullptr && i < root->ChildNum(); ++i)
        found += static_cast<long long>(root->Child(i)->GetText().Length()) +
                 (root->Child(i)->GetObj() != nullptr ? 1000 : 0);
    return Done(root != nullptr, found);
}

Answer WriteRegistry(At)
{
    return Done(BConfigRegistry(kRegistryKey).WriteInt(kNumber, 5) == kErrorNone);
}

Answer ReadRegistry(At)
{
    int value = -1;
    const int code = BConfigRegistry(kRegistryKey).ReadInt(kNumber, value);
    return Done(code == kErrorNone, value);
}

Answer Import(const WString& path, bool isFolder)
{
    BLanguageMap map;
    const int code = isFolder ? map.ImportMapFiles(path, kPattern, nullptr, true)
                              : map.ImportMapFile(path, nullptr, true, true);
    return Done(code == 0, static_cast<long long>(map.StdDefaultMap().Count()));
}

Answer Merge(At at, const WString& output)
{
    int newEntries = 0;
    const int code =
        BLanguageMap::MergeMapFile(at.master, at.translated, output, kFile, newEntries);
    return Done(code == 0, newEntries);
}

struct Operation {
    const char* name;
    Answer (*run)(At);
};

const Operation kOperations[] = {
    {"text-read", [](At at) { return Found(Text(at).ReadInt(kKey, -1)); }},
    {"text-read-default", [](At at) { return Found(Text(at).ReadInt(kMissing, 5)); }},
    {"text-write", [](At at) { return Done(Text(at).WriteInt(kKey, 5)); }},
    {"text-write-unicode", // which makes the file UTF-16
     [](At at) { return Done(Text(at).WriteString(kKey, kGreek)); }},
    {"text-new", [](At at) { return BProfile(at.ini, ProfileNew).SetSection(kSection), Answer(); }},
    {"text-delete-key", [](At at) { return Text(at).DeleteKey(kKey), Answer(); }},
    {"text-delete-section", [](At at) { return Text(at).DeleteSection(), Answer(); }},
    {"ini-read", [](At at) { return ReadIni(at, kKey); }},
    {"ini-read-default", [](At at) { return Found(ReadIni(at, kMissing).found); }},
    {"ini-write", [](At at) { return Done(Ini(at).Write(kKey, 2.5)); }},
    {"ini-delete-key", [](At at) { return Ini(at).DeleteKey(kKey), Answer(); }},
    {"ini-delete-section", [](At at) { return Done(Ini(at).DeleteSection(kSection)); }},
    {"profile-open",
     [](At at) {
         const SP<BProfileBase> profile = OpenProfile(at.bin);
         return Found(profile.Get() != nullptr ? profile->ReadInt(29, kKey, -1) : -1);
     }},
    {"binary-load",
     [](At at) { return Found(BBinProfile(at.bin, ProfileReadOnly).ReadInt(29, kKey, -1)); }},
    {"binary-modify",
     [](At at) { return BBinProfile(at.bin, ProfileReadWrite).WriteInt(kKey, 5), Answer(); }},
    {"binary-new",
     [](At at) { return BBinProfile(at.bin, ProfileNew).WriteInt(kKey, 5), Answer(); }},
    {"registry-read", ReadRegistry},
    {"registry-write", WriteRegistry},
    {"archive-save!", // in place: half a document is what its header warns of
     [](At at) { return Done(Save(at, at.tree.Get())); }},
    {"archive-load", Load},
    {"support-save",
     [](At at) {
         const auto insert = [&](BArchive& archive) { archive.Insert(at.tree.Get(), "root"); };
         return Done(SaveArchive(at.document, kDocClass, 1, insert));
     }},
    {"language-import", [](At at) { return Import(at.language, false); }},
    {"language-import-all", [](At at) { return Import(at.translated, true); }},
    {"language-export", [](At at) { return Done(BLanguageMap().ExportMapFile(at.language) == 0); }},
    {"language-merge", [](At at) { return Merge(at, at.merged); }},
    {"language-merge-own", [](At at) { return Merge(at, at.translated); }},
    {"convert", [](At at) { return Done(BFile::ConvertToUnicode(at.text) == 0); }},
    {"log!", Log}, // grows in place
    {"file-ask",
     [](At at) {
         return Found(BFile::Exist(at.text) + BFile::Exist(at.texts) + BFile::Size(at.text) +
                      BFile::IsDirectory(at.text) + BFile::IsUnicode(at.text) +
                      BDirEntry(at.text).Exists());
     }},
    {"file-delete", [](At at) { return Done(BFile::Delete(at.texts) > 0); }},
    {"make-folder!", // its parents may stay
     [](At at) { return Done(at.newFolder.MakeDir() || at.newFolder.Exists()); }},
};

// --- two tries -----------------------------------------------------------------------------------

Answer Try(const Operation& operation, At place)
{
    try {
        return operation.run(place);
    } catch (...) {
        return Done(false);
    }
}

long DescriptorCount()
{
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

void Print(const char* which, const Answer& answer)
{
    std::cout << which << ' ' << answer.success << ' ' << answer.found << std::endl;
}

void TryTwice(const Operation& operation, At place, long sizeLimit)
{
    Answer answer;
    std::latch begin(1), end(1);
    std::thread witness([&] {
        const long before = DescriptorCount();
        begin.count_down();
        end.wait();
        std::cout << "descriptors " << DescriptorCount() - before << "\nallocations " << g_count
                  << '\n';
        Print("first", answer);
        std::cin.get();
        Print("second", Try(operation, place));
    });
    begin.wait();
    {
        std::optional<ResourceLimit> limit;
        if (sizeLimit >= 0)
            limit.emplace(RLIMIT_FSIZE, static_cast<rlim_t>(sizeLimit));
        ::getppid();
        t_counts = true;
        answer = Try(operation, place);
        t_counts = false;
        ::getppid();
    }
    end.count_down();
    witness.join();
}

} // namespace

int main(int count, char** arguments)
{
    const auto argument = [&](int i) { return std::string(i < count ? arguments[i] : ""); };
    const std::string what = argument(1), fault = argument(3);
    const Place place(argument(2));
    const long number = std::atol(argument(4).c_str());
    if (what == "prepare")
        Prepare(place);
    else if (what == "show")
        ShowRegistry(place);
    g_failing = fault == "alloc" ? number : 0;
    g_failsOn = argument(5) == "on";
    for (const Operation& operation : kOperations) {
        if (what == "list")
            std::cout << operation.name << '\n';
        else if (what == operation.name)
            TryTwice(operation, place, fault == "size" ? number : -1);
    }
    return 0;
}
