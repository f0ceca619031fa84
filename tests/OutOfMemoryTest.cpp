#include "core/platform/FileStream.h"
#include "core/qdcore.h"

#include "tests/FailingAllocations.h"
#include "tests/TemporaryFolder.h"
#include "tests/profile/TestRegistry.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

// Every allocation that an operation makes fails, one after the other, alone and with all behind
// it.

namespace {

using Memory = FailingAllocations;

struct Operation {
    const char* name;
    /// False when what the operation answered is not so; it gives the memory back before it looks.
    std::function<bool(Memory&)> run;
};

void RunWithEachAllocationFailing(const Operation& operation)
{
    for (const Memory::ERange range : {Memory::ERange::One, Memory::ERange::All}) {
        bool hasFailed = true;
        for (std::uint64_t first = 0; hasFailed; ++first) {
            bool isSo = true;
            {
                Memory memory(first, range);
                try {
                    isSo = operation.run(memory);
                } catch (const std::bad_alloc&) { // an answer, too
                }
                memory.Stop();
                hasFailed = memory.HaveFailed();
            }
            ASSERT_TRUE(isSo) << operation.name << ", allocation " << first
                              << (range == Memory::ERange::All ? " and all behind it" : "");
        }
    }
}

class OutOfMemoryTest : public testing::Test {
protected:
    OutOfMemoryTest()
    {
        NumberAttribute::Register();
        // The runtime keeps room for exceptions that get no memory, but not for the lock around it.
        const Memory memory(0, Memory::ERange::One);
        try {
            throw std::bad_alloc();
        } catch (const std::bad_alloc&) {
        }
    }

    TemporaryFolder m_folder;
    WString m_path = m_folder.Path("file");
};

const BString kClass = "class Doc";

SP<BNode> SmallTree()
{
    SP<BNode> root = Named(QD_W("root"));
    BNode* const child = Append(*root, QD_W("child"));
    child->SetObj(new BBitArray(8, 5, 5));
    child->AddAttrib(new NumberAttribute(QD_W("speed"), 7));
    root->AddAnnotation(Named(QD_W("note")).Get());
    return root;
}

bool IsSmallTree(BSmartObj* object)
{
    auto* const root = dynamic_cast<BNode*>(object);
    return root != nullptr && TextOf(*root) == "root(child)" &&
           dynamic_cast<BBitArray*>(root->Child(0)->GetObj()) != nullptr &&
           dynamic_cast<NumberAttribute*>(root->Child(0)->Attrib(QD_W("speed"))) != nullptr &&
           root->AnnotationNum() == 1;
}

// Null also when memory runs out.
SP<BSmartObj> Loaded(const WString& path)
{
    BArchive archive(path, BArchive::ModeRead, kClass, 1);
    return archive.TakeOut("root");
}

// A string shares its text, so that each change needs memory.
template <class String>
class Strings {
public:
    struct Outcome {
        String text, result;
        bool isDone = false;

        [[nodiscard]] bool Is(const Outcome& other) const
        {
            return IsSame(text, other.text) && IsSame(result, other.result) &&
                   isDone == other.isDone;
        }
        [[nodiscard]] static bool IsSame(const String& a, const String& b)
        {
            return std::basic_string_view(a.CStr()) == std::basic_string_view(b.CStr());
        }
    };
    using Member = std::function<void(Outcome&)>;

    explicit Strings(const String& text)
        : m_text(text)
    {}

