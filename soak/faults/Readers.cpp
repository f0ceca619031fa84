#include "soak/faults/Readers.h"

#include "core/archive/BArchive.h"
#include "core/base/BString.h"
#include "core/base/ClassRegistry.h"
#include "core/base/ErrorCodes.h"
#include "core/geometry/BBitArray.h"
#include "core/language/BLanguageMap.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/OpenProfile.h"
#include "core/tree/BNode.h"
#include "core/units/BUnit.h"

#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>

// A reader makes a number of all that it reads, without an allocation of its own, and says where
// the class told a failure: by its answer, by a default together with a problem, or by an exception
// for want of memory. What it looks for is made before anything fails.

namespace {

using At = const Place&;
using ETold = Answer::ETold;

constexpr int kCount = 40; // of values of each kind

/// FNV-1a, of what was read; and whether a failure was told.
class Digest {
public:
    void Add(std::uint64_t number)
    {
        for (int i = 0; i < 8; ++i)
            AddByte(static_cast<unsigned char>(number >> 8 * i));
    }
    void Add(double number) { Add(std::bit_cast<std::uint64_t>(number)); }
    void Add(int number) { Add(static_cast<std::uint64_t>(number)); }
    void Add(bool value) { Add(std::uint64_t{value}); }
    template <class Text>
    requires requires(const Text& text) { text.CStr(); }
    void Add(const Text& text)
    {
        Add(std::uint64_t{text.Length()});
        for (std::size_t i = 0; i < text.Length(); ++i)
            Add(static_cast<std::uint64_t>(text[i]));
    }
    /// A value that is missing unless `isThere`, which the class must tell then.
    template <class Value>
    void AddOr(bool isThere, const Value& value, const BProblem& problem)
    {
        if (isThere)
            Add(value);
        else if (problem)
            m_isTold = true;
        else
            Add(std::uint64_t{0xBAD});
    }
    void Tell() { m_isTold = true; }

    [[nodiscard]] Answer Get() const
    {
        return {m_isTold ? ETold::No : ETold::Yes,
                m_isTold ? 0 : static_cast<long long>(m_number >> 1)};
    }

private:
    void AddByte(unsigned char byte) { m_number = (m_number ^ byte) * 0x100000001B3; }

    std::uint64_t m_number = 0xCBF29CE484222325;
    bool m_isTold = false;
};

/// Keys and texts that differ.
struct Names {
    Names()
    {
        for (int i = 0; i < kCount; ++i) {
            keys[i] = WString(QD_W("Key")) + WString::FromInt(i);
            texts[i] = WString(QD_W("A text that takes memory \x00E4 ")) + WString::FromInt(i);
            languageKeys[i] = WString(QD_W("$IDS_")) + WString::FromInt(i);
        }
    }
    WString keys[kCount], texts[kCount], languageKeys[kCount];
};

const Names& All()
{
    static const Names names;
    return names;
}

const WString kSection(QD_W("Section")), kBlock(QD_W("Block")), kText(QD_W("Text")),
    kReal(QD_W("Real")), kYes(QD_W("Yes")), kHex(QD_W("Hex")), kTime(QD_W("Time")),
    kDefault(QD_W("a default")), kRegistryKey(QD_W("Software\\Read")), kPattern(QD_W("*.lng")),
    kNumber(QD_W("  12.625 ")), kLongNumber(QD_W("0.1234567890123456789")), kInch(QD_W("in"));
const BString kDocClass("class Document"), kNarrow("a narrow text that takes memory");

// --- archives ------------------------------------------------------------------------------------

/// As an application would write it.
class Part : public BSmartObj {
public:
    Part() = default;
    Part(const WString& wide, int number, SP<BSmartObj> link)
        : m_wide(wide)
        , m_narrow(kNarrow)
        , m_number(number)
        , m_link(link)
    {}
    void WriteData(BArchive& archive) const override
    {
        archive << m_wide << m_narrow << m_number << m_link.Get();
    }
    void UpdateAssociations(BArchive& archive) override { m_link = archive.QueryObject(m_index); }
    static void Register() { RegisterArchiveCallback(ClassName(typeid(Part)), &Read); }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<Part> part(new Part);
        archive >> part->m_wide >> part->m_narrow >> part->m_number >> part->m_index;
        archive.TakeOutLater(reinterpret_cast<std::uintptr_t>(part->m_index));
        return part;
    }
    void AddTo(Digest& digest) const
    {
        digest.Add(m_wide);
        digest.Add(m_narrow);
        digest.Add(m_number);
        digest.Add(static_cast<bool>(m_link));
    }
    [[nodiscard]] const Part* Next() const { return dynamic_cast<const Part*>(m_link.Get()); }

private:
    WString m_wide;
    BString m_narrow;
    int m_number = 0;
    SP<BSmartObj> m_link;
    void* m_index = nullptr;
};

