#include "core/archive/BArchive.h"

#include "core/base/ErrorCodes.h"
#include "core/geometry/BFColor.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/Thrown.h"
#include "tests/archive/ArchiveTestObjects.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

using namespace std::string_literals;

namespace {

template <class T>
concept IsWritten = requires(BArchive& archive, const T& value)
{
    archive << value;
};
template <class T>
concept IsRead = requires(BArchive& archive, T& value)
{
    archive >> value;
};
template <class... Types>
constexpr bool kAllPass = ((IsWritten<Types> && IsRead<Types>)&&...);
template <class... Types>
constexpr bool kNonePasses = !((IsWritten<Types> || IsRead<Types>) || ...);

// What a record cannot hold is no other type for it; a `long` where it is `std::int64_t` is that.
enum ENumber { NumberOne = 1 };
enum class EScoped : char { One = 1 };
static_assert(
    kAllPass<BString, WString, int, float, double, char, unsigned short, std::int64_t, BFColor>);
static_assert(kNonePasses<bool, short, unsigned, std::uint64_t, unsigned long, signed char,
                          unsigned char, char8_t, WChar, char32_t, long double, ENumber, EScoped>);
static_assert(kNonePasses<std::vector<bool>::reference, std::atomic<bool>, std::atomic<short>>);
static_assert(IsWritten<std::atomic<std::int64_t>>);
static_assert(IsWritten<long> == std::is_same_v<long, std::int64_t> &&
              IsWritten<long> == IsRead<long>);
static_assert(IsWritten<long long> == std::is_same_v<long long, std::int64_t>);

// Any mode but `ModeWrite` reads.
static_assert(BArchive::MODE{7} != BArchive::ModeWrite);

// One of each value that a record can hold.
class Values : public BSmartObj {
public:
    void WriteData(BArchive& archive) const override
    {
        std::apply([&](const auto&... value) { (archive << ... << value); }, m_values);
        archive.WriteMemoryBlock(m_block.data(), m_block.size());
    }
    static SP<BSmartObj> Read(BArchive& archive, int version)
    {
        SP<Values> values(new Values);
        EXPECT_EQ(version, 3);
        std::apply([&](auto&... value) { (archive >> ... >> value); }, values->m_values);
        values->m_block.resize(static_cast<std::size_t>(archive.BytesLeft()));
        EXPECT_TRUE(archive.ReadMemoryBlock(values->m_block.data(), values->m_block.size()));
        char none = 0;
        EXPECT_FALSE(archive.ReadMemoryBlock(&none, 1)) << "a record ends where it ends";
        const auto whole = values->m_values;
        archive >> std::get<int>(values->m_values);
        EXPECT_TRUE(values->m_values == whole);
        EXPECT_THROW(archive >> std::get<BString>(values->m_values), ARCHIVE_EXCEPTION);
        return values;
    }
    int Version() const override { return 3; }

    std::tuple<BString, WString, int, float, double, char, unsigned short, std::int64_t, BFColor>
        m_values;
    std::string m_block;
};

// Stands in no registry.
class Unregistered : public ArchiveItem {};

// Fails to write itself.
class Unwritable : public ArchiveItem {
public:
    void WriteData(BArchive& archive) const override
    {
        const std::vector<char> bytes(m_size);
        archive.WriteMemoryBlock(bytes.data(), bytes.size());
        if (m_fails)
            throw BError(4711);
    }
    std::size_t m_size = 8;
    bool m_fails = true;
};

// Takes another object out while it is read.
class Impatient : public BSmartObj {
public:
    void WriteData(BArchive& archive) const override { archive << m_wanted; }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<Impatient> object(new Impatient);
        archive >> object->m_wanted;
        object->m_taken = archive.TakeOut(object->m_wanted.CStr());
        return object;
    }
    BString m_wanted;
    SP<BSmartObj> m_taken;
};

// Takes another one out each time it is asked whether it is sound.
class Inquirer : public BSmartObj {
public:
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<Inquirer> object(new Inquirer);
        object->m_archive = &archive;
        return object;
    }
    void UpdateAssociations(BArchive&) override { m_associated = true; }
    bool VerifyObj() override
    {
        static_cast<void>(m_archive->TakeOut(std::to_string(++count).append("q").c_str()));
        return m_associated;
    }
    static inline int count = 0;

private:
    BArchive* m_archive = nullptr;
    bool m_associated = false;
};