    /// A member leaves the text and gives nothing, or does all that it does with memory.
    [[nodiscard]] Operation Check(const char* name, const Member& member) const
    {
        Outcome whole{m_text, {}};
        member(whole);
        return {name, [=, text = m_text](Memory& memory) {
                    Outcome outcome{text, {}};
                    member(outcome);
                    memory.Stop();
                    return outcome.Is(whole) || outcome.Is({text, {}});
                }};
    }

private:
    String m_text;
};

template <class String>
void CheckStrings(const String& text, const String& other, std::FILE* lines, std::FILE* records)
{
    const Strings<String> strings(text);
    using Outcome = typename Strings<String>::Outcome;
    using Char = std::remove_cvref_t<decltype(text[0])>;
    const auto space = Char(' ');
    const std::pair<const char*, typename Strings<String>::Member> members[] = {
        {"ToUpper", [](Outcome& o) { o.result = o.text.ToUpper(); }},
        {"ToLower", [](Outcome& o) { o.result = o.text.ToLower(); }},
        {"Upper", [](Outcome& o) { o.result = o.text.Upper(); }},
        {"Lower", [](Outcome& o) { o.result = o.text.Lower(); }},
        {"string + string", [&](Outcome& o) { o.result = o.text + other; }},
        {"string + text", [&](Outcome& o) { o.result = o.text + other.CStr(); }},
        {"text + string", [&](Outcome& o) { o.result = other.CStr() + o.text; }},
        {"Append", [&](Outcome& o) { o.text.Append(other); }},
        {"Append a character", [&](Outcome& o) { o.text.Append(space); }},
        {"Prepend", [&](Outcome& o) { o.text.Prepend(other); }},
        {"Insert", [&](Outcome& o) { o.text.Insert(other.CStr(), 3); }},
        {"Replace", [&](Outcome& o) { o.isDone = o.text.Replace(space, Char('_'), true); }},
        {"IReplace", [&](Outcome& o) { o.isDone = o.text.IReplace(Char('T'), Char('x')); }},
        {"ReplaceAt", [&](Outcome& o) { o.text.ReplaceAt(other.CStr(), 3); }},
        {"Remove", [](Outcome& o) { o.text.Remove(2, 3); }},
        {"Sub", [](Outcome& o) { o.result = o.text.Sub(2, 9); }},
        {"Cut", [](Outcome& o) { o.result = o.text.Cut(2, 9); }},
        {"Split", [&](Outcome& o) { o.isDone = o.text.Split(o.result, space, true); }},
        {"CutAfter", [&](Outcome& o) { o.isDone = o.text.CutAfter(space, true); }},
        {"Token", [&](Outcome& o) { o.result = o.text.Token(1, space); }},
        {"TrimLeft", [](Outcome& o) { o.isDone = o.text.TrimLeft(Char('a')); }},
        {"EraseAllChars", [&](Outcome& o) { o.text.EraseAllChars(space); }},
        {"SetAt", [](Outcome& o) { o.text.SetAt(0, Char('x')); }},
        {"Fill", [](Outcome& o) { o.isDone = o.text.Fill(99, Char('x')); }},
        {"ItoA", [](Outcome& o) { o.text.ItoA(123456, 10); }},
        {"FromInt", [](Outcome& o) { o.result = String::FromInt(123456); }},
        {"Printf", [&](Outcome& o) { o.text.Printf(String(other).CStr(), 7); }},
        {"Printable", [](Outcome& o) { o.result = o.text.Printable(); }},
        {"ResolveEsc", [](Outcome& o) { o.text.ResolveEsc(); }},
        {"ReadLn",
         [&](Outcome& o) {
             std::rewind(lines);
             o.isDone = o.text.ReadLn(lines);
         }},
        {"FRead",
         [&](Outcome& o) {
             std::rewind(records);
             o.isDone = o.text.FRead(records);
         }},
    };
    for (const auto& [name, member] : members)
        RunWithEachAllocationFailing(strings.Check(name, member));
}

struct ProfilerLines : BProfiler {
    [[nodiscard]] static bool AreWhole()
    {
        return std::ranges::none_of(m_logEntries, &WString::IsEmpty);
    }
};

} // namespace

TEST_F(OutOfMemoryTest, AnArchiveIsReadAsAWholeOrNotAtAll)
{
    {
        BArchive archive(m_path, BArchive::ModeWrite, kClass, 1);
        archive.Insert(SmallTree().Get(), "root");
        ASSERT_TRUE(archive.Flush());
    }
    RunWithEachAllocationFailing({"read", [&](Memory& memory) {
                                      const SP<BSmartObj> root = Loaded(m_path);
                                      memory.Stop();
                                      return root == nullptr || IsSmallTree(root.Get());
                                  }});
    RunWithEachAllocationFailing({"read twice", [&](Memory& memory) {
                                      BArchive archive(m_path, BArchive::ModeRead, kClass, 1);
                                      static_cast<void>(archive.TakeOut("root"));
                                      memory.Stop();
                                      const SP<BSmartObj> root = archive.TakeOut("root");
                                      return archive.IsGood() ? IsSmallTree(root.Get())
                                                              : root == nullptr;
                                  }});
}