/// A note on a node.
class Note : public BAttribute {
public:
    explicit Note(const WString& name = WString())
        : m_name(name)
    {}
    WString Name() const override { return m_name; }
    void WriteData(BArchive& archive) const override { archive << m_name; }
    static void Register() { RegisterArchiveCallback(ClassName(typeid(Note)), &Read); }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<Note> note(new Note);
        archive >> note->m_name;
        return note;
    }

private:
    WString m_name;
};

void RegisterClasses()
{
    Part::Register();
    Note::Register();
}

void WriteArchive(At at)
{
    SP<BNode> root(new BNode);
    SP<BSmartObj> chain;
    for (int i = 0; i < kCount; ++i) {
        SP<BBitArray> bits(new BBitArray(1, 20, 20));
        bits->SetBit(i % 20, i / 20, 0);
        SP<BNode> child(new BNode(bits.Get()));
        child->SetText(All().texts[i]);
        child->AddAttrib(new Note(All().keys[i]));
        root->AddChild(child.Get(), -1);
        chain = new Part(All().texts[i], i, chain);
    }
    BArchive archive(at.Wide("read.qda"), BArchive::ModeWrite, kDocClass, 1);
    archive.Insert(root.Get(), "root");
    archive.Insert(chain.Get(), "chain");
    archive.Flush();
}

void AddNode(Digest& digest, const BNode& node, int number)
{
    digest.Add(node.GetText());
    const auto* const bits = dynamic_cast<const BBitArray*>(node.GetObj());
    digest.Add(bits != nullptr && bits->Width() == 20 &&
               bits->TestBit(number % 20, number / 20, 0));
    digest.Add(node.Attrib(All().keys[number]) != nullptr);
}

Answer ReadArchive(At at)
{
    BArchive archive(at.Wide("read.qda"), BArchive::ModeRead, kDocClass, 1);
    const SP<BSmartObj> rootObject = archive.TakeOut("root"), chain = archive.TakeOut("chain");
    const auto* const root = dynamic_cast<const BNode*>(rootObject.Get());
    Digest digest;
    digest.AddOr(root != nullptr && chain, true, archive.Problem());
    if (root == nullptr || !chain)
        return digest.Get();
    digest.Add(root->ChildNum());
    for (int i = 0; i < root->ChildNum(); ++i)
        AddNode(digest, *root->Child(i), i);
    for (const auto* part = dynamic_cast<const Part*>(chain.Get()); part; part = part->Next())
        part->AddTo(digest);
    return digest.Get();
}

// --- profiles ------------------------------------------------------------------------------------

template <class Profile>
void WriteProfile(Profile& profile)
{
    for (int i = 0; i < kCount; ++i) {
        profile.WriteInt(All().keys[i], i * 1000);
        profile.WriteString(i, kText, All().texts[i]);
        profile.WriteDouble(i, kReal, i / 8.0);
    }
    std::uint64_t block = 0x0123456789ABCDEF;
    profile.WriteMem(kBlock, &block, sizeof block);
    profile.WriteBoolean(kYes, true);
}

// A default where there is a value is a failure, which has to be told.
Answer ReadProfile(BProfileBase& profile, const auto& problem)
{
    Digest digest;
    for (int i = 0; i < kCount; ++i) {
        const int number = profile.ReadInt(All().keys[i], -1);
        digest.AddOr(number != -1, number, problem());
        const WString text = profile.ReadString(i, kText, kDefault);
        digest.AddOr(text != kDefault, text, problem());
        const double real = profile.ReadDouble(i, kReal, -1);
        digest.AddOr(real != -1, real, problem());
    }
    std::uint64_t block = 0;
    const bool isThere = profile.ReadMem(kBlock, &block, sizeof block);
    digest.AddOr(isThere, block, problem());
    const bool yes = profile.ReadBoolean(kYes, false);
    digest.AddOr(yes, yes, problem());
    return digest.Get();
}

template <class Profile>
Answer ReadOnly(const WString& path)
{
    Profile profile(path, ProfileReadOnly);
    profile.SetSection(kSection);
    return ReadProfile(profile, [&] { return profile.Problem(); });
}