// Hands out one object for each of its records.
class Single : public ArchiveItem {
public:
    static SP<BSmartObj> Read(BArchive&, int) { return only; }
    static inline SP<ArchiveItem> only;
};

// Asks the one that refers to it, to which its pointer is not counted, whether it is sound. Its
// owner may be one whose own record cannot be read.
class Dependent : public ArchiveItem {
public:
    static SP<BSmartObj> Read(BArchive&, int) { return SP<BSmartObj>(new Dependent); }
    bool VerifyObj() override { return m_owner == nullptr || m_owner->m_value != kUnsound; }
    ArchiveItem* m_owner = nullptr;
};
class Owner : public ArchiveItem {
public:
    using ArchiveItem::ArchiveItem;
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        const SP<Owner> owner(new Owner);
        int count = 0;
        void* index = nullptr;
        archive >> owner->m_value >> count >> index;
        owner->m_indices.push_back(index);
        archive.TakeOutLater(reinterpret_cast<std::uintptr_t>(index));
        if (owner->m_value == kUnreadable)
            throw ArchiveFormatFault;
        return owner;
    }
    void UpdateAssociations(BArchive& archive) override
    {
        ArchiveItem::UpdateAssociations(archive);
        archive.OnRefusal(*this,
                          [](BSmartObj& object) { static_cast<Owner&>(object).m_links.clear(); });
        if (auto* const dependent = dynamic_cast<Dependent*>(Link(0)))
            dependent->m_owner = this;
    }
    bool VerifyObj() override { return true; }
    static constexpr int kUnreadable = -667;
};

// Has its name in the file, so that no other class reads it.
class NamedArchive : public BArchive {
public:
    NamedArchive(const WString& path, MODE mode,
                 const char* name = BSmartObj::ClassName(typeid(NamedArchive)))
        : BArchive(path, mode, "class Doc", 7, name)
    {}
};

class BArchiveTest : public testing::Test {
protected:
    BArchiveTest()
    {
        ArchiveItem::Register();
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Dependent)), &Dependent::Read);
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Owner)), &Owner::Read);
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Single)), &Single::Read);
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Inquirer)), &Inquirer::Read);
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Values)), &Values::Read);
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Impatient)), &Impatient::Read);
    }

    // The bytes of an archive into which `insert` put objects.
    template <typename Insert>
    std::string Written(Insert insert)
    {
        {
            BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 7);
            insert(archive);
            EXPECT_TRUE(archive.Flush());
        }
        return FileBytes(m_folder / "a.qda");
    }

    void Put(const std::string& bytes) { WriteFileBytes(m_folder / "a.qda", bytes); }

    [[nodiscard]] bool OpensAs(const char* docClass, int docVersion)
    {
        return BArchive(m_path, BArchive::ModeRead, docClass, docVersion).IsGood();
    }

    TemporaryFolder m_folder;
    WString m_path = m_folder.Path("a.qda");
};

// Three records: an item that refers twice to a second one, and that one, which refers to null and
// back to the first.
void InsertGraph(BArchive& archive)
{
    SP<ArchiveItem> first(new ArchiveItem(1));
    SP<ArchiveItem> second(new ArchiveItem(2));
    first->m_links = {second, second};
    second->m_links = {nullptr, first};
    archive.Insert(first.Get(), "first");
    archive.Insert(new ArchiveItem(3), "third");
    archive.Flush();
    second->m_links.clear(); // the test's own objects are a circle
}

const char* const kGraph = "S\x09\0\0\0class Doc\x07\0\0\0"
                           "S\x0E\0\0\0class BArchive\x08\0\0\0";

} // namespace

TEST_F(BArchiveTest, WritesTheDocumentedBytes)
{
    const std::string header(kGraph, 41);
    const auto record = [](const std::string& id, const std::string& label,
                           const std::string& payload) {
        return "S\x01\0\0\0"s + id + "S" + static_cast<char>(label.size()) + "\0\0\0"s + label +
               "S\x11\0\0\0class ArchiveItem\0\0\0\0"s + static_cast<char>(payload.size()) +
               "\0\0\0\0\0\0\0"s + payload;
    };
    const std::string two("\2\0\0\0\2\0\0\0", 8);
    EXPECT_EQ(Written([](BArchive&) {}), header);
    EXPECT_EQ(Written(InsertGraph),
              header +
                  record("1", "first",
                         "\1\0\0\0"s + "\2\0\0\0"s + "\2\0\0\0\0\0\0\0"s + "\2\0\0\0\0\0\0\0"s) +
                  record("3", "third", "\3\0\0\0\0\0\0\0"s) + // queued, not mentioned before
                  record("2", "", two + "\0\0\0\0\0\0\0\0"s + "\1\0\0\0\0\0\0\0"s));
}