TEST_F(OutOfMemoryTest, AnArchiveThatSaysItWasWrittenLoads)
{
    const SP<BNode> tree = SmallTree();
    RunWithEachAllocationFailing({"write", [&](Memory& memory) {
                                      bool isWritten = false;
                                      {
                                          BArchive archive(m_path, BArchive::ModeWrite, kClass, 1);
                                          archive.Insert(tree.Get(), "root");
                                          isWritten = archive.Flush();
                                      }
                                      memory.Stop();
                                      return !isWritten || IsSmallTree(Loaded(m_path).Get());
                                  }});
    RunWithEachAllocationFailing({"write again", [&](Memory& memory) {
                                      BArchive archive(m_path, BArchive::ModeWrite, kClass, 1);
                                      try {
                                          archive.Insert(tree.Get(), "root");
                                          static_cast<void>(archive.Flush());
                                      } catch (const std::bad_alloc&) {
                                      }
                                      memory.Stop();
                                      archive.Insert(tree.Get(), "root");
                                      return !archive.Flush() || IsSmallTree(Loaded(m_path).Get());
                                  }});
}

TEST_F(OutOfMemoryTest, StringsChangeAsAWholeOrNotAtAll)
{
    const WString text = QD_W("a text too long for\nany room that is there \\t ");
    const WString other = QD_W(" and %d more of it");
    const platform::Stream records = platform::OpenStream(m_folder.Path("records"), QD_W("w+b"));
    WString longLine;
    longLine.Fill(2000, QD_W('x'));
    {
        const platform::Stream lines = platform::OpenStream(m_path, QD_W("w,ccs=UTF-16LE"));
        ASSERT_TRUE(platform::WriteText(lines.get(), longLine));
    }
    ASSERT_TRUE(longLine.FWrite(records.get()));
    platform::Stream lines = platform::OpenStream(m_path, QD_W("r,ccs=UTF-16LE"));
    CheckStrings<WString>(text, other, lines.get(), records.get());

    std::rewind(records.get());
    ASSERT_TRUE(BString(longLine).FWrite(records.get()));
    lines = platform::OpenStream(m_path, QD_W("rb"));
    CheckStrings<BString>(BString(text), BString(other), lines.get(), records.get());
}

TEST_F(OutOfMemoryTest, ProfilesKeepWhatTheyHeld)
{
    const WString section = QD_W("Probe"), key = QD_W("a key"), kept = QD_W("kept");
    const WString value = QD_W("a value that takes memory");
    const auto check = [&](const char* name, auto open, bool savesAtOnce) {
        open()->WriteString(kept, value);
        RunWithEachAllocationFailing(
            {name, [&](Memory& memory) {
                 bool isWritten = false, isNumberWritten = false;
                 try {
                     const SP<BProfileBase> profile = open();
                     profile->SetSection(section);
                     isWritten = profile->WriteString(key, value) && savesAtOnce;
                     isNumberWritten = profile->WriteInt(7, key, 7) && savesAtOnce;
                     static_cast<void>(profile->ReadString(key, kept));
                     static_cast<void>(profile->ReadDouble(3, key, 0.5));
                 } catch (const std::bad_alloc&) {
                 }
                 memory.Stop();
                 const SP<BProfileBase> profile = open();
                 const bool isKept = profile->ReadString(kept, WString()) == value;
                 profile->SetSection(section);
                 const WString found = profile->ReadString(key, WString());
                 const int number = profile->ReadInt(7, key, 0);
                 profile->DeleteSection();
                 return isKept && (number == 7 || (!isNumberWritten && number == 0)) &&
                        (found == value || (!isWritten && found.IsEmpty()));
             }});
    };
    check(
        "text profile", [&] { return SP<BProfileBase>(new BProfile(m_path, ProfileReadWrite)); },
        true);
    const WString binary = m_folder.Path("file.bin");
    check(
        "binary profile",
        [&] { return SP<BProfileBase>(new BBinProfile(binary, ProfileReadWrite)); }, false);

    BIniProfile(m_path, section, true).Write(kept, value);
    RunWithEachAllocationFailing({"INI profile", [&](Memory& memory) {
                                      bool isWritten = false;
                                      try {
                                          const BIniProfile profile(m_path, section, true);
                                          isWritten = profile.Write(key, value);
                                          profile.Write(kept, value.CStr());
                                          profile.Write(kept + kept, 0.5);
                                          static_cast<void>(profile.GetInt(kept + key, 5));
                                          BArray<WString> sections;
                                          static_cast<void>(profile.GetSections(sections));
                                      } catch (const std::bad_alloc&) {
                                      }
                                      memory.Stop();
                                      BIniProfile profile(m_path, section, false);
                                      WString found, old;
                                      const bool isThere = profile.Read(key, found);
                                      profile.DeleteKey(key);
                                      return profile.Read(kept, old) && old == value &&
                                             (isThere ? found == value : !isWritten);
                                  }});
}

