#include "core/platform/FileStream.h"
#include "core/qdcore.h"

#include "tests/FailingAllocations.h"
#include "tests/FileBytes.h"
#include "tests/base/StringTesting.h"
#include "tests/diag/OpenProfiler.h"
#include "tests/profile/TestRegistry.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

using string_testing::Plain;

namespace {

/// Runs `attempt` while each allocation that it makes fails, one after the other, alone and with
/// all behind it, and then asks `isSo`, which has memory. std::bad_alloc is an answer, too.
void FailEachAllocation(
    const char* name, const std::function<void()>& attempt,
    const std::function<bool()>& isSo = [] { return true; })
{
    using ERange = FailingAllocations::ERange;
    for (const ERange range : {ERange::One, ERange::All}) {
        bool hasFailed = true;
        for (std::uint64_t first = 0; hasFailed; ++first) {
            {
                const FailingAllocations memory(first, range);
                try {
                    attempt();
                } catch (const std::bad_alloc&) {
                }
                hasFailed = memory.HaveFailed();
            }
            ASSERT_TRUE(isSo()) << name << ", allocation " << first
                                << (range == ERange::All ? " and all behind it" : "");
        }
    }
}

/// For calls whose answer does not matter.
void Ask(const auto&...) {}

class OutOfMemoryTest : public testing::Test {
protected:
    OutOfMemoryTest()
    {
        NumberAttribute::Register();
        // The runtime keeps room for exceptions that get no memory, but not for the lock around it.
        const FailingAllocations memory(0, FailingAllocations::ERange::One);
        try {
            throw std::bad_alloc();
        } catch (const std::bad_alloc&) {
        }
    }