TEST_F(BArchiveTest, SharedObjectsAreWrittenOnceAndSharedAgain)
{
    Written(InsertGraph);
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    ASSERT_TRUE(archive.IsGood());
    const SP<ArchiveItem> first = TakeOutAs<ArchiveItem>(archive, "first");
    ASSERT_TRUE(first);
    ArchiveItem* second = first->Link(0);
    EXPECT_EQ(second, first->Link(1));
    EXPECT_EQ(second->m_value, 2);
    EXPECT_EQ(second->Link(0), nullptr);
    EXPECT_EQ(second->Link(1), first);
    EXPECT_EQ(first->m_associated, 1);
    EXPECT_EQ(archive.QueryObject(archive.IndexToPtr(2)), second);
    EXPECT_EQ(archive.QueryObject(archive.IndexToPtr(3)), nullptr) << "not asked for yet";
    EXPECT_EQ(archive.TakeOut("first"), first);
    EXPECT_EQ(archive.TakeOut("2"), second) << "an index text is a name, too";
    EXPECT_NE(archive.TakeOut("third"), nullptr);
    EXPECT_EQ(first->m_associated, 1) << "once, however often the archive is asked";
    second->m_links.clear();
}

TEST_F(BArchiveTest, KeepsEveryKindOfValue)
{
    SP<Values> values(new Values);
    values->m_values = {"a\xE9",
                        QD_W("\x4E2D\xD83D\xDE00"),
                        std::numeric_limits<int>::min(),
                        -0.5F,
                        1e-300,
                        '\xFF',
                        65535,
                        std::numeric_limits<std::int64_t>::max(),
                        BFColor(0.25F, 0.5F, 0.75F, 1)};
    values->m_block.assign(3'000'000, 'b'); // more than the archive gathers in memory
    Written([&](BArchive& archive) {
        archive.Insert(values.Get(), "v");
        archive.Insert(new ArchiveItem(9), "after");
    });

    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    const SP<Values> read = TakeOutAs<Values>(archive, "v");
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->m_values == values->m_values);
    EXPECT_TRUE(read->m_block == values->m_block);
    EXPECT_NE(archive.TakeOut("after"), nullptr) << "the size was patched in the file";
}

TEST_F(BArchiveTest, TheFirstObjectUnderALabelKeepsIt)
{
    Written([](BArchive& archive) {
        SP<ArchiveItem> twice(new ArchiveItem(1));
        archive.Insert(twice.Get(), "a");
        archive.Insert(twice.Get(), "again");                           // queued already
        archive.Insert(SP<ArchiveItem>(new ArchiveItem(2)).Get(), "a"); // the label is taken
        archive.Insert(new ArchiveItem(3), "");                         // no label: always taken
        archive.Insert(new ArchiveItem(4), nullptr);
        archive.Insert(nullptr, "null");
        archive.Insert(new ArchiveItem(5), "1"); // a label that looks like an index
    });
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    const auto value = [&](const char* name) {
        const SP<ArchiveItem> item = TakeOutAs<ArchiveItem>(archive, name);
        return item ? item->m_value : -1;
    };
    EXPECT_EQ(value("a"), 1);
    EXPECT_EQ(value("again"), -1);
    EXPECT_EQ(value("null"), -1);
    EXPECT_EQ(value("1"), 5) << "labels first";
    EXPECT_EQ(static_cast<ArchiveItem*>(archive.QueryObject(archive.IndexToPtr(1)).Get())->m_value,
              1)
        << "a reference goes by the index";
    EXPECT_EQ(value(""), -1);
    EXPECT_EQ(value("A"), -1) << "labels are compared byte for byte";
}