TEST_F(OutOfMemoryTest, TheRegistryKeepsWhatItHeld)
{
    const TestRegistry registry;
    const WString key = QD_W("a key"), kept = QD_W("kept");
    const WString value = QD_W("a value that takes memory");
    const WString keyPath = registry.Path();
    BConfigRegistry(keyPath).WriteString(kept, value);
    RunWithEachAllocationFailing({"registry", [&](Memory& memory) {
                                      bool isWritten = false;
                                      try {
                                          BConfigRegistry config(keyPath);
                                          isWritten = config.WriteString(key, value) == 0;
                                          WString found;
                                          static_cast<void>(config.ReadString(kept, found));
                                          config.WriteBool(kept + key, true);
                                      } catch (const std::bad_alloc&) {
                                      } catch (const BError&) {
                                      }
                                      memory.Stop();
                                      BConfigRegistry config(keyPath);
                                      WString found, old;
                                      static_cast<void>(config.ReadString(key, found));
                                      config.WriteString(key, WString());
                                      return config.ReadString(kept, old) == 0 && old == value &&
                                             (found == value || (!isWritten && found.IsEmpty()));
                                  }});
}

TEST_F(OutOfMemoryTest, LanguageFilesAreReadAndWrittenAsAWhole)
{
    const WString folder = TemporaryFolder::ToWide(m_folder / "");
    const WString key = QD_W("$IDS_AKeyThatTakesMemory");
    const WString text = QD_W("a text that takes memory");
    const WString master = m_folder.Path("m.lng"), pattern = QD_W("m.lng");
    const WString output = m_folder.Path("out");
    ASSERT_TRUE(BDirEntry(output).MakeDir());
    const auto made = [&] {
        SP<BLanguageMap> map = new BLanguageMap;
        map->Add(key, text, text, true, true);
        map->Add(QD_W("$IDS_Another"), key, text, true, true);
        return map;
    };
    const auto isWhole = [&](const BLanguageMap& map) {
        return map.StdDefaultMap().Count() == 2 && map.Translate(key) == text;
    };
    ASSERT_EQ(made()->ExportMapFile(master), 0);
    RunWithEachAllocationFailing({"import", [&](Memory& memory) {
                                      const SP<BLanguageMap> map = new BLanguageMap;
                                      const int code =
                                          map->ImportMapFile(master, nullptr, true, true);
                                      memory.Stop();
                                      return code != 0 || isWhole(*map);
                                  }});
    const SP<BLanguageMap> whole = made();
    RunWithEachAllocationFailing({"export", [&](Memory& memory) {
                                      const int code = whole->ExportMapFile(master);
                                      memory.Stop();
                                      const SP<BLanguageMap> map = new BLanguageMap;
                                      return (code == 0 || code == 1) &&
                                             map->ImportMapFile(master, nullptr, true, true) == 0 &&
                                             isWhole(*map);
                                  }});
    RunWithEachAllocationFailing(
        {"merge", [&](Memory& memory) {
             int count = 0;
             const int code = BLanguageMap::MergeMapFiles(folder, folder, output, pattern, count);
             memory.Stop();
             const SP<BLanguageMap> map = new BLanguageMap;
             map->ImportMapFile(m_folder.Path("out/m.lng"), nullptr, true, true);
             BFile::Delete(m_folder.Path("out/m.lng"));
             return code != 0 || isWhole(*map);
         }});
    RunWithEachAllocationFailing(
        {"map", [&](Memory& memory) {
             const SP<BLanguageMap> map = new BLanguageMap;
             const int code = map->Add(key, text, text, true, true);
             const WString extended = map->TranslateExt(key + text);
             WString keys;
             static_cast<void>(map->TranslateBack(text, keys, WString(), LanguageCurrent));
             memory.Stop();
             return code != 0 || map->Translate(key) == text;
         }});
}

TEST_F(OutOfMemoryTest, AChildIsFoundWithoutAnIndex)
{
    const SP<BNode> root = new BNode;
    for (int i = 0; i != 40; ++i)
        Append(*root, WString::FromInt(i));
    const WString name = QD_W("7");
    Memory memory(0, Memory::ERange::All);
    const BNode* const found = root->Child(name);
    memory.Stop();
    EXPECT_TRUE(memory.HaveFailed());
    EXPECT_EQ(found, root->Child(7));
}