    TemporaryFolder m_folder;
    WString m_path = m_folder.Path("file");
};

SP<BNode> SmallTree()
{
    SP<BNode> root = Named(QD_W("root"));
    BNode* const child = Append(*root, QD_W("child"));
    child->SetObj(new BBitArray(8, 5, 5));
    child->AddAttrib(new NumberAttribute(QD_W("speed"), 7));
    WString longNote;
    longNote.Fill(200, QD_W('n'));
    root->AddAnnotation(Named(longNote).Get());
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

const BString kClass = "class Doc";

using Archive = std::unique_ptr<BArchive>;

Archive Open(const WString& path, BArchive::MODE mode)
{
    return std::make_unique<BArchive>(path, mode, kClass, 1);
}

/// What a member makes of a string. Strings share their texts, so that each change needs memory.
template <class String>
struct Outcome {
    String text, result;
    bool isDone = false;

    [[nodiscard]] std::string Shown() const
    {
        return Plain(text) + '|' + Plain(result) + (isDone ? "|done" : "");
    }
};

/// Each member leaves the text and gives nothing, or does all that it does with memory.
template <class String>
void CheckStrings(const String& text, const String& other, std::FILE* lines, std::FILE* records)
{
    using O = Outcome<String>;
    using Char = std::remove_cvref_t<decltype(text[0])>;
    const auto space = Char(' ');
    const std::pair<const char*, std::function<void(O&)>> members[] = {
        {"ToUpper", [](O& o) { o.result = o.text.ToUpper(); }},
        {"Upper", [](O& o) { o.result = o.text.Upper(); }},
        {"string + string", [&](O& o) { o.result = o.text + other; }},
        {"text + string", [&](O& o) { o.result = other.CStr() + o.text; }},
        {"Append", [&](O& o) { o.text.Append(other); }},
        {"Append a character", [&](O& o) { o.text.Append(space); }},
        {"Prepend", [&](O& o) { o.text.Prepend(other); }},
        {"Insert", [&](O& o) { o.text.Insert(other.CStr(), 3); }},
        {"Replace", [&](O& o) { o.isDone = o.text.Replace(space, Char('_'), true); }},
        {"IReplace", [&](O& o) { o.isDone = o.text.IReplace(Char('T'), Char('x')); }},
        {"ReplaceAt", [&](O& o) { o.text.ReplaceAt(other.CStr(), 3); }},
        {"Remove", [](O& o) { o.text.Remove(2, 3); }},
        {"Sub", [](O& o) { o.result = o.text.Sub(2, 9); }},
        {"Cut", [](O& o) { o.result = o.text.Cut(2, 9); }},
        {"Split", [&](O& o) { o.isDone = o.text.Split(o.result, space, true); }},
        {"TrimLeft", [](O& o) { o.isDone = o.text.TrimLeft(Char('a')); }},
        {"EraseAllChars", [&](O& o) { o.text.EraseAllChars(space); }},
        {"SetAt", [](O& o) { o.text.SetAt(0, Char('x')); }},
        {"Fill", [](O& o) { o.isDone = o.text.Fill(99, Char('x')); }},
        {"ItoA", [](O& o) { o.text.ItoA(123456, 10); }},
        {"Printf", [&](O& o) { o.text.Printf(String(other).CStr(), 7); }},
        {"Printable", [](O& o) { o.result = o.text.Printable(); }},
        {"ResolveEsc", [](O& o) { o.text.ResolveEsc(); }},
        {"ReadLn", [&](O& o) { std::rewind(lines), o.isDone = o.text.ReadLn(lines); }},
        {"FRead", [&](O& o) { std::rewind(records), o.isDone = o.text.FRead(records); }},
    };
    for (const auto& [name, member] : members) {
        const O before = {text, {}};
        O whole = before, outcome;
        member(whole);
        FailEachAllocation(
            name,
            [&, run = member] {
                outcome = before;
                run(outcome);
            },
            [&] { return outcome.Shown() == whole.Shown() || outcome.Shown() == before.Shown(); });
    }
}

} // namespace

TEST_F(OutOfMemoryTest, AnArchiveIsReadAsAWholeOrNotAtAll)
{
    {
        const Archive archive = Open(m_path, BArchive::ModeWrite);
        archive->Insert(SmallTree().Get(), "root");
        ASSERT_TRUE(archive->Flush());
    }
    Archive archive;
    SP<BSmartObj> root;
    FailEachAllocation(
        "read",
        [&] {
            root = nullptr;
            archive = nullptr;
            archive = Open(m_path, BArchive::ModeRead);
            Ask(archive->TakeOut("a label that takes memory"));
            root = archive->TakeOut("root");
        },
        [&] {
            const bool isWhole = root ? IsSmallTree(root.Get())
                                      : !archive || archive->Problem().code == EProblem::Memory;
            root = archive ? archive->TakeOut("root") : nullptr; // a second time, with memory
            return isWhole && (archive && archive->IsGood() ? IsSmallTree(root.Get()) : !root);
        });
}

TEST_F(OutOfMemoryTest, AnArchiveThatSaysItWasWrittenLoads)
{
    const SP<BNode> tree = SmallTree(), note = Named(QD_W("note"));
    const auto loads = [&] {
        return IsSmallTree(Open(m_path, BArchive::ModeRead)->TakeOut("root").Get());
    };
    Archive archive;
    bool isWritten = false;
    FailEachAllocation(
        "write",
        [&] {
            isWritten = false;
            archive = nullptr;
            archive = Open(m_path, BArchive::ModeWrite);
            archive->Insert(tree.Get(), "root");
            isWritten = archive->Flush();
        },
        [&] {
            const bool isSo = !isWritten || loads();
            if (!archive)
                return isSo;
            archive->Insert(note.Get(), "note"); // must not come under the other label
            archive->Insert(tree.Get(), "root"); // once more, with memory
            return isSo && (!archive->Flush() || loads());
        });
}

TEST_F(OutOfMemoryTest, AnObjectWhoseClassGetsNoNameIsWrittenLater)
{
    class AskedForTheFirstTime : public BSmartObj {};
    const Archive archive = Open(m_path, BArchive::ModeWrite);
    archive->Insert(new AskedForTheFirstTime, "root");
    bool isToldByThrowing = false;
    {
        const FailingAllocations memory(0, FailingAllocations::ERange::All);
        try {
            Ask(archive->Flush());
        } catch (const std::bad_alloc&) {
            isToldByThrowing = true;
        }
    }
    EXPECT_TRUE(isToldByThrowing);
    EXPECT_EQ(archive->Problem().code, EProblem::Memory);
    EXPECT_TRUE(archive->Flush());
    EXPECT_FALSE(archive->Problem());
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

    const std::string bytes = longLine.AsUtf8();
    bool isWhole = false, isSame = false;
    FailEachAllocation(
        "Unicode",
        [&] {
            const WString wide = WString::FromUtf8(bytes, &isWhole);
            isSame = isWhole == (wide.Length() == longLine.Length()) && (isWhole || wide.IsEmpty());
            const std::u16string units = longLine.AsUtf16(&isWhole);
            isSame = isSame && units.size() == (isWhole ? longLine.Length() : 0);
            const std::string out = longLine.AsUtf8(&isWhole);
            isSame = isSame && (isWhole ? out == bytes : out.empty());
        },
        [&] { return isSame; });
}

TEST_F(OutOfMemoryTest, ADictionaryHoldsWhatWasInserted)
{
    BDictionary<int, int> dictionary;
    int count = 0;
    FailEachAllocation(
        "Insert",
        [&] {
            dictionary.RemoveAll();
            for (count = 0; count < 40; ++count)
                dictionary.Insert(300 * count, count);
        },
        [&] {
            int found = 0;
            for (const auto& item : dictionary)
                found += dictionary.Find(300 * item.value) == &item ? 1 : 0;
            return found == count && dictionary.Count() == static_cast<std::uint64_t>(count);
        });
}

TEST_F(OutOfMemoryTest, ProfilesKeepWhatTheyHeld)
{
    const WString section = QD_W("Probe"), key = QD_W("a key"), kept = QD_W("kept");
    const WString value = QD_W("a value that takes memory"), binary = m_folder.Path("file.bin");
    for (const bool isText : {true, false}) {
        const auto open = [&] {
            return isText ? SP<BProfileBase>(new BProfile(m_path, ProfileReadWrite))
                          : SP<BProfileBase>(new BBinProfile(binary, ProfileReadWrite));
        };
        bool isWritten = false, isNumberWritten = false; // and saved, which a text is at once
        bool isTold = true;                              // that a default is one
        open()->WriteString(kept, value);
        FailEachAllocation(
            isText ? "text profile" : "binary profile",
            [&] {
                isWritten = isNumberWritten = false;
                const SP<BProfileBase> profile = open();
                const WString old = profile->ReadString(kept, key);
                isTold = old.Length() == value.Length() || profile->Problem();
                profile->SetSection(section);
                isWritten = profile->WriteString(key, value) && isText;
                isNumberWritten = profile->WriteInt(7, key, 7) && isText;
                Ask(profile->ReadString(key, kept), profile->ReadDouble(3, key, 0.5));
            },
            [&] {
                const SP<BProfileBase> profile = open();
                const bool isKept = profile->ReadString(kept, WString()) == value;
                profile->SetSection(section);
                const WString found = profile->ReadString(key, WString());
                const int number = profile->ReadInt(7, key, 0);
                profile->DeleteSection();
                return isKept && isTold && (number == 7 || (!isNumberWritten && number == 0)) &&
                       (found == value || (!isWritten && found.IsEmpty()));
            });
    }
}

TEST_F(OutOfMemoryTest, ABinaryProfileOfNarrowTextsKeepsThem)
{
    const auto record = [](const std::string& text) {
        const auto size = static_cast<std::uint32_t>(text.size());
        return BytesOf(size) + BytesOf(~size) + text + '\0';
    };
    const std::string bytes = BytesOf(0x59414C05u) + record("[default]kept") + BytesOf(2u) +
                              record("a value that takes memory");
    const WString kept = QD_W("kept"), value = QD_W("a value that takes memory"), key = QD_W("key");
    WString found = value;
    WriteFileBytes(m_folder / "file", bytes);
    FailEachAllocation(
        "narrow texts",
        [&] {
            BBinProfile profile(m_path, ProfileReadWrite);
            found = profile.ReadString(kept, value);
            profile.WriteInt(key, 7); // for which all is saved
        },
        [&] {
            const WString saved = BBinProfile(m_path, ProfileReadOnly).ReadString(kept, key);
            WriteFileBytes(m_folder / "file", bytes);
            return found == value && saved == value;
        });
}

TEST_F(OutOfMemoryTest, ASectionOfABinaryProfileIsDeletedAsAWhole)
{
    constexpr int most = 5;
    const WString section = QD_W("a section that takes memory"), key = QD_W("key");
    const auto write = [&] {
        BBinProfile profile(m_path, ProfileNew);
        profile.SetSection(section);
        for (int i = 0; i != most; ++i)
            profile.WriteInt(i, key, 7);
    };
    bool isDeleted = false;
    write();
    FailEachAllocation(
        "delete a section",
        [&] {
            isDeleted = false;
            BBinProfile profile(m_path, ProfileReadWrite);
            profile.SetSection(section);
            profile.DeleteSection();
            isDeleted = profile.Save();
        },
        [&] {
            BBinProfile profile(m_path, ProfileReadOnly);
            profile.SetSection(section);
            int count = 0;
            for (int i = 0; i != most; ++i)
                count += profile.ReadInt(i, key, 0) == 7 ? 1 : 0;
            write();
            return count == 0 || (count == most && !isDeleted);
        });
}

TEST_F(OutOfMemoryTest, AnIniProfileKeepsWhatItHeld)
{
    const WString section = QD_W("Probe"), key = QD_W("a key"), kept = QD_W("kept");
    const WString value = QD_W("a value that takes memory");
    BIniProfile(m_path, section, true).Write(kept, value);
    bool isWritten = false;
    FailEachAllocation(
        "INI profile",
        [&] {
            isWritten = false;
            const BIniProfile profile(m_path, section, true);
            isWritten = profile.Write(key, value);
            profile.Write(kept, value.CStr());
            profile.Write(kept, "a value that takes memory");
            profile.Write(kept + kept, 0.5);
            BArray<WString> sections;
            Ask(profile.GetInt(kept + key, 5), profile.GetSections(sections));
        },
        [&] {
            BIniProfile profile(m_path, section, false);
            WString found, old;
            const bool isThere = profile.Read(key, found);
            profile.DeleteKey(key);
            return profile.Read(kept, old) && old == value &&
                   (isThere ? found == value : !isWritten);
        });
}

TEST_F(OutOfMemoryTest, TheRegistryKeepsWhatItHeld)
{
    const TestRegistry registry;
    const WString key = QD_W("a key"), kept = QD_W("kept");
    const WString value = QD_W("a value that takes memory");
    BConfigRegistry(registry.Path()).WriteString(kept, value);
    bool isWritten = false, isRight = true;
    FailEachAllocation(
        "registry",
        [&] {
            isWritten = false;
            isRight = true;
            try {
                BConfigRegistry config(registry.Path());
                isWritten = config.WriteString(key, value) == 0;
                WString read;
                isRight = config.ReadString(kept, read) != 0 || read.Length() == value.Length();
                Ask(config.WriteBool(kept + key, true));
            } catch (const BError&) {
            }
        },
        [&] {
            BConfigRegistry config(registry.Path());
            WString found, old;
            Ask(config.ReadString(key, found));
            Ask(config.WriteString(key, WString()));
            return config.ReadString(kept, old) == 0 && old == value && isRight &&
                   (found == value || (!isWritten && found.IsEmpty()));
        });
}

TEST_F(OutOfMemoryTest, LanguageFilesAreReadAndWrittenAsAWhole)
{
    const WString folder = TemporaryFolder::ToWide(m_folder / "");
    const WString key = QD_W("$IDS_AKeyThatTakesMemory");
    const WString text = QD_W("a text that takes memory");
    const WString master = m_folder.Path("m.lng"), pattern = QD_W("m.lng");
    const WString output = m_folder.Path("out"), merged = m_folder.Path("out/m.lng");
    ASSERT_TRUE(BDirEntry(output).MakeDir());
    BLanguageMap whole;
    whole.Add(key, text, text, true, true);
    whole.Add(QD_W("$IDS_Another"), key, text, true, true);
    ASSERT_EQ(whole.ExportMapFile(master), 0);
    const auto isWhole = [&](const BLanguageMap& map) {
        return map.StdDefaultMap().Count() == 2 && map.Translate(key) == text;
    };
    const auto holdsAll = [&](const WString& path) {
        BLanguageMap map;
        map.ImportMapFile(path, nullptr, true, true);
        return isWhole(map);
    };
    int code = 1, count = 0;
    SP<BLanguageMap> map;
    FailEachAllocation(
        "import",
        [&] {
            code = 1, map = new BLanguageMap;
            code = map->ImportMapFile(master, nullptr, true, true);
        },
        [&] { return code != 0 || isWhole(*map); });
    FailEachAllocation(
        "export", [&] { code = 1, code = whole.ExportMapFile(master); },
        [&] { return (code == 0 || code == 1) && holdsAll(master); });
    FailEachAllocation(
        "merge",
        [&] {
            code = 1, code = BLanguageMap::MergeMapFiles(folder, folder, output, pattern, count);
        },
        [&] { return (code != 0 || holdsAll(merged)) && BFile::Delete(merged) <= 1; });
    FailEachAllocation(
        "map",
        [&] {
            code = 1, map = new BLanguageMap;
            code = map->Add(key, text, text, true, true);
            WString keys;
            Ask(map->TranslateExt(key + text),
                map->TranslateBack(text, keys, WString(), LanguageCurrent));
        },
        [&] {
            const bool isListed = map->StdDefaultMap().Count() != 0;
            return isListed == map->Includes(key) && (isListed || code != 0);
        });
    const WString plain = QD_W("$APlainKeyThatTakesMemory");
    map = new BLanguageMap;
    map->Add(plain, text, text, true, true);
    FailEachAllocation(
        "overwritten entry", [&] { code = 1, code = map->Add(plain, key, key, true, true); },
        [&] {
            WString found;
            const WString& expected = code == 0 ? key : text; // the new text, or the old one still
            const bool isSo = map->Find(plain, found, false) && found == expected &&
                              map->StdDefaultMap().Count() == 1 &&
                              map->TranslateBack(expected, found, WString(), LanguageDefault) == 1;
            return map->Add(plain, text, text, true, true) == 0 && isSo;
        });
}

TEST_F(OutOfMemoryTest, ATreeIsSearchedAndReleasedWithoutMemory)
{
    SP<BNode> root = new BNode;
    for (int i = 0; i != 40; ++i)
        Append(*root, WString::FromInt(i));
    AppendLine(*root, 100)->SetObj(new CountedPayload);
    const WString name = QD_W("7");
    FailingAllocations memory(0, FailingAllocations::ERange::All);
    const bool isFound = root->Child(name) == root->Child(7);
    root = nullptr;
    memory.Stop();
    EXPECT_TRUE(memory.HaveFailed() && isFound);
    EXPECT_EQ(CountedPayload::alive, 0);
}

TEST_F(OutOfMemoryTest, NothingEndsTheProcess)
{
    const WString folder = m_folder.Path("a folder/another one");
    const WString long1 = QD_W("a name that takes memory"), long2 = QD_W("another that does");
    FailEachAllocation("files", [&] {
        BFile file(m_path, QD_W("wb"));
        file.Close();
        Ask(BFile::Size(m_path), BFile::IsDirectory(m_path), BFile::IsUnicode(m_path),
            BFile::ConvertToUnicode(m_path), BFile::Exist(m_path), BFile::GetShortPathNameW(m_path),
            file.Open(m_path, QD_W("r,ccs=UTF-16LE")));
        file.Close();
        Ask(BFile::Delete(m_path));
    });
    FailEachAllocation("entries", [&] {
        Ask(BDirEntry(folder).MakeDir(), BDirEntry(folder).Exists());
        BDirEntry entry(folder);
        entry += BDirEntry(long1);
        entry.ChangeName(long2);
        Ask(entry.GetPath(), entry.GetBase());
    });
    FailEachAllocation("trees", [&] {
        SP<BNode> root = Named(long1);
        for (int i = 0; i != 40; ++i)
            Append(*root, long2)->SetText(WString::FromInt(i) + long1);
        Ask(root->Child(long2), root->Child(7)->AddAttrib(new NumberAttribute(long1, 1)));
        root->RemoveChild(3);
        BNode copy;
        copy.Copy(*root);
        BBank bank(root);
        Ask(bank.Container(QD_W("/one/two/three")), bank.Path(root->Child(9)));
        for (BNodeItr at(root.Get(), BNodeItr::All); at; ++at) {
        }
        for (BNodeAttribItr at(*root->Child(7)); at; ++at) {
        }
        BVisitor visitor;
        root->Traverse(&visitor);
    });
    FailEachAllocation("bit arrays", [&] {
        BBitArray array(8, 9, 9);
        array.ChangeExtent(1, 1, 20, 20);
        const BBitArray copy(array);
    });
    FailEachAllocation("memory manager", [&] {
        CStdMemoryManager manager;
        manager.Init(1 << 20, 1 << 20);
        CMemoryBlock* const block = manager.MemoryBlockAlloc(1 << 12);
        manager.FreeMemoryBlock(manager.MemoryBlockAlloc(1 << 21));
        manager.FreeMemoryBlock(block);
        BMemory memory;
        memory.Duplicate(&manager, 16);
        memory.Release();
    });
    FailEachAllocation("operations", [&] {
        BAsyncOperationInterface operation;
        operation.StatusInfo(long1);
        operation.ErrorInfo(BError(7, long1, long2, WString(), WString()));
        Ask(operation.GetError(), operation.FetchStatusMessage(1, true));
        operation.Stop();
    });
    FailEachAllocation(
        "profiler",
        [&] {
            BProfiler::SetLogfilePath(WString());
            BProfiler::Start(long1);
            BProfiler::Step(long2);
            BProfiler::Stop(long1);
            BProfiler::SetLogfilePath(folder + QD_W("/"));
        },
        [] { return std::ranges::none_of(OpenProfiler::m_logEntries, &WString::IsEmpty); });
    FailEachAllocation("collation", [&] {
        const WString other = QD_W("\u00e4 name that t\u00e4kes memory");
        Ask(other == long1, other.IEqual(long2), other.IIncludes(long1),
            BString(other) == BString(long1));
    });
}