TEST_F(BArchiveTest, AcceptsADocumentByClassAndVersion)
{
    struct Case {
        std::string fileClass, archiveClass;
        int fileVersion, format;
        const char* docClass;
        int docVersion;
        bool good;
    };
    const Case cases[] = {
        {"class Doc", "class BArchive", 7, 8, "class Doc", 7, true},
        {"class Doc", "class BArchive", 7, 8, "class Doc", 6, true},
        {"class Doc", "class BArchive", 7, 8, "class Doc", 8, false},
        {"class Doc", "class BArchive", 7, 8, "class doc", 7, false},
        {"class Doc", "class BArchive", 7, 8, "Doc", 7, false},
        {"class Doc", "class Other", 7, 8, "class Doc", 7, false},
        {"class Doc", "BArchive", 7, 8, "class Doc", 7, false},
        {"Doc", "BArchive", 7, 8, "class Doc", 7, true}, // from before names had the keyword
        {"Doc", "class BArchive", 7, 8, "Doc", 7, true},
        {"", "BArchive", 0, 8, "", 0, true},
        {"class Doc", "class BArchive", 7, 1, "class Doc", 7, false},
        {"class Doc", "class BArchive", 7, 2, "class Doc", 7, true},
        {"class Doc", "class BArchive", 7, 7, "class Doc", 7, true},
        {"class Doc", "class BArchive", 7, 9, "class Doc", 7, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fileClass + " " + c.archiveClass + " " + std::to_string(c.format) + " for " +
                     c.docClass + " " + std::to_string(c.docVersion));
        const auto text = [](const std::string& t) {
            return "S"s + static_cast<char>(t.size()) + "\0\0\0"s + t;
        };
        const auto number = [](int n) { return static_cast<char>(n) + "\0\0\0"s; };
        Put(text(c.fileClass) + number(c.fileVersion) + text(c.archiveClass) + number(c.format));
        EXPECT_EQ(OpensAs(c.docClass, c.docVersion), c.good);
    }
    EXPECT_FALSE(BArchive(m_folder.Path("absent"), BArchive::ModeRead, "", 0).IsGood());
    EXPECT_FALSE(BArchive(m_folder.Path("no/such"), BArchive::ModeWrite, "", 0).IsGood());
}

TEST_F(BArchiveTest, ReadsTheSizesAndReferencesOfOlderFormats)
{
    const auto archive = [](char format, const std::string& size, const std::string& reference) {
        const auto record = [&](const std::string& id, char value, const std::string& links) {
            const std::string payload = value + "\0\0\0"s + links;
            return "S\1\0\0\0"s + id + "S\0\0\0\0"s + "S\x0B\0\0\0ArchiveItem"s + "\0\0\0\0"s +
                   static_cast<char>(payload.size()) + size + payload;
        };
        return "S\3\0\0\0Doc\7\0\0\0S\x08\0\0\0BArchive"s + format + "\0\0\0"s +
               record("1", 5, "\1\0\0\0\2"s + reference) + record("2", 6, "\0\0\0\0"s);
    };
    const std::string three(3, '\0');
    const std::string seven(7, '\0');
    struct Case {
        char format;
        std::string size, reference; // the bytes behind the first
        bool good;
    };
    const Case cases[] = {
        {2, three, three, true},  {6, three, three, true},  {7, three, seven, true},
        {7, seven, seven, false}, // written with 8 bytes of size, read with 4
        {8, seven, seven, true},  {8, three, seven, false},
    };
    // The class of the records is called "class ArchiveItem"; here it stands without its keyword.
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.format));
        Put(archive(c.format, c.size, c.reference));
        BArchive in(m_path, BArchive::ModeRead, "class Doc", 7);
        EXPECT_EQ(in.IsGood(), c.good);
        const SP<ArchiveItem> item = TakeOutAs<ArchiveItem>(in, "1");
        ASSERT_EQ(static_cast<bool>(item), c.good);
        if (c.good) {
            EXPECT_EQ(in.Version(), c.format);
            EXPECT_EQ(item->m_value, 5);
            EXPECT_EQ(item->Link(0)->m_value, 6);
        }
    }
}

TEST_F(BArchiveTest, OfAllPrefixesOnlyWholeRecordsAreGood)
{
    const std::string whole = Written(InsertGraph);
    int good = 0;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        Put(whole.substr(0, size));
        BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
        good += archive.IsGood() ? 1 : 0;
        EXPECT_EQ(archive.TakeOut("no such"), nullptr);
    }
    EXPECT_EQ(good, 1 + 3);
}