TEST_F(OutOfMemoryTest, NothingEndsTheProcess)
{
    const SP<BNode> tree = SmallTree();
    const WString folder = m_folder.Path("a folder/another one");
    const WString long1 = QD_W("a name that takes memory"), long2 = QD_W("another that does");
    const auto always = [](auto run) {
        return [run](Memory&) {
            run();
            return true;
        };
    };
    const Operation operations[] = {
        {"files", always([&] {
             BFile file(m_path, QD_W("wb"));
             file.Close();
             static_cast<void>(BFile::Size(m_path));
             static_cast<void>(BFile::IsDirectory(m_path));
             static_cast<void>(BFile::IsUnicode(m_path));
             static_cast<void>(BFile::ConvertToUnicode(m_path));
             static_cast<void>(BFile::Exist(m_path));
             static_cast<void>(BFile::GetShortPathNameW(m_path));
             static_cast<void>(file.Open(m_path, QD_W("r,ccs=UTF-16LE")));
             file.Close();
             static_cast<void>(BFile::Delete(m_path));
         })},
        {"entries", always([&] {
             static_cast<void>(BDirEntry(folder).MakeDir());
             static_cast<void>(BDirEntry(folder).Exists());
             BDirEntry entry(folder);
             entry += BDirEntry(long1);
             entry.ChangeName(long2);
             static_cast<void>(entry.GetPath());
             static_cast<void>(entry.GetBase());
         })},
        {"trees", always([&] {
             SP<BNode> root = Named(long1);
             for (int i = 0; i != 40; ++i)
                 Append(*root, long2)->SetText(WString::FromInt(i) + long1);
             static_cast<void>(root->Child(long2));
             root->Child(7)->AddAttrib(new NumberAttribute(long1, 1));
             root->RemoveChild(3);
             BNode copy;
             copy.Copy(*root);
             BBank bank(root);
             static_cast<void>(bank.Container(QD_W("/one/two/three")));
             static_cast<void>(bank.Path(root->Child(9)));
             for (BNodeItr at(root.Get(), BNodeItr::All); at; ++at) {
             }
             for (BNodeAttribItr at(*root->Child(7)); at; ++at) {
             }
             BVisitor visitor;
             root->Traverse(&visitor);
         })},
        {"containers", always([&] {
             BDictionary<WString, WString> dictionary;
             BMap<WString, WString> map;
             BArray<WString> array;
             DList<WString> list;
             for (int i = 0; i != 40; ++i) {
                 dictionary.Insert(WString::FromInt(i), long1);
                 map.Insert(WString::FromInt(i), long1);
                 array.Append(long1);
                 list.AddTail(long1);
             }
         })},
        {"bit arrays", always([&] {
             BBitArray array(8, 9, 9);
             array.ChangeExtent(1, 1, 20, 20);
             const BBitArray copy(array);
         })},
        {"memory manager", always([&] {
             CStdMemoryManager manager;
             manager.Init(1 << 20, 1 << 20);
             CMemoryBlock* const block = manager.MemoryBlockAlloc(1 << 12);
             manager.FreeMemoryBlock(manager.MemoryBlockAlloc(1 << 21));
             manager.FreeMemoryBlock(block);
             BMemory memory;
             memory.Duplicate(&manager, 16);
             memory.Release();
         })},
        {"operations", always([&] {
             BAsyncOperationInterface operation;
             operation.StatusInfo(long1);
             operation.ErrorInfo(BError(7, long1, long2, WString(), WString()));
             static_cast<void>(operation.GetError());
             static_cast<void>(operation.FetchStatusMessage(1, true));
             operation.Stop();
         })},
        {"profiler",
         [&](Memory& memory) {
             BProfiler::SetLogfilePath(WString());
             try {
                 BProfiler::Start(long1);
                 BProfiler::Step(long2);
                 BProfiler::Stop(long1);
                 BProfiler::SetLogfilePath(folder + QD_W("/"));
             } catch (const std::bad_alloc&) {
             }
             memory.Stop();
             return ProfilerLines::AreWhole();
         }},
        {"units", always([&] {
             BUnitSystem system;
             system.ChangeUnit(UnitClassNone, long1, 2, 3);
             const BUnitSystem copy(system);
             static_cast<void>(BGuid().ToString());
         })},
        {"collation", always([&] {
             const WString other = QD_W("\u00e4 name that t\u00e4kes memory");
             static_cast<void>(other == long1 || other.IEqual(long2) || other.IIncludes(long1));
             static_cast<void>(BString(other) == BString(long1));
         })},
    };
    for (const Operation& operation : operations)
        RunWithEachAllocationFailing(operation);
}
