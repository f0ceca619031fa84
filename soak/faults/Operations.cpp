#include "soak/faults/Operations.h"

#include "core/archive/BArchive.h"
#include "core/base/ErrorCodes.h"
#include "core/diag/BProfiler.h"
#include "core/file/BFile.h"
#include "core/geometry/BBitArray.h"
#include "core/language/BLanguageMap.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/OpenProfile.h"
#include "support/SaveArchive.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>

// A line of the table is an operation. It is to find all its texts in constants: what it makes of
// them itself may be lost for want of memory, without the library's knowing.

namespace fs = std::filesystem;

namespace {

using At = const Place&;
using ETold = Answer::ETold;

const WString kSection(QD_W("Section2")), kLastSection(QD_W("Section3")), kKey(QD_W("Key7")),
    kMissing(QD_W("Missing")), kWord(QD_W("Word")), kText(QD_W("text")), kGreek(QD_W("\x03B1")),
    kNumber(QD_W("7")), kRegistryKey(QD_W("Software\\Test")), kChild(QD_W("Child")),
    kFile(QD_W("texts.lng")), kPattern(QD_W("*.lng")), kBlock(QD_W("Block")),
    kLanguageKey(QD_W("$IDS_Added")), kPlainKey(QD_W("$Added")), kUpdate(QD_W("r+b")),
    kAppendText(QD_W("a+,ccs=UTF-8"));
const BString kDocClass("class Document");

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

Answer Done(bool isDone, long long found = 0)
{
    return {isDone ? ETold::Yes : ETold::No, found};
}

Answer Found(long long found)
{
    return {ETold::Nothing, found};
}

// A value, or the default where the class told a failure.
Answer Is(int value, int wanted)
{
    return Done(value == wanted, value);
}

// --- text profiles -------------------------------------------------------------------------------

struct Text : BProfile {
    explicit Text(const WString& path)
        : BProfile(path, ProfileReadWrite)
    {
        SetSection(kSection);
    }
    explicit Text(At at)
        : Text(at.ini)
    {}
};

// What cannot be told by an answer is told by the problem.
Answer Told(const BProblem& problem, long long found = 0)
{
    return Done(!problem, found);
}

template <class Work>
Answer InText(At at, Work work)
{
    Text profile(at);
    work(profile);
    return Told(profile.Problem());
}

// To the end of the file.
Answer AddToText(At at, const WString& key)
{
    Text profile(at);
    profile.SetSection(kLastSection);
    return Done(profile.WriteInt(key, 5));
}

// Its line goes on in the next page of memory, wherever it begins.
const WString kLongKey = [] {
    WString key;
    key.Fill(4096, QD_W('x'));
    return key;
}();

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

template <class Value>
Answer ReadIniDefault(At at, const WString& key, Value value)
{
    Ini(at).Read(key, value);
    return Found(static_cast<long long>(value));
}

Answer ListIni(At at)
{
    BArray<WString> sections, keys;
    const BIniProfile profile = Ini(at);
    const bool isDone = profile.GetSections(sections) && profile.LoadSection(kSection, &keys);
    return Done(isDone, static_cast<long long>(1000 * sections.Count() + keys.Count()));
}

// --- binary profiles -----------------------------------------------------------------------------

Answer ReadBinary(const WString& path)
{
    BBinProfile profile(path, ProfileReadOnly);
    const int value = profile.ReadInt(29, kKey, -1);
    return Told(profile.Problem(), value);
}

Answer SaveBinary(const WString& path, EProfileMode mode)
{
    BBinProfile profile(path, mode);
    const bool isTaken = profile.WriteInt(kKey, 5);
    return Done(isTaken && profile.Save());
}

// The settings of a former version: narrow keys.
void MakeOldProfile(const fs::path& path)
{
    std::ofstream file(path, std::ios::binary);
    const auto put = [&](std::uint32_t word) {
        file.write(reinterpret_cast<const char*>(&word), sizeof word);
    };
    put(0x59414C05);
    for (int i = 0; i < 30; ++i) {
        const std::string key = "[default]key7" + std::to_string(i);
        const auto length = static_cast<std::uint32_t>(key.size());
        put(length);
        put(~length);
        file.write(key.c_str(), static_cast<std::streamsize>(key.size() + 1));
        put(1); // an int
        put(static_cast<std::uint32_t>(i));
    }
}

// --- the others ----------------------------------------------------------------------------------

Answer ReadRegistry(const WString& name)
{
    int value = -1;
    const int code = BConfigRegistry(kRegistryKey).ReadInt(name, value);
    return Done(code == kErrorNone, value);
}

bool Save(At at, BNode* root)
{
    BArchive archive(at.document, BArchive::ModeWrite, kDocClass, 1);
    archive.Insert(root, "root");
    return archive.Flush();
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

Answer Import(const WString& path, bool isFolder)
{
    BLanguageMap map;
    const int code = isFolder ? map.ImportMapFiles(path, kPattern, nullptr, true)
                              : map.ImportMapFile(path, nullptr, true, true);
    return Done(code == kErrorNone, static_cast<long long>(map.StdDefaultMap().Count()));
}

Answer Merge(At at, const WString& output)
{
    int newEntries = 0;
    const int code =
        BLanguageMap::MergeMapFile(at.master, at.translated, output, kFile, newEntries);
    return Done(code == kErrorNone, newEntries);
}

Answer Log(const WString& folder)
{
    BProfiler::SetLogfilePath(folder);
    BProfiler::Start(kText);
    for (int i = 0; i < 200; ++i) // more than a stream's buffer takes
        BProfiler::Step(kKey);
    BProfiler::Stop(kText);
    return Told(BProfiler::Problem());
}

// Eight bytes in place.
Answer WriteInPlace(At at)
{
    BFile file(at.text, kUpdate);
    const bool isWritten =
        file != nullptr && std::fwrite("qd.core!", 8, 1, file) == 1 && std::fflush(file) == 0;
    return Done(isWritten);
}

// A text that another program ended, which is read and then gets half a character: to finish that,
// the stream writes once more.
Answer AppendToText(At at)
{
    BFile file(at.ended, kAppendText);
    char unit[sizeof(WChar)];
    const bool isDone = file != nullptr && std::fread(unit, sizeof unit, 1, file) == 1 &&
                        std::fseek(file, 0, SEEK_CUR) == 0 &&
                        std::fwrite("\x3D\xD8", sizeof unit, 1, file) == 1 &&
                        std::fseek(file, 0, SEEK_SET) == 0;
    return Done(isDone);
}

char g_block[64] = "a block";

constexpr auto kInBetween = Operation::EFile::InBetween, kWhole = Operation::EFile::OldOrNew;

const Operation kOperations[] = {
    {"text-read", [](At at) { return Is(Text(at).ReadInt(kKey, -1), 7); }},
    {"text-read-string",
     [](At at) {
         return Found(static_cast<long long>(Text(at).ReadString(kKey, kWord).Length()));
     }},
    {"text-read-default", [](At at) { return Found(Text(at).ReadInt(kMissing, 5)); }},
    {"text-read-string-default",
     [](At at) { return Text(at).ReadString(kMissing, kWord), Answer(); }},
    {"text-read-double-default",
     [](At at) { return Text(at).ReadDouble(kMissing, 2.5), Answer(); }},
    {"text-read-boolean-default",
     [](At at) { return Text(at).ReadBoolean(kMissing, true), Answer(); }},
    {"text-read-only",
     [](At at) { return Found(BProfile(at.ini, ProfileReadOnly).ReadInt(kMissing, 5)); }},
    {"text-exists", [](At at) { return Found(Text(at).ExistsSection(kSection)); }},
    {"text-write", [](At at) { return Done(Text(at).WriteInt(kKey, 5)); }},
    {"text-write-static",
     [](At at) {
         return Done(BProfile::WriteString(at.ini, kSection, kKey, kNumber) == kErrorNone);
     }},
    {"text-write-new", [](At at) { return Done(Text(at.newIni).WriteInt(kKey, 5)); }, kInBetween},
    {"text-write-block",
     [](At at) { return Done(Text(at).WriteMem(kBlock, g_block, sizeof g_block)); }},
    {"text-write-unicode", // which makes the file UTF-16
     [](At at) { return Done(Text(at).WriteString(kKey, kGreek)); }},
    {"text-write-family", [](At at) { return Done(Text(at).WriteInt(3, kKey, 5)); }, kWhole, true},
    {"text-write-double", [](At at) { return Done(Text(at).WriteDouble(kKey, 2.5)); }, kWhole,
     true},
    {"text-write-boolean", [](At at) { return Done(Text(at).WriteBoolean(kKey, true)); }, kWhole,
     true},
    {"text-add", [](At at) { return AddToText(at, kMissing); }, Operation::EFile::Grows},
    {"text-add-long", [](At at) { return AddToText(at, kLongKey); }, Operation::EFile::Grows},
    {"text-new", [](At at) { return Told(BProfile(at.ini, ProfileNew).Problem()); }},
    {"text-delete-key", [](At at) { return InText(at, [](Text& t) { t.DeleteKey(kKey); }); }},
    {"text-delete-section", [](At at) { return InText(at, [](Text& t) { t.DeleteSection(); }); }},
    {"ini-read", [](At at) { return ReadIni(at, kKey); }},
    {"ini-read-default", [](At at) { return Found(ReadIni(at, kMissing).found); }},
    {"ini-read-no-number", [](At at) { return Found(ReadIni(at, kWord).found); }}, // replaced
    {"ini-read-bool-default", [](At at) { return ReadIniDefault(at, kMissing, true); }},
    {"ini-read-double-default", [](At at) { return ReadIniDefault(at, kMissing, 2.0); }},
    {"ini-read-double-no-number", [](At at) { return ReadIniDefault(at, kWord, 2.0); }},
    {"ini-read-whole-default",
     [](At at) { return ReadIniDefault(at, kMissing, std::int64_t{5'000'000'000}); }},
    {"ini-list", ListIni},
    {"ini-write", [](At at) { return Done(Ini(at).Write(kKey, 2.5)); }},
    {"ini-write-block",
     [](At at) { return Done(Ini(at).WriteMem(kBlock, g_block, sizeof g_block)); }},
    {"ini-write-bool", [](At at) { return Done(Ini(at).Write(kKey, true)); }, kWhole, true},
    {"ini-write-narrow", [](At at) { return Done(Ini(at).Write(kKey, "text")); }, kWhole, true},
    {"ini-write-whole",
     [](At at) { return Done(Ini(at).Write(kKey, std::int64_t{5'000'000'000})); }, kWhole, true},
    {"ini-write-time", [](At at) { return Done(Ini(at).Write(kKey, _SYSTEMTIME{})); }, kWhole,
     true},
    {"ini-delete-key",
     [](At at) {
         BIniProfile profile = Ini(at);
         profile.DeleteKey(kKey);
         return Told(profile.Problem());
     }},
    {"ini-delete-section", [](At at) { return Done(Ini(at).DeleteSection(kSection)); }},
    {"profile-open",
     [](At at) {
         const SP<BProfileBase> profile = OpenProfile(at.bin);
         return Is(profile ? profile->ReadInt(29, kKey, -1) : -1, 29);
     }},
    {"profile-open-text",
     [](At at) {
         const SP<BProfileBase> profile = OpenProfile(at.ini);
         if (profile)
             profile->SetSection(kSection);
         return Is(profile ? profile->ReadInt(kKey, -1) : -1, 7);
     }},
    {"binary-read", [](At at) { return ReadBinary(at.bin); }},
    {"binary-read-old", [](At at) { return ReadBinary(at.oldBin); }},
    {"binary-modify", [](At at) { return SaveBinary(at.bin, ProfileReadWrite); }},
    {"binary-upgrade", [](At at) { return SaveBinary(at.oldBin, ProfileReadWrite); }},
    {"binary-new", [](At at) { return SaveBinary(at.bin, ProfileNew); }},
    {"binary-family",
     [](At at) {
         BBinProfile profile(at.bin, ProfileReadWrite);
         const bool isTaken = profile.WriteString(3, kKey, kText);
         return Done(isTaken && profile.Save());
     },
     kWhole, true},
    {"binary-delete",
     [](At at) {
         BBinProfile profile(at.bin, ProfileReadWrite);
         profile.DeleteSection();
         return Done(profile.Save());
     },
     kWhole, true},
    {"binary-destroy", // which saves
     [](At at) { return BBinProfile(at.bin, ProfileReadWrite).WriteInt(kKey, 5), Answer(); }},
    {"registry-read", [](At) { return ReadRegistry(kNumber); }},
    {"registry-write",
     [](At) { return Done(BConfigRegistry(kRegistryKey).WriteInt(kNumber, 5) == kErrorNone); }},
    {"registry-write-double",
     [](At) { return Done(BConfigRegistry(kRegistryKey).WriteDouble(kNumber, 3) == kErrorNone); },
     kWhole, true},
    {"registry-write-bool",
     [](At) { return Done(BConfigRegistry(kRegistryKey).WriteBool(kNumber, true) == kErrorNone); },
     kWhole, true},
    {"registry-child",
     [](At) {
         return Done(BConfigRegistry(kRegistryKey).Child(kChild)->WriteInt(kNumber, 5) ==
                     kErrorNone);
     },
     kInBetween},    // a key without the value
    {"archive-save", // in place: half a document is what its header warns of
     [](At at) { return Done(Save(at, at.tree.Get())); }, kInBetween},
    {"archive-load", Load},
    {"support-save",
     [](At at) {
         const auto insert = [&](BArchive& archive) { archive.Insert(at.tree.Get(), "root"); };
         return Done(SaveArchive(at.document, kDocClass, 1, insert));
     }},
    {"language-import", [](At at) { return Import(at.language, false); }},
    {"language-import-all", [](At at) { return Import(at.translated, true); }},
    {"language-export",
     [](At at) { return Done(BLanguageMap().ExportMapFile(at.language) == kErrorNone); }},
    {"language-add",
     [](At at) {
         BLanguageMap map;
         const bool isAdded = map.Add(kLanguageKey, kText, kWord, true, false) == kErrorNone &&
                              map.Add(kPlainKey, kWord, kWord, true, false) == kErrorNone;
         return Done(isAdded && map.ExportMapFile(at.language) == kErrorNone);
     },
     kWhole, true},
    {"language-merge", [](At at) { return Merge(at, at.merged); }},
    {"language-merge-own", [](At at) { return Merge(at, at.translated); }},
    {"convert", [](At at) { return Done(BFile::ConvertToUnicode(at.text) == kErrorNone); }},
    {"log", [](At at) { return Log(at.logs); }, Operation::EFile::Grows},
    {"log-new", [](At at) { return Log(at.newLogs); }, kInBetween},
    {"file-ask",
     [](At at) {
         return Found(BFile::Exist(at.text) + BFile::Exist(at.texts) + BFile::Size(at.text) +
                      BFile::IsDirectory(at.text) + BFile::IsUnicode(at.text) +
                      BDirEntry(at.text).Exists());
     }},
    {"file-write", WriteInPlace, kInBetween},
    {"file-append", AppendToText, kInBetween},
    {"file-delete", [](At at) { return Done(BFile::Delete(at.texts) > 0); }},
    {"make-folder", // its parents may stay
     [](At at) { return Done(at.newFolder.MakeDir() || at.newFolder.Exists()); }, kInBetween},
};

// --- what they find ------------------------------------------------------------------------------

void Write(const fs::path& path, const std::string& bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    fs::permissions(path, fs::perms(0640)); // to be kept
}

std::string Utf16(const std::u16string& text)
{
    return "\xFF\xFE" +
           std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof text[0]);
}

std::string Settings()
{
    std::string text;
    for (int section = 0; section < 4; ++section) {
        text += "; a comment\r\n[Section" + std::to_string(section) + "]\r\nWord=none\r\n";
        for (int key = 0; key < 100; ++key)
            text += "Key" + std::to_string(key) + '=' + std::to_string(key) + "\r\n";
    }
    return text;
}

std::string Texts(int count, const std::u16string& translation)
{
    std::u16string lines = u"a comment\r\n";
    for (int i = 0; i < count; ++i)
        lines += u"$IDS_" + fs::path(std::to_string(i)).u16string() + u'\t' +
                 std::u16string(200, u'x') + u'\t' + translation + u"\r\n";
    return Utf16(lines);
}

} // namespace

Place::Place(const fs::path& path)
    : folder(path)
    , tree(Tree(40))
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    ::setenv("TMPDIR", (folder / "tmp").c_str(), 1);
}

std::span<const Operation> Operations()
{
    return kOperations;
}

void Prepare(const Place& at)
{
    fs::create_directories(at.folder / "tmp");
    Write(at.folder / "settings.ini", Settings());
    std::string lines;
    for (int i = 0; i < 80; ++i)
        lines += std::string(200, 'x') + "\xE4\n";
    Write(at.folder / "text.txt", lines);
    Write(at.folder / "ended.dat", "\xEF\xBB\xBFxyz\r\n\x1A");
    Write(at.folder / "master/texts.lng", Texts(25, u""));
    Write(at.folder / "translated/texts.lng", Texts(20, u"word"));
    Write(at.folder / "merged/texts.lng", Texts(5, u"old"));
    MakeOldProfile(at.folder / "old.bin");
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
    Log(at.logs);
}

std::string RegistryText(const Place& at)
{
    std::string text;
    std::optional<BConfigRegistry> config;
    if (fs::exists(at.folder / "registry.db")) // reading would make it
        config.emplace(kRegistryKey);
    for (int i = 0; i < 30; ++i) {
        int value = -1;
        if (config)
            config->ReadInt(WString::FromInt(i), value);
        text += std::to_string(value) + ' ';
    }
    return text;
}