// Whatever byte is changed, the archive is refused, or gives null or objects; the sanitizers watch.
TEST_F(BArchiveTest, DamageIsRefusedOrLeavesTheWholeObjects)
{
    const std::string whole = Written(InsertGraph);
    int refused = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char value : {'\0', '\1', '\x7F', '\xFF'}) {
            std::string damaged = whole;
            damaged[at] = value;
            Put(damaged);
            BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
            refused += archive.IsGood() ? 0 : 1;
            for (const char* name : {"first", "third", "3"}) {
                if (const auto item = TakeOutAs<ArchiveItem>(archive, name))
                    item->m_links.clear(); // the graph may be a circle
            }
            for (std::uint64_t index = 1; index < 4; ++index) {
                if (const SP<BSmartObj> object = archive.QueryObject(archive.IndexToPtr(index)))
                    static_cast<ArchiveItem*>(object.Get())->m_links.clear();
            }
        }
    }
    EXPECT_GT(refused, 300) << "the header and the chain of records are checked";

    for (std::size_t at = 0; at + 8 <= whole.size(); ++at) { // sizes and counts of all ones
        std::string damaged = whole;
        damaged.replace(at, 8, 8, '\xFF');
        Put(damaged);
        BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
        const SP<BSmartObj> object = archive.TakeOut("third");
        EXPECT_TRUE(!object || archive.IsGood());
    }
}

TEST_F(BArchiveTest, AnObjectThatCannotBeReadIsNull)
{
    Written([](BArchive& archive) {
        SP<ArchiveItem> item(new ArchiveItem(1));
        item->m_links = {SP<BSmartObj>(new Unregistered), SP<BSmartObj>(new ArchiveItem(2))};
        archive.Insert(item.Get(), "item");
        archive.Insert(new Unregistered, "unregistered");
        archive.Insert(new ArchiveItem(ArchiveItem::kUnsound), "unsound");
    });
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    const SP<ArchiveItem> item = TakeOutAs<ArchiveItem>(archive, "item");
    ASSERT_TRUE(item);
    EXPECT_EQ(item->Link(0), nullptr);
    EXPECT_EQ(item->Link(1)->m_value, 2);
    EXPECT_EQ(archive.TakeOut("unregistered"), nullptr);
    EXPECT_TRUE(archive.VerifyObjects());
    EXPECT_EQ(archive.TakeOut("unsound"), nullptr);
    EXPECT_FALSE(archive.VerifyObjects());
    EXPECT_EQ(archive.TakeOut("item"), nullptr)
        << "one that fails its self-check spoils the archive";
}

// The sanitizers watch the one that was refused, whose owner is gone.
TEST_F(BArchiveTest, ACallThatGivesNullLeavesNothingBehind)
{
    const SP<Owner> unreadable(new Owner(Owner::kUnreadable));
    const SP<Owner> good(new Owner(1));
    const SP<Owner> refused(new Owner(ArchiveItem::kUnsound));
    unreadable->m_links = {good};
    good->m_links = {SP<BSmartObj>(new ArchiveItem(2))};
    refused->m_links = {SP<BSmartObj>(new Dependent)};
    Written([&](BArchive& archive) {
        archive.Insert(unreadable.Get(), "unreadable");
        archive.Insert(good.Get(), "good");
        archive.Insert(refused.Get(), "refused");
    });
    SP<Owner> given;
    {
        BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
        EXPECT_EQ(archive.TakeOut("unreadable"), nullptr);
        EXPECT_EQ(archive.QueryObject(archive.IndexToPtr(2)), nullptr);
        given = TakeOutAs<Owner>(archive, "good");
        EXPECT_EQ(archive.TakeOut("unreadable"), nullptr);
        EXPECT_EQ(archive.TakeOut("refused"), nullptr);
        EXPECT_EQ(archive.TakeOut("refused"), nullptr);
        EXPECT_FALSE(archive.VerifyObjects());
    }
    ASSERT_TRUE(given);
    ASSERT_EQ(given->m_links.size(), 1U) << "what was given stays as it is";
}