template <class Profile>
void WriteNew(const WString& path)
{
    Profile profile(path, ProfileNew);
    profile.SetSection(kSection);
    WriteProfile(profile);
}

// Keys and texts of a former version are narrow.
Answer ReadOldBinary(At at)
{
    BBinProfile profile(at.Wide("oldtexts.bin"), ProfileReadOnly);
    Digest digest;
    for (int i = 0; i < kCount; ++i) {
        const WString text = profile.ReadString(All().keys[i], kDefault);
        digest.AddOr(text != kDefault, text, profile.Problem());
    }
    return digest.Get();
}

Answer ReadOpened(At at)
{
    BProblem problem;
    const SP<BProfileBase> profile = OpenProfile(at.Wide("read.bin"), problem);
    Digest digest;
    digest.AddOr(static_cast<bool>(profile), true, problem);
    if (!profile)
        return digest.Get();
    const auto* const binary = dynamic_cast<const BBinProfile*>(profile.Get());
    if (binary == nullptr) {
        digest.Add(false); // it is one
        return digest.Get();
    }
    profile->SetSection(kSection);
    return ReadProfile(*profile, [&] { return binary->Problem(); });
}

void WriteIni(At at)
{
    BIniProfile profile(at.Wide("probe.ini"), kSection, true);
    for (int i = 0; i < kCount; ++i)
        profile.Write(All().keys[i], i);
    profile.Write(kText, All().texts[7]);
    profile.Write(kReal, 2.5);
    profile.Write(kYes, true);
    profile.Write(kHex, QD_W("0xBEEF"));
    _SYSTEMTIME time = {};
    time.wYear = 2018;
    time.wMonth = 7;
    time.wDay = 4;
    profile.Write(kTime, time);
    profile.Write(kBlock, std::int64_t{5'000'000'000});
}

Answer ReadIni(At at)
{
    const BIniProfile profile(at.Wide("probe.ini"), kSection, false);
    Digest digest;
    const auto read = [&](const WString& key, auto value, auto... bounds) {
        const bool isThere = profile.Read(key, value, bounds...);
        digest.AddOr(isThere, value, profile.Problem());
    };
    for (int i = 0; i < kCount; ++i)
        read(All().keys[i], -1, -10, 1000);
    read(kText, WString());
    read(kReal, 0.0);
    read(kYes, false);
    std::int64_t whole = 0;
    const bool isWhole = profile.Read(kBlock, whole);
    digest.AddOr(isWhole, static_cast<std::uint64_t>(whole), profile.Problem());
    unsigned long hex = 0;
    const bool isHex = profile.ReadHex(kHex, hex, 8);
    digest.AddOr(isHex, std::uint64_t{hex}, profile.Problem());
    _SYSTEMTIME time = {};
    const bool isTime = profile.Read(kTime, time);
    digest.AddOr(isTime, int{time.wDay} + 100 * time.wYear, profile.Problem());
    return digest.Get();
}

Answer ListIni(At at)
{
    const BIniProfile profile(at.Wide("probe.ini"), WString(), false);
    BArray<WString> sections, keys;
    const bool areSections = profile.GetSections(sections);
    const bool areKeys = profile.LoadSection(kSection, &keys);
    Digest digest;
    if (!areSections || !areKeys)
        digest.Tell();
    for (const BArray<WString>* const list : {&sections, &keys}) {
        for (std::uint64_t i = 0; i < list->Count(); ++i)
            digest.Add((*list)[i]);
    }
    return digest.Get();
}

// --- the others ----------------------------------------------------------------------------------

void WriteRegistry(At)
{
    BConfigRegistry config(kRegistryKey);
    for (int i = 0; i < kCount; ++i)
        config.WriteString(All().keys[i], All().texts[i]);
    config.WriteDouble(kReal, 0.125);
    config.WriteBool(kYes, true);
    config.WriteInt(kHex, 1234567);
}

Answer ReadRegistry(At)
{
    const BConfigRegistry config(kRegistryKey);
    Digest digest;
    const auto read = [&](int code, const auto& value) {
        if (code == kErrorNone)
            digest.Add(value);
        else
            digest.Tell();
    };
    for (int i = 0; i < kCount; ++i) {
        WString text;
        const int code = config.ReadString(All().keys[i], text);
        read(code, text);
    }
    double real = 0;
    const int realCode = config.ReadDouble(kReal, real);
    read(realCode, real);
    bool yes = false;
    const int yesCode = config.ReadBool(kYes, yes);
    read(yesCode, yes);
    int number = 0;
    const int numberCode = config.ReadInt(kHex, number);
    read(numberCode, number);
    return digest.Get();
}

void WriteLanguage(At at)
{
    BLanguageMap map;
    for (int i = 0; i < kCount; ++i)
        map.Add(All().languageKeys[i], All().texts[i], All().keys[i], true, false);
    map.ExportMapFile(at.Wide("read.lng"));
}

Answer ReadLanguage(At at, bool isFolder)
{
    BLanguageMap map;
    const int code = isFolder ? map.ImportMapFiles(at.Wide(""), kPattern, nullptr, true)
                              : map.ImportMapFile(at.Wide("read.lng"), nullptr, true, false);
    Digest digest;
    if (code != kErrorNone)
        digest.Tell();
    digest.Add(static_cast<std::uint64_t>(map.StdDefaultMap().Count()));
    for (int i = 0; i < kCount; ++i) {
        for (const bool isTranslated : {false, true}) {
            WString text;
            digest.Add(map.Find(All().languageKeys[i], text, isTranslated));
            digest.Add(text);
        }
    }
    return digest.Get();
}

// Numbers need no memory; a text that got none is empty.
Answer ReadNumbers(At)
{
    const BUnit inch(kInch, 1 / 25.4, 4);
    Digest digest;
    double real = 0;
    digest.Add(kNumber.Convert(real));
    digest.Add(real);
    digest.Add(kLongNumber.AtoF());
    int number = 0;
    digest.Add(kNumber.Convert(number));
    digest.Add(number);
    digest.Add(kNumber.AtoI());
    digest.Add(inch.Convert(kNumber));
    digest.Add(inch.Revert(kLongNumber));
    digest.Add(inch.Convert(12.7));
    for (const WString& text :
         {inch.Format(12.7, -1), inch.Format(kNumber, 3), inch.ConvertStr(kLongNumber),
          inch.RevertStr(2.5), inch.Symbol(), WString::FromInt(-17)}) {
        if (text.IsEmpty())
            digest.Tell();
        digest.Add(text);
    }
    return digest.Get();
}

// A binary profile of a former version, whose keys and texts are narrow.
void WriteOldBinary(const std::filesystem::path& path)
{
    std::ofstream file(path, std::ios::binary);
    const auto put = [&](std::uint32_t word) {
        file.write(reinterpret_cast<const char*>(&word), sizeof word);
    };
    const auto putText = [&](const BString& text) {
        const auto length = static_cast<std::uint32_t>(text.Length());
        put(length);
        put(~length);
        file.write(text, static_cast<std::streamsize>(length) + 1);
    };
    put(0x59414C05);
    for (int i = 0; i < kCount; ++i) {
        putText(BString("[default]key") + BString::FromInt(i));
        put(2); // a narrow text
        putText(kNarrow + BString::FromInt(i));
    }
}

const Operation kReaders[] = {
    {"read-archive", ReadArchive},
    {"read-binary", [](At at) { return ReadOnly<BBinProfile>(at.Wide("read.bin")); }},
    {"read-binary-old", ReadOldBinary},
    {"read-binary-open", ReadOpened},
    {"read-text", [](At at) { return ReadOnly<BProfile>(at.Wide("read.ini")); }},
    {"read-text-narrow", [](At at) { return ReadOnly<BProfile>(at.Wide("narrow.ini")); }},
    {"read-ini", ReadIni},
    {"read-ini-lists", ListIni},
    {"read-registry", ReadRegistry},
    {"read-language", [](At at) { return ReadLanguage(at, false); }},
    {"read-language-all", [](At at) { return ReadLanguage(at, true); }},
    {"read-numbers", ReadNumbers},
};

} // namespace

std::span<const Operation> Readers()
{
    return kReaders;
}

void PrepareReaders(const Place& at)
{
    std::ofstream(at.folder / "narrow.ini") << "; text of 8 bits\r\n";
    RegisterClasses();
    WriteArchive(at);
    WriteNew<BBinProfile>(at.Wide("read.bin"));
    WriteOldBinary(at.folder / "oldtexts.bin");
    WriteNew<BProfile>(at.Wide("read.ini"));
    BProfile narrow(at.Wide("narrow.ini"), ProfileReadWrite);
    narrow.SetSection(kSection);
    WriteProfile(narrow);
    WriteIni(at);
    WriteRegistry(at);
    WriteLanguage(at);
}

void ReadyReaders()
{
    RegisterClasses();
    static_cast<void>(All());
}