TEST_F(BArchiveTest, AFileThatIsCutWhileItIsReadGivesNoHalfObjects)
{
    const std::string bytes = Written([](BArchive& archive) {
        const SP<ArchiveItem> root(new ArchiveItem(1));
        for (int i = 0; i < 2; ++i) {
            const SP<ArchiveItem> large(new ArchiveItem(2));
            large->m_links.resize(10'000);
            root->m_links.push_back(large);
        }
        archive.Insert(root.Get(), "root");
        archive.Flush();
    });
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    EXPECT_TRUE(archive.IsGood());
    std::filesystem::resize_file(m_folder / "a.qda", bytes.size() / 2);
    EXPECT_EQ(archive.TakeOut("root"), nullptr);
    EXPECT_FALSE(archive.IsGood());
}

TEST_F(BArchiveTest, AnObjectThatCannotBeWrittenSpoilsNothing)
{
    SP<Unwritable> unwritable(new Unwritable);
    for (const std::size_t size : {8U, 3'000'000U}) { // the larger one reaches the file meanwhile
        unwritable->m_size = size;
        unwritable->m_fails = true;
        BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 7);
        archive.Insert(new ArchiveItem(1), "before");
        archive.Insert(unwritable.Get(), "unwritable");
        archive.Insert(new ArchiveItem(2), "behind");
        EXPECT_THROW(archive.Flush(), BError);
        EXPECT_TRUE(archive.IsGood());
        EXPECT_THROW(archive.Flush(), BError) << "it stays queued";
        unwritable->m_fails = false;
        EXPECT_TRUE(archive.Flush());

        BArchive in(m_path, BArchive::ModeRead, "class Doc", 7);
        EXPECT_NE(in.TakeOut("before"), nullptr);
        EXPECT_NE(in.TakeOut("behind"), nullptr);
    }
}

TEST_F(BArchiveTest, TheWrongModeDoesNothing)
{
    {
        BArchive out(m_path, BArchive::ModeWrite, "class Doc", 7);
        int value = 5;
        out >> value;
        EXPECT_EQ(value, 5);
        EXPECT_EQ(out.TakeOut("x"), nullptr);
        EXPECT_EQ(out.MapPointerToIndex(nullptr), 0U);
        EXPECT_EQ(out.MapPointerToIndex(&value), 1U);
        EXPECT_EQ(out.MapPointerToIndex(&out), 2U);
        EXPECT_EQ(out.MapPointerToIndex(&value), 1U);
    }
    const std::string before = FileBytes(m_folder / "a.qda");
    BError thrown(0);
    {
        BArchive in(m_path, BArchive::ModeRead, "class Doc", 7);
        in << 5 << BString("x");
        in.Insert(SP<ArchiveItem>(new ArchiveItem).Get(), "x");
        EXPECT_FALSE(in.Flush());
        EXPECT_TRUE(in.IsGood());
        EXPECT_EQ(in.Mode(), BArchive::ModeRead);
        EXPECT_EQ(in.Path(), m_path);
        thrown = Thrown([&] { in.ThrowError(); });
    }
    EXPECT_EQ(thrown.Error(), kErrorGeneral);
    EXPECT_EQ(thrown.Argument(0), QD_W("$IDS_ErrorHint16"));
    EXPECT_EQ(FileBytes(m_folder / "a.qda"), before);
}

// The file chooses how deep `Read` and `TakeOut` call one another.
TEST_F(BArchiveTest, TakingOutWhileReadingGivesTheWholeOrNull)
{
    for (const int length : {1, 65, 1000, 30'000}) {
        SCOPED_TRACE(length);
        Written([length](BArchive& archive) {
            for (int i = 0; i < length; ++i) {
                const SP<Impatient> object(new Impatient);
                object->m_wanted = std::to_string((i + 1) % length).append("x").c_str();
                archive.Insert(object.Get(), std::to_string(i).append("x").c_str());
            }
        });
        BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
        SP<BSmartObj> object = archive.TakeOut("0x");
        int depth = 0; // the last one wants the first, which is not ready then
        for (; object; ++depth)
            object = static_cast<Impatient*>(object.Get())->m_taken;
        EXPECT_EQ(depth, archive.IsGood() ? length : 0);
        EXPECT_TRUE(archive.IsGood() || length > 1000);
        EXPECT_TRUE(archive.IsGood() || !archive.TakeOut("999x")) << "nor a part of it later";
    }
}

TEST_F(BArchiveTest, EveryRebuiltObjectIsAskedWhetherItIsSound)
{
    constexpr int kCount = 4000;
    Single::only = new ArchiveItem(5);
    Written([](BArchive& archive) {
        for (int i = 0; i < kCount; ++i)
            archive.Insert(new ArchiveItem(i), std::to_string(i).append("x").c_str());
        const SP<ArchiveItem> twice(new ArchiveItem(1));
        twice->m_links = {SP<BSmartObj>(new Single), SP<BSmartObj>(new Single)};
        archive.Insert(twice.Get(), "twice");
    });
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    ArchiveItem::asked = 0;
    const SP<ArchiveItem> twice = TakeOutAs<ArchiveItem>(archive, "twice");
    ASSERT_TRUE(twice);
    EXPECT_EQ(twice->Link(0), twice->Link(1));
    EXPECT_EQ(Single::only->m_associated, 1) << "read for two records";
    EXPECT_EQ(ArchiveItem::asked, 2);
    Single::only->m_value = ArchiveItem::kUnsound;
    EXPECT_EQ(archive.TakeOut("0x"), nullptr);
    Single::only->m_value = 5;
    EXPECT_NE(archive.TakeOut("0x"), nullptr);
    Single::only = nullptr;

    ArchiveItem::asked = 0;
    for (int i = 0; i < kCount; ++i)
        EXPECT_NE(archive.TakeOut(std::to_string(i).append("x").c_str()), nullptr);
    EXPECT_LT(ArchiveItem::asked, 100 * kCount) << "not each one in each call";
    twice->m_value = ArchiveItem::kUnsound;
    EXPECT_FALSE(archive.VerifyObjects());
    int given = 0;
    while (archive.TakeOut("0x") && given < kCount)
        ++given;
    EXPECT_LT(given, 100) << "every one in its turn";
    EXPECT_EQ(archive.TakeOut("0x"), nullptr) << "and again";
}

TEST_F(BArchiveTest, OneThatIsAskedMayTakeOutOthers)
{
    constexpr int kCount = 100;
    Written([](BArchive& archive) {
        for (int i = 0; i < kCount; ++i)
            archive.Insert(new Inquirer, std::to_string(i).append("q").c_str());
    });
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    Inquirer::count = kCount - 2;
    EXPECT_NE(archive.TakeOut("0q"), nullptr) << "what it takes out is asked when it is complete";
    EXPECT_GE(Inquirer::count, kCount);
    Inquirer::count = 0;
    EXPECT_TRUE(archive.VerifyObjects());
    EXPECT_GE(Inquirer::count, kCount) << "each of them";
}

TEST_F(BArchiveTest, ADerivedArchiveHasItsOwnName)
{
    NamedArchive(m_path, BArchive::ModeWrite).Insert(new ArchiveItem(1), "a");
    EXPECT_NE(FileBytes(m_folder / "a.qda").find("NamedArchive"), std::string::npos);
    EXPECT_NE(NamedArchive(m_path, BArchive::ModeRead).TakeOut("a"), nullptr);
    EXPECT_FALSE(OpensAs("class Doc", 7));
    NamedArchive(m_path, BArchive::ModeWrite, nullptr).Insert(new ArchiveItem(1), "a");
    EXPECT_NE(NamedArchive(m_path, BArchive::ModeRead, nullptr).TakeOut("a"), nullptr);
    EXPECT_TRUE(OpensAs("class Doc", 7)) << "null is the name of its base";
    Written(InsertGraph);
    EXPECT_FALSE(NamedArchive(m_path, BArchive::ModeRead).IsGood());
}

TEST_F(BArchiveTest, ReadPrefixReadsWhatWritePrefixWrote)
{
    class Peeking : public BSmartObj {
    public:
        static SP<BSmartObj> Read(BArchive& archive, int)
        {
            BString id, label, className;
            int version = 0;
            std::uint64_t size = 0;
            EXPECT_TRUE(ReadPrefix(archive, id, label, className, version, size));
            EXPECT_EQ(id, "1");
            EXPECT_EQ(label, "inner");
            EXPECT_EQ(className, "class `");
            EXPECT_EQ(version, 4);
            EXPECT_EQ(size, 0xEAEAEAEAEAEAEAEAU);
            EXPECT_FALSE(ReadPrefix(archive, id, label, className, version, size));
            return nullptr;
        }
        void WriteData(BArchive& archive) const override { WritePrefix(archive, "inner"); }
        const char* ArchiveName() const override { return "class `"; }
        int Version() const override { return 4; }
    };
    RegisterArchiveCallback("class `", &Peeking::Read);
    Written([](BArchive& archive) { archive.Insert(new Peeking, "p"); });
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 7);
    EXPECT_EQ(archive.TakeOut("p"), nullptr);
}
