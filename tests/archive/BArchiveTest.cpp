#include "core/archive/BArchive.h"

#include "core/base/ErrorCodes.h"
#include "core/geometry/BFColor.h"

#include "tests/ThrownError.h"
#include "tests/archive/ArchiveTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <limits>
#include <new>
#include <numeric>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
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
constexpr bool kNonePasses = !((IsWritten<Types> || IsRead<Types>) || ...);

// What a record cannot hold is no other type for it; a `long` where it is `std::int64_t` is that.
// What it can is shown by `KeepsEveryKindOfValue`.
enum ENumber { NumberOne = 1 };
enum class EScoped : char { One = 1 };
static_assert(kNonePasses<bool, short, unsigned, std::uint64_t, unsigned long, signed char,
                          unsigned char, char8_t, WChar, char32_t, long double, ENumber, EScoped,
                          std::vector<bool>::reference, std::atomic<bool>, std::atomic<short>>);
static_assert(IsWritten<std::atomic<std::int64_t>>);
static_assert(IsWritten<long> == std::is_same_v<long, std::int64_t> &&
              IsWritten<long> == IsRead<long>);
static_assert(IsWritten<long long> == std::is_same_v<long long, std::int64_t>);

// Any mode but `ModeWrite` reads.
static_assert(BArchive::MODE{7} != BArchive::ModeWrite);

// Does as the test at hand says, where it says anything.
class Acting : public ArchiveItem {
public:
    explicit Acting(int value = 0, std::vector<SP<BSmartObj>> links = {})
        : ArchiveItem(value, std::move(links))
    {
        ++alive;
    }
    ~Acting() override { --alive; }

    void WriteData(BArchive& archive) const override
    {
        write ? write(*this, archive) : ArchiveItem::WriteData(archive);
    }
    static SP<BSmartObj> Read(BArchive& archive, int version)
    {
        return read ? read(archive, version) : SP<BSmartObj>(Filled(new Acting, archive));
    }
    bool VerifyObj() override { return verify ? verify(*this) : ArchiveItem::VerifyObj(); }
    int Version() const override { return 3; }

    static inline std::function<void(const Acting&, BArchive&)> write;
    static inline std::function<SP<BSmartObj>(BArchive&, int)> read;
    static inline std::function<bool(Acting&)> verify;
    static inline int alive = 0;
};

// Stands in no registry.
class Unregistered : public ArchiveItem {};

class Nameless : public ArchiveItem {
public:
    const char* ArchiveName() const override { throw BError(4711); }
};

// Refers to others in circles, which it gives up when it is refused.
class Circular : public Acting {
public:
    using Acting::Acting;
    static SP<BSmartObj> Read(BArchive& archive, int) { return Filled(new Circular, archive); }
    void UpdateAssociations(BArchive& archive) override
    {
        ArchiveItem::UpdateAssociations(archive);
        archive.OnRefusal(
            *this, [](BSmartObj& object) { static_cast<Circular&>(object).m_links.clear(); });
        m_self = this;
        archive.OnRefusal(*this, LetGoOfSelf);
    }
    static void LetGoOfSelf(BSmartObj& object) { static_cast<Circular&>(object).m_self = nullptr; }

private:
    SP<BSmartObj> m_self;
};

// One of a circle of classes, as it were: each object of it gives up the next by another function.
class Various : public Acting {
public:
    using Acting::Acting;
    static SP<BSmartObj> Read(BArchive& archive, int) { return Filled(new Various, archive); }
    void UpdateAssociations(BArchive& archive) override
    {
        ArchiveItem::UpdateAssociations(archive);
        Expect(archive, std::make_index_sequence<kCount>());
    }

    static constexpr std::size_t kCount = 300; // more than a byte tells
    static inline std::vector<std::size_t> letGo;

private:
    template <std::size_t N>
    static void LetGo(BSmartObj& object)
    {
        letGo.push_back(N);
        static_cast<Various&>(object).m_links.clear();
    }
    template <std::size_t... N>
    void Expect(BArchive& archive, std::index_sequence<N...>)
    {
        constexpr void (*functions[])(BSmartObj&) = {&LetGo<N>...};
        archive.OnRefusal(*this, functions[m_value]);
    }
};

// Has its name in the file, so that no other class reads it.
class NamedArchive : public BArchive {
public:
    NamedArchive(const WString& path, MODE mode,
                 const char* name = BSmartObj::ClassName(typeid(NamedArchive)))
        : BArchive(path, mode, "class Doc", 7, name)
    {}
};

class BArchiveTest : public ArchiveFileTest {
protected:
    BArchiveTest()
    {
        ArchiveItem::Register();
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Acting)), &Acting::Read);
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Circular)), &Circular::Read);
        RegisterArchiveCallback(BSmartObj::ClassName(typeid(Various)), &Various::Read);
    }
    ~BArchiveTest() override
    {
        Acting::write = nullptr;
        Acting::read = nullptr;
        Acting::verify = nullptr;
    }
};

// Of the item under that name; -1 when it is null.
int Value(BArchive& archive, const std::string& name)
{
    const SP<ArchiveItem> item = TakeOutAs<ArchiveItem>(archive, name.c_str());
    return item ? item->m_value : -1;
}

std::string Numbered(const char* text, int number)
{
    return text + std::to_string(number);
}

// Three records: an item that refers twice to a second one, and that one, which refers to null and
// back to the first.
void InsertGraph(BArchive& archive)
{
    const SP<ArchiveItem> second(new ArchiveItem(2));
    const SP<ArchiveItem> first(new ArchiveItem(1, {second, second}));
    second->m_links = {nullptr, first};
    archive.Insert(first.Get(), "first");
    archive.Insert(new ArchiveItem(3), "third");
    archive.Flush();
    second->m_links.clear(); // the test's own objects are a circle
}

// An item's payload.
std::string ItemBytes(int value, const std::vector<std::uint64_t>& links = {})
{
    std::string bytes = BytesOf(value) + BytesOf(static_cast<int>(links.size()));
    for (const std::uint64_t link : links)
        bytes += BytesOf(link);
    return bytes;
}

std::string ItemRecord(const std::string& indexText, const std::string& label,
                       const std::string& payload)
{
    return RecordBytes(indexText, label, "class ArchiveItem", 0, payload);
}

const std::string kHeader = HeaderBytes("class Doc", 7);

} // namespace

TEST_F(BArchiveTest, WritesTheDocumentedBytes)
{
    EXPECT_EQ(Written([](BArchive&) {}), kHeader);
    EXPECT_EQ(Written(InsertGraph),
              kHeader + ItemRecord("1", "first", ItemBytes(1, {2, 2})) +
                  ItemRecord("3", "third", ItemBytes(3)) + // queued, not mentioned before
                  ItemRecord("2", "", ItemBytes(2, {0, 1})));
}

TEST_F(BArchiveTest, SharedObjectsAreWrittenOnceAndSharedAgain)
{
    Written(InsertGraph);
    BArchive archive = Opened();
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
    EXPECT_EQ(Value(archive, "third"), 3);
    EXPECT_EQ(first->m_associated, 1) << "once, however often the archive is asked";
    second->m_links.clear();
}

// Copies have one id, and of an address nobody says what is there.
TEST_F(BArchiveTest, EachObjectHasOneIndexHoweverItIsToldFromOthers)
{
    const SP<ArchiveItem> item(new ArchiveItem(1));
    const SP<ArchiveItem> copy(new ArchiveItem(*item)), other(new ArchiveItem(*item));
    copy->m_value = 2;
    other->m_value = 3;
    const SP<ArchiveItem> holder(new ArchiveItem(4, {item, copy, item, other, copy, other, item}));
    const std::string records = ItemRecord("1", "", ItemBytes(4, {2, 3, 2, 4, 3, 4, 2})) +
                                ItemRecord("2", "", ItemBytes(1)) +
                                ItemRecord("3", "", ItemBytes(2)) +
                                ItemRecord("4", "", ItemBytes(3));
    EXPECT_EQ(Written([&](BArchive& archive) { archive.Insert(holder.Get(), nullptr); }),
              kHeader + records);
    EXPECT_EQ(Written([&](BArchive& archive) {
                  archive << holder.Get();
                  EXPECT_EQ(archive.MapPointerToIndex(holder.Get()), 1U);
                  EXPECT_EQ(archive.MapPointerToIndex(item.Get()), 2U);
              }),
              kHeader + BytesOf(std::uint64_t{1}) + records);
}

TEST_F(BArchiveTest, EachObjectHasOneIndexWhereManyOthersWereMadeBetweenThem)
{
    for (const int others : {0, 5, 40}) {
        const SP<ArchiveItem> holder(new ArchiveItem);
        std::vector<std::uint64_t> indices;
        std::string records;
        for (std::uint64_t index = 2; index != 1'002; ++index) {
            holder->m_links.emplace_back(new ArchiveItem(static_cast<int>(index)));
            for (int i = 0; i != others; ++i)
                const ArchiveItem other;
            indices.push_back(index);
            records +=
                ItemRecord(BSmartObj::Id(index).CStr(), "", ItemBytes(static_cast<int>(index)));
        }
        std::ranges::copy(std::vector(indices), std::back_inserter(indices));
        std::ranges::copy(std::vector(holder->m_links), std::back_inserter(holder->m_links));
        EXPECT_TRUE(Written([&](BArchive& archive) { archive.Insert(holder.Get(), nullptr); }) ==
                    kHeader + ItemRecord("1", "", ItemBytes(0, indices)) + records)
            << others;
    }
}

TEST_F(BArchiveTest, AnObjectThatWasNotQueuedLeavesItsAddressToTheNext)
{
    alignas(ArchiveItem) std::byte place[sizeof(ArchiveItem)];
    const SP<ArchiveItem> copied(new ArchiveItem(1));
    const SP<ArchiveItem> copy(new ArchiveItem(*copied)), other(new ArchiveItem(*copied));
    ArchiveItem* next = nullptr;
    EXPECT_EQ(Written([&](BArchive& archive) {
                  archive.Insert(copied.Get(), "a");
                  auto* const refused = ::new (place) ArchiveItem(2);
                  archive.Insert(refused, "a"); // which is taken
                  refused->~ArchiveItem();
                  next = ::new (place) ArchiveItem(3);
                  next->Ref();
                  archive << next << copy.Get() << other.Get() << next;
              }),
              kHeader + BytesOf(std::uint64_t{1}) + BytesOf(std::uint64_t{2}) +
                  BytesOf(std::uint64_t{3}) + BytesOf(std::uint64_t{1}) +
                  ItemRecord("4", "a", ItemBytes(1)) + ItemRecord("1", "", ItemBytes(3)) +
                  ItemRecord("2", "", ItemBytes(1)) + ItemRecord("3", "", ItemBytes(1)));
    next->~ArchiveItem();
}

TEST_F(BArchiveTest, KeepsEveryKindOfValue)
{
    using Values = std::tuple<BString, WString, int, float, double, char, unsigned short,
                              std::int64_t, BFColor, WString>;
    const Values values = {"a\xE9",
                           QD_W("\x4E2D\xD83D\xDE00"),
                           std::numeric_limits<int>::min(),
                           -0.5F,
                           1e-300,
                           '\xFF',
                           65535,
                           std::numeric_limits<std::int64_t>::max(),
                           BFColor(0.25F, 0.5F, 0.75F, 1),
                           QD_W("")};
    Values taken;
    std::get<9>(taken) = QD_W("former");
    Acting::write = [&](const Acting&, BArchive& archive) {
        std::apply([&](const auto&... value) { (archive << ... << value); }, values);
    };
    Acting::read = [&](BArchive& archive, int version) {
        EXPECT_EQ(version, 3);
        std::apply([&](auto&... value) { (archive >> ... >> value); }, taken);
        EXPECT_EQ(archive.BytesLeft(), 0U);
        return SP<BSmartObj>(new Acting);
    };
    Written([](BArchive& archive) { archive.Insert(new Acting, "v"); });
    EXPECT_TRUE(Opened().TakeOut("v"));
    EXPECT_TRUE(taken == values);
}

// Some reach the file before their record is complete, whose size is then patched there.
TEST_F(BArchiveTest, KeepsBlocksAndTextsOfEverySize)
{
    const int sizes[] = {3'000'000, 0, 1, 4095, 4096, 4097, 50'000, 256 * 1024, 262'000, 70'000};
    const auto block = [](int size) {
        std::string bytes;
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(i % 251 + i / 4096);
        return bytes;
    };
    const auto narrow = [](int size) {
        return BString(std::string(static_cast<std::size_t>(size), 't').c_str());
    };
    Acting::write = [&](const Acting& item, BArchive& archive) {
        archive << item.m_value;
        archive.WriteMemoryBlock(block(item.m_value).data(),
                                 static_cast<std::uint64_t>(item.m_value));
        archive << '!'; // behind what went to the file it stands alone, and then room is made
        archive.WriteMemoryBlock(block(5000).data(), 5000);
        archive << narrow(item.m_value) << WString(narrow(item.m_value)) << '.';
    };
    Acting::read = [&](BArchive& archive, int) {
        int size = 0;
        archive >> size;
        std::string bytes(static_cast<std::size_t>(size) + 5001, '\0');
        EXPECT_TRUE(archive.ReadMemoryBlock(bytes.data(), bytes.size()));
        EXPECT_TRUE(bytes == block(size) + '!' + block(5000)) << size;
        BString text;
        WString wide;
        char end = 0;
        archive >> text >> wide >> end;
        EXPECT_TRUE(text == narrow(size) && wide == WString(narrow(size)) && end == '.') << size;
        return SP<BSmartObj>(new Acting(size));
    };
    Written([&](BArchive& archive) {
        for (const int size : sizes)
            archive.Insert(new Acting(size), Numbered("b", size).c_str());
    });
    BArchive archive = Opened();
    for (const int size : sizes)
        EXPECT_EQ(Value(archive, Numbered("b", size)), size);
}

TEST_F(BArchiveTest, ScratchMemoryComesInAlignedPiecesOrNotAtAll)
{
    BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 7);
    const auto* const first = static_cast<char*>(archive.Scratch(9));
    EXPECT_EQ(static_cast<char*>(archive.Scratch(1)) - first, 16);
    EXPECT_THROW(static_cast<void>(archive.Scratch(std::numeric_limits<std::size_t>::max())),
                 std::bad_alloc);
}

TEST_F(BArchiveTest, ARecordEndsWhereItEndsAlsoBehindATakeOutInside)
{
    Acting::write = [](const Acting&, BArchive& archive) { archive << 1 << 2 << BString("end"); };
    Acting::read = [](BArchive& archive, int) {
        int first = 0, second = 0;
        BString text;
        archive >> first;
        EXPECT_EQ(Value(archive, "before") + Value(archive, "behind"), 3 + 4);
        EXPECT_EQ(archive.BytesLeft(), 12U);
        archive >> second >> text >> first;
        EXPECT_EQ(first + second, 1 + 2) << "there is no third number";
        EXPECT_EQ(text, "end");
        EXPECT_FALSE(archive.ReadMemoryBlock(&first, 1));
        EXPECT_THROW(archive.SkipText(), ARCHIVE_EXCEPTION);
        return SP<BSmartObj>(new Acting);
    };
    Written([](BArchive& archive) {
        archive.Insert(new ArchiveItem(3), "before");
        archive.Insert(new Acting, "a");
        archive.Insert(new ArchiveItem(4), "behind");
    });
    EXPECT_TRUE(Opened().TakeOut("a"));
}

TEST_F(BArchiveTest, WhatARecordDoesNotHoldIsLeftAsItWas)
{
    struct Case {
        const char* what;
        std::string payload;
        int text, number; // length of the text that is read first, and the number behind it
    };
    const Case cases[] = {
        {"a text", BytesOf(2) + "a\0b\0"s + BytesOf(7), 2, 7},
        {"a text with a 0", BytesOf(3) + "a\0\0\0b\0"s + BytesOf(7), 1, 7},
        {"a count below 0", BytesOf(-1) + BytesOf(7), 0, 7},
        {"no units", BytesOf(0) + BytesOf(7), 0, 7},
        {"a text at the end", BytesOf(2) + "a\0b\0"s, 2, 5},
        {"a text too long", BytesOf(5) + "a\0b\0"s + BytesOf(7), 4, 5},
        {"the longest text", BytesOf(0x7FFFFFFF) + "a\0b\0"s, 4, 5},
        {"half a count", "\1\0"s, 4, 5},
        {"half a number", BytesOf(1) + "a\0\7\0\0"s, 1, 5},
    };
    for (const Case& c : cases) {
        Put(kHeader + RecordBytes("1", "a", BSmartObj::ClassName(typeid(Acting)), 0, c.payload));
        Acting::read = [&](BArchive& archive, int) {
            WString text = QD_W("kept");
            int number = 5;
            archive >> text >> number;
            EXPECT_EQ(text.Length(), static_cast<std::size_t>(c.text)) << c.what;
            EXPECT_EQ(number, c.number) << c.what;
            EXPECT_EQ(archive.BytesLeft(), 0U) << c.what;
            return SP<BSmartObj>(new Acting);
        };
        EXPECT_TRUE(Opened().TakeOut("a")) << c.what;
    }
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
    BArchive archive = Opened();
    EXPECT_EQ(Value(archive, "a"), 1);
    EXPECT_EQ(Value(archive, "1"), 5) << "labels first";
    EXPECT_EQ(static_cast<ArchiveItem*>(archive.QueryObject(archive.IndexToPtr(1)).Get())->m_value,
              1)
        << "a reference goes by the index";
    EXPECT_EQ(Value(archive, "2") + Value(archive, "3"), 3 + 4);
    for (const char* none : {"again", "null", "", "A", "5"})
        EXPECT_EQ(archive.TakeOut(none), nullptr) << none;
    EXPECT_EQ(archive.TakeOut(nullptr), nullptr);
}

TEST_F(BArchiveTest, FindsRecordsByWhateverIndexTextsTheyHave)
{
    std::istringstream words(
        "1 a 10 01 A FFFFFFFF 7fffffff 0 ffffffff -1 +2 123456789abcdef0 2g 0x1 "
        "f\xE4 ffffffffffffffff 10000000000000000 3.0 3, 1");
    const std::vector<std::string> texts{std::istream_iterator<std::string>(words), {}};
    std::string bytes = kHeader;
    int value = 0;
    for (const std::string& text : texts)
        bytes += ItemRecord(text, "", ItemBytes(++value));
    Put(bytes + ItemRecord("", "", ItemBytes(0)));
    BArchive archive = Opened();
    EXPECT_EQ(archive.TakeOut(""), nullptr);
    value = 0;
    for (const std::string& text : texts)
        EXPECT_EQ(Value(archive, text), ++value == 1 ? 20 : value) << text; // the later one has it

    const std::uint64_t indices[] = {1, 10, 0x7FFFFFFF, 0x123456789ABCDEF0, ~std::uint64_t{0}};
    BArchive another = Opened();
    for (const std::uint64_t index : {0u, 3u, 17u})
        another.TakeOutLater(index);
    for (const std::uint64_t index : indices)
        another.TakeOutLater(index);
    EXPECT_EQ(Value(another, "0"), 8) << "those that wait come along";
    for (const std::uint64_t index : indices)
        EXPECT_TRUE(another.QueryObject(another.IndexToPtr(index))) << index;
    for (const std::uint64_t index : {0u, 2u, 17u})
        EXPECT_FALSE(another.QueryObject(another.IndexToPtr(index))) << index;
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
        {"class Doc", "class BArchive", 7, 9, "class Doc", 7, false},
    };
    for (const Case& c : cases) {
        Put(HeaderBytes(c.fileClass, c.fileVersion, c.archiveClass, c.format));
        EXPECT_EQ(Opened(c.docClass, c.docVersion).IsGood(), c.good) << &c - cases;
    }
    EXPECT_FALSE(BArchive(m_folder.Path("absent"), BArchive::ModeRead, "", 0).IsGood());
    EXPECT_FALSE(BArchive(m_folder.Path("no/such"), BArchive::ModeWrite, "", 0).IsGood());
}

TEST_F(BArchiveTest, ReadsTheSizesAndReferencesOfOlderFormats)
{
    struct Case {
        int format;
        std::size_t sizeBytes, referenceBytes;
        bool good;
        std::uint64_t added = 0; // to the size
    };
    const Case cases[] = {
        {2, 4, 4, true},  {6, 4, 4, true},  {7, 4, 8, true},
        {8, 8, 8, true},  {8, 4, 8, false}, {8, 8, 8, false, 1LL << 32},
        {7, 8, 8, false}, // of 8, read as of 4
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        // The class of the records is called "class ArchiveItem"; here it stands without its
        // keyword.
        const auto record = [&](const char* index, const std::string& payload) {
            return TextBytes(index) + TextBytes("") + TextBytes("ArchiveItem") + BytesOf(0) +
                   BytesOf(payload.size() + c.added).substr(0, c.sizeBytes) + payload;
        };
        Put(HeaderBytes("Doc", 7, "BArchive", c.format) +
            record("1", BytesOf(5) + BytesOf(1) +
                            BytesOf(std::uint64_t{2}).substr(0, c.referenceBytes)) +
            record("2", ItemBytes(6)));
        BArchive archive = Opened();
        EXPECT_EQ(archive.IsGood(), c.good);
        const SP<ArchiveItem> item = TakeOutAs<ArchiveItem>(archive, "1");
        ASSERT_EQ(static_cast<bool>(item), c.good);
        if (c.good) {
            EXPECT_EQ(archive.Version(), c.format);
            EXPECT_EQ(item->m_value, 5);
            EXPECT_EQ(item->Link(0)->m_value, 6);
        }
    }
}

// Whatever is changed, the archive is refused, or gives null or objects; the sanitizers watch.
TEST_F(BArchiveTest, DamageIsRefusedOrLeavesTheWholeObjects)
{
    const std::string whole = Written(InsertGraph);
    int good = 0;
    const auto tryOut = [&](const std::string& bytes) {
        Put(bytes);
        BArchive archive = Opened();
        good += archive.IsGood() ? 1 : 0;
        EXPECT_NE(archive.IsGood(), static_cast<bool>(archive.Problem()));
        for (const char* name : {"no such", "first", "third", "1", "2", "3"}) {
            const auto item = TakeOutAs<ArchiveItem>(archive, name);
            EXPECT_TRUE(item || !archive.Problem().Text().IsEmpty());
            if (item)
                item->m_links.clear(); // the graph may be a circle
        }
    };
    for (std::size_t size = 0; size <= whole.size(); ++size)
        tryOut(whole.substr(0, size));
    EXPECT_EQ(good, 1 + 3) << "only whole records";
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const std::string& damage : {"\0"s, "\x7F"s, std::string(8, '\xFF')})
            tryOut(std::string(whole).replace(at, damage.size(), damage));
    }
    EXPECT_LT(good, 450) << "the header and the chain of records are checked";
}

TEST_F(BArchiveTest, TellsWhatIsWrong)
{
    const int start = static_cast<int>(kHeader.size());
    const auto at = [&](int position) { return std::to_string(start + position); };
    const std::string item = ItemRecord("1", "a", ItemBytes(1));
    const std::string acting = BSmartObj::ClassName(typeid(Acting));
    const std::string ofNobody = RecordBytes("2", "", "class Nobody", 0, "");
    const std::string unsound = ItemRecord("1", "a", ItemBytes(ArchiveItem::kUnsound));
    struct Case {
        std::string bytes;
        EProblem code;
        std::string text;
        bool isGiven = false; // the object under "a"
    };
    const Case cases[] = {
        {kHeader + item, EProblem::None, "", true},
        {"", EProblem::OtherKind, "no archive"},
        {"Some text", EProblem::OtherKind, "no archive"},
        {kHeader.substr(0, 30), EProblem::Damaged, "damaged at byte 18"},
        {HeaderBytes("class Other", 7) + item, EProblem::OtherDocument,
         "a document of \"class Other\", not of \"class Doc\""},
        {HeaderBytes("class Doc", 7, "class Own"), EProblem::OtherArchive,
         "written by \"class Own\", not by \"class BArchive\""},
        {HeaderBytes("class Doc", 0), EProblem::OldDocument,
         "version 0 of its document, older than 7"},
        {HeaderBytes("class Doc", 7, "class BArchive", 9), EProblem::NewerFormat,
         "format 9, which is newer than this program"},
        {HeaderBytes("class Doc", 7, "class BArchive", 1), EProblem::Damaged,
         "damaged at byte " + at(-4)},
        {kHeader + item.substr(0, 30), EProblem::Damaged, "damaged at byte " + at(0)},
        {kHeader + item + "S", EProblem::Damaged, "damaged at byte " + at(54)},
        {kHeader + ofNobody, EProblem::NoSuchObject, "no object \"a\""},
        {kHeader + RecordBytes("f", "a", "class Nobody", 0, ""), EProblem::UnknownClass,
         "object 15 at byte " + at(0) + " is of \"class Nobody\", which is not registered"},
        {kHeader + ItemRecord("1", "a", ItemBytes(1, {2})) + ofNobody, EProblem::UnknownClass,
         "object 2 at byte " + at(62) + " is of \"class Nobody\", which is not registered", true},
        {kHeader + ItemRecord("1", "a", BytesOf(1) + BytesOf(-5)), EProblem::Damaged,
         "damaged at byte " + at(54) + ", in object 1 of \"class ArchiveItem\""},
        {kHeader + RecordBytes("1", "a", acting, 0, ""), EProblem::ObjectUnread,
         "an object (1 of \"" + acting + "\" at byte " + at(0) + ") cannot be read"},
        {kHeader + unsound, EProblem::ObjectRefused,
         "object 1 of \"class ArchiveItem\" refuses itself"},
        {kHeader + ItemRecord("1", "a", ItemBytes(ArchiveItem::kUnsound, {2})) + ofNobody,
         EProblem::ObjectRefused,
         "object 1 of \"class ArchiveItem\" refuses itself; object 2 at byte " + at(62) +
             " is of \"class Nobody\", which is not registered"},
    };
    Acting::read = [](BArchive&, int) { return SP<BSmartObj>(); };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Put(c.bytes);
        BArchive archive = Opened();
        EXPECT_EQ(archive.TakeOut("a") != nullptr, c.isGiven);
        const BProblem problem = archive.Problem();
        EXPECT_EQ(problem.code, c.code);
        const WString text(BString(c.text.c_str()));
        EXPECT_EQ(problem.Text(), text.IsEmpty() ? text : m_path + QD_W(": ") + text)
            << problem.Text().AsString().CStr();
    }
    Put(kHeader + item);
    BArchive archive = Opened();
    EXPECT_FALSE(archive.TakeOut("b"));
    EXPECT_TRUE(archive.Problem());
    EXPECT_TRUE(archive.TakeOut("a"));
    EXPECT_FALSE(archive.Problem()) << "what is sound clears it";
    for (const char* label : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_TRUE(archive.TakeOut("a"));
        EXPECT_FALSE(archive.TakeOut(label));
        EXPECT_EQ(archive.Problem().code, EProblem::NoSuchObject);
    }
    EXPECT_EQ(BArchive(m_folder.Path("absent"), BArchive::ModeRead, "", 0).Problem().code,
              EProblem::NotThere);
    EXPECT_EQ(BArchive(m_folder.Path("no/such"), BArchive::ModeWrite, "", 0).Problem().code,
              EProblem::NotThere);
}

TEST_F(BArchiveTest, AnObjectThatCannotBeReadIsNullAndTriedOnceInACall)
{
    int tries = 0;
    Acting::read = [&](BArchive&, int) -> SP<BSmartObj> {
        return ++tries == 1 ? throw ArchiveFormatFault : SP<BSmartObj>(new Acting(3));
    };
    Written([](BArchive& archive) {
        const SP<BSmartObj> flaky(new Acting), unknown(new Unregistered), good(new ArchiveItem(2));
        archive.Insert(new ArchiveItem(1, {unknown, good, flaky, flaky}), "first");
        archive.Insert(new ArchiveItem(3, {flaky}), "third");
    });
    BArchive archive = Opened();
    const SP<ArchiveItem> first = TakeOutAs<ArchiveItem>(archive, "first");
    ASSERT_TRUE(first);
    EXPECT_TRUE(!first->Link(0) && !first->Link(2) && !first->Link(3));
    EXPECT_EQ(first->Link(1)->m_value, 2);
    EXPECT_EQ(tries, 1);
    const SP<ArchiveItem> third = TakeOutAs<ArchiveItem>(archive, "third");
    ASSERT_TRUE(third);
    EXPECT_NE(third->Link(0), nullptr);
}

TEST_F(BArchiveTest, ACallThatGivesNullForgetsWhatItRebuilt)
{
    Acting::read = [](BArchive& archive, int) {
        const SP<ArchiveItem> item = ArchiveItem::Filled(new Acting, archive);
        return item->m_value == 7 ? throw ArchiveFormatFault : item;
    };
    Written([](BArchive& archive) {
        const SP<BSmartObj> part(new Acting(2));
        archive.Insert(new Acting(7, {part}), "unreadable");
        archive.Insert(new Acting(1, {part}), "good");
    });
    BArchive archive = Opened();
    EXPECT_EQ(archive.TakeOut("unreadable"), nullptr);
    EXPECT_EQ(archive.QueryObject(archive.IndexToPtr(2)), nullptr);
    EXPECT_EQ(Acting::alive, 0);
    const SP<ArchiveItem> good = TakeOutAs<ArchiveItem>(archive, "good");
    EXPECT_EQ(archive.TakeOut("unreadable"), nullptr);
    ASSERT_TRUE(good);
    EXPECT_EQ(good->Link(0)->m_value, 2) << "what was given stays as it is";
    EXPECT_EQ(archive.TakeOut("good"), good);
}

// A circle that is given, and one that is not: the object in it is unsound, or throws when asked.
TEST_F(BArchiveTest, OfARefusedCircleNothingIsLeft)
{
    Written([](BArchive& archive) {
        for (const int value : {1, 2}) {
            const SP<ArchiveItem> circle(new Circular(value, {SP<BSmartObj>(new Acting(value))}));
            circle->m_links.push_back(circle);
            archive.Insert(circle.Get(), value == 1 ? "good" : "refused");
            archive.Flush();
            circle->m_links.clear();
        }
    });
    for (const bool throws : {false, true}) {
        Acting::verify = [throws](const Acting& item) {
            return item.m_value == 2 && throws ? throw 5 : item.m_value == 1;
        };
        SP<ArchiveItem> good;
        {
            BArchive archive = Opened();
            good = TakeOutAs<ArchiveItem>(archive, "good");
            ASSERT_TRUE(good && archive.VerifyObjects());
            archive.OnRefusal(*good, [](BSmartObj&) { ADD_FAILURE() << "not inside a TakeOut"; });
            if (throws)
                EXPECT_THROW(static_cast<void>(archive.TakeOut("refused")), int);
            else
                EXPECT_EQ(archive.TakeOut("refused"), nullptr);
            EXPECT_EQ(archive.IsGood(), !throws);
            if (throws) // which stays what is told
                Acting::verify = [](const Acting&) { return false; };
            EXPECT_FALSE(archive.VerifyObjects());
            EXPECT_EQ(archive.Problem().code,
                      throws ? EProblem::ObjectUnread : EProblem::ObjectRefused);
            for (const char* name : {"refused", "good"})
                EXPECT_EQ(archive.TakeOut(name), nullptr) << "the archive is spoiled";
        }
        EXPECT_EQ(Acting::alive, 2) << "the one that was given and the one below it";
        good->m_links.clear();
        Circular::LetGoOfSelf(*good);
    }
}

TEST_F(BArchiveTest, OfARefusedCircleNothingIsLeftHoweverManyFunctionsGiveItUp)
{
    std::vector<SP<BSmartObj>> circle;
    std::vector<std::size_t> numbers(Various::kCount);
    std::iota(numbers.begin(), numbers.end(), std::size_t{0});
    for (const std::size_t number : numbers)
        circle.emplace_back(new Various(static_cast<int>(number)));
    for (const std::size_t number : numbers)
        static_cast<Various&>(*circle[number]).m_links = {circle[(number + 1) % circle.size()]};
    Written([&](BArchive& archive) { archive.Insert(circle.front().Get(), "refused"); });
    for (const SP<BSmartObj>& object : circle)
        static_cast<Various&>(*object).m_links.clear();
    circle.clear();

    Acting::verify = [](const Acting& item) { return item.m_value != 150; };
    {
        BArchive archive = Opened();
        EXPECT_EQ(archive.TakeOut("refused"), nullptr);
    }
    EXPECT_EQ(Acting::alive, 0);
    std::ranges::sort(Various::letGo);
    EXPECT_EQ(std::exchange(Various::letGo, {}), numbers) << "each by its own";
}

TEST_F(BArchiveTest, AFileThatIsCutWhileItIsReadGivesNoHalfObjects)
{
    const std::string bytes = Written([](BArchive& archive) {
        const std::vector<SP<BSmartObj>> many(10'000);
        const SP<BSmartObj> large(new ArchiveItem(2, many)), behind(new ArchiveItem(2, many));
        archive.Insert(new ArchiveItem(1, {large, behind}), "root");
        archive.Flush();
    });
    BArchive archive = Opened();
    EXPECT_TRUE(archive.IsGood());
    std::filesystem::resize_file(m_folder / "a.qda", bytes.size() / 2);
    EXPECT_EQ(archive.TakeOut("root"), nullptr);
    EXPECT_FALSE(archive.IsGood());
    EXPECT_EQ(archive.Problem().Text(), m_path + QD_W(": damaged"));
}

TEST_F(BArchiveTest, AnObjectThatCannotBeWrittenSpoilsNothing)
{
    bool fails = true;
    Acting::write = [&](const Acting& item, BArchive& archive) {
        const std::string bytes(static_cast<std::size_t>(std::abs(item.m_value)), 'x');
        archive.WriteMemoryBlock(bytes.data(), bytes.size());
        if (fails && item.m_value < 0)
            throw BError(4711);
    };
    Acting::read = [](BArchive& archive, int) {
        return SP<BSmartObj>(new Acting(static_cast<int>(archive.BytesLeft())));
    };
    constexpr int kLarge = 2'000'000; // reaches the file before its record is complete
    for (const auto& [before, unwritable] : {std::pair(1, 8), {1, kLarge}, {kLarge, 8}}) {
        fails = true;
        BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 7);
        archive.Insert(new Acting(before), "before");
        archive.Insert(new Acting(-unwritable), "unwritable");
        archive.Insert(new Acting(2), "behind");
        EXPECT_EQ(ThrownCode([&] { archive.Flush(); }), 4711);
        EXPECT_TRUE(archive.IsGood());
        EXPECT_EQ(ThrownCode([&] { archive.Flush(); }), 4711) << "it stays queued";
        EXPECT_EQ(archive.Problem().code, EProblem::ObjectUnwritten);
        EXPECT_EQ(archive.Problem().number, 2);
        fails = false;
        EXPECT_TRUE(archive.Flush());
        EXPECT_FALSE(archive.Problem());
        BArchive in = Opened();
        EXPECT_EQ(Value(in, "before") + Value(in, "behind"), before + 2);
        EXPECT_EQ(Value(in, "unwritable"), unwritable) << "under its label";
    }
}

TEST_F(BArchiveTest, AnObjectThatCannotTellItsNameIsToldWithoutIt)
{
    BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 7);
    archive.Insert(new Nameless, "nameless");
    EXPECT_EQ(ThrownCode([&] { archive.Flush(); }), 4711);
    EXPECT_EQ(archive.Problem().Text(), m_path + QD_W(": object 1 cannot be written"));
}

TEST_F(BArchiveTest, AWriteDataMayFlush)
{
    Acting::write = [](const Acting&, BArchive& archive) {
        archive << 1;
        EXPECT_TRUE(archive.Flush());
        archive << 0;
    };
    EXPECT_EQ(Written([](BArchive& archive) {
                  archive.Insert(new Acting, "a");
                  archive.Insert(new ArchiveItem(2), "b");
              }),
              kHeader +
                  RecordBytes("1", "a", BSmartObj::ClassName(typeid(Acting)), 3, ItemBytes(1)) +
                  ItemRecord("2", "b", ItemBytes(2)));
}

TEST_F(BArchiveTest, AWritingArchiveReadsNothing)
{
    BArchive out(m_path, BArchive::ModeWrite, "class Doc", 7);
    int value = 5;
    BString text = "kept";
    out >> value >> text;
    out.SkipText();
    out.TakeOutLater(BString("1"));
    out.TakeOutLater(1);
    EXPECT_TRUE(value == 5 && text == "kept");
    EXPECT_FALSE(out.ReadMemoryBlock(&value, 1));
    EXPECT_EQ(out.BytesLeft(), 0U);
    EXPECT_EQ(out.TakeOut("x"), nullptr);
    EXPECT_TRUE(out.VerifyObjects());
    out.OnRefusal(out, [](BSmartObj&) {});
    EXPECT_EQ(out.MapPointerToIndex(nullptr), 0U);
    EXPECT_EQ(out.MapPointerToIndex(&value), 1U);
    EXPECT_EQ(out.MapPointerToIndex(&out), 2U);
    EXPECT_EQ(out.MapPointerToIndex(&value), 1U);
}

TEST_F(BArchiveTest, AReadingArchiveWritesNothing)
{
    const std::string before = Written([](BArchive&) {});
    {
        BArchive in = Opened();
        const SP<ArchiveItem> item(new ArchiveItem);
        in << 5 << BString("x") << static_cast<const BSmartObj*>(item.Get());
        in.Insert(item.Get(), "x");
        EXPECT_FALSE(in.Flush());
        EXPECT_TRUE(in.IsGood());
        EXPECT_EQ(in.Mode(), BArchive::ModeRead);
        EXPECT_EQ(in.Path(), m_path);
        const BError thrown = ThrownError([&] { in.ThrowError(); }).value();
        EXPECT_EQ(thrown.Error(), kErrorGeneral);
        EXPECT_EQ(thrown.Argument(0), QD_W("$IDS_ErrorHint16"));
    }
    EXPECT_EQ(FileBytes(m_folder / "a.qda"), before);
}

// The file chooses how deep `Read` and `TakeOut` call one another.
TEST_F(BArchiveTest, TakingOutWhileReadingGivesTheWholeOrNull)
{
    Acting::read = [](BArchive& archive, int) {
        const SP<ArchiveItem> item = ArchiveItem::Filled(new Acting, archive);
        item->m_links = {archive.TakeOut(Numbered("x", item->m_value).c_str())};
        return item;
    };
    for (const int length : {1, 65, 1000, 30'000}) {
        SCOPED_TRACE(length);
        Written([length](BArchive& archive) {
            for (int i = 0; i < length; ++i)
                archive.Insert(new Acting((i + 1) % length), Numbered("x", i).c_str());
        });
        BArchive archive = Opened();
        SP<BSmartObj> object = archive.TakeOut("x0");
        int depth = 0; // the last one wants the first, which is not ready then
        for (; object; ++depth)
            object = static_cast<Acting*>(object.Get())->m_links[0];
        EXPECT_EQ(depth, archive.IsGood() ? length : 0);
        EXPECT_TRUE(archive.IsGood() || length > 1000);
        EXPECT_EQ(archive.Problem().code, archive.IsGood() ? EProblem::None : EProblem::TooDeep);
        EXPECT_TRUE(archive.IsGood() || !archive.TakeOut("x999")) << "nor a part of it later";
    }
}

TEST_F(BArchiveTest, AnObjectOfSeveralRecordsIsOne)
{
    const SP<ArchiveItem> only(new Acting(5));
    bool fails = true;
    Acting::read = [&](BArchive& archive, int) -> SP<BSmartObj> {
        const SP<ArchiveItem> item = ArchiveItem::Filled(new Acting, archive);
        return item->m_links.empty() && item->m_indices.empty() ? only
               : fails                                          ? throw ArchiveFormatFault
                                                                : item;
    };
    Written([](BArchive& archive) {
        const SP<BSmartObj> one(new Acting), other(new Acting);
        archive.Insert(new Acting(1, {one, other}), "twice");
    });
    BArchive archive = Opened();
    EXPECT_EQ(archive.TakeOut("twice"), nullptr);
    for (const std::uint64_t index : {2u, 3u})
        EXPECT_EQ(archive.QueryObject(archive.IndexToPtr(index)), nullptr) << "forgotten";
    fails = false;
    only->m_associated = 0;
    const SP<ArchiveItem> twice = TakeOutAs<ArchiveItem>(archive, "twice");
    ASSERT_TRUE(twice);
    EXPECT_EQ(twice->Link(0), only);
    EXPECT_EQ(twice->Link(1), only);
    EXPECT_EQ(only->m_associated, 1);
}

TEST_F(BArchiveTest, EveryObjectIsAskedInItsTurnWhetherItIsSound)
{
    constexpr int kCount = 4000;
    Written([](BArchive& archive) {
        for (int i = 0; i < kCount; ++i)
            archive.Insert(new ArchiveItem(i), Numbered("x", i).c_str());
    });
    BArchive archive = Opened();
    ArchiveItem::asked = 0;
    std::vector<SP<ArchiveItem>> items;
    for (int i = 0; i < kCount; ++i)
        items.push_back(TakeOutAs<ArchiveItem>(archive, Numbered("x", i).c_str()));
    EXPECT_GT(ArchiveItem::asked, 64 * kCount);
    EXPECT_LT(ArchiveItem::asked, 100 * kCount) << "not each one in each call";
    items.back()->m_value = ArchiveItem::kUnsound;
    EXPECT_FALSE(archive.VerifyObjects());
    const WString told = archive.Problem().Text();
    EXPECT_FALSE(archive.VerifyObjects());
    EXPECT_EQ(archive.Problem().Text(), told);
    int given = 0;
    while (archive.TakeOut("x1") && given < kCount)
        ++given;
    EXPECT_LT(given, 100);
    EXPECT_EQ(archive.TakeOut("x1"), nullptr) << "and again";
    items.back()->m_value = 0;
    EXPECT_EQ(Value(archive, "x0"), 0);
}

TEST_F(BArchiveTest, OneThatIsAskedMayTakeOutOthers)
{
    constexpr int kCount = 100;
    Written([](BArchive& archive) {
        for (int i = 0; i < kCount; ++i)
            archive.Insert(new Acting, Numbered("q", i).c_str());
    });
    BArchive archive = Opened();
    int count = kCount - 2;
    Acting::verify = [&](Acting& item) {
        static_cast<void>(archive.TakeOut(Numbered("q", ++count).c_str()));
        return item.m_associated != 0; // before it is asked
    };
    EXPECT_NE(archive.TakeOut("q0"), nullptr);
    EXPECT_GE(count, kCount);
    count = 0;
    EXPECT_TRUE(archive.VerifyObjects());
    EXPECT_GE(count, kCount) << "each of them";

    BArchive another = Opened();
    Acting::verify = nullptr;
    const SP<BSmartObj> first = another.TakeOut("q0");
    Acting::verify = [&](Acting& item) {
        another.TakeOutLater(3);
        return &item != first;
    };
    EXPECT_EQ(another.TakeOut("q1"), nullptr);
    Acting::verify = nullptr;
    another.TakeOutLater(3);
    EXPECT_NE(another.TakeOut("q1"), nullptr);
    EXPECT_NE(another.QueryObject(another.IndexToPtr(3)), nullptr) << "it waits once more";
}

TEST_F(BArchiveTest, AnArchiveThatIsOfVersion6HasNumbersOf4Bytes)
{
    ArchiveOfVersion6 archive(m_path, BArchive::ModeWrite, "class Doc", 7);
    archive.Insert(new ArchiveItem(5, {SP<BSmartObj>()}), "a");
    EXPECT_TRUE(archive.Flush());
    EXPECT_TRUE(FileBytes(m_folder / "a.qda")
                    .ends_with(BytesOf(0) + BytesOf(12) + BytesOf(5) + BytesOf(1) + BytesOf(0)));
}

TEST_F(BArchiveTest, ADerivedArchiveHasItsOwnName)
{
    NamedArchive(m_path, BArchive::ModeWrite).Insert(new ArchiveItem(1), "a");
    EXPECT_NE(FileBytes(m_folder / "a.qda").find("NamedArchive"), std::string::npos);
    EXPECT_NE(NamedArchive(m_path, BArchive::ModeRead).TakeOut("a"), nullptr);
    EXPECT_FALSE(Opened().IsGood());
    NamedArchive(m_path, BArchive::ModeWrite, nullptr).Insert(new ArchiveItem(1), "a");
    EXPECT_NE(NamedArchive(m_path, BArchive::ModeRead, nullptr).TakeOut("a"), nullptr);
    EXPECT_TRUE(Opened().IsGood()) << "null is the name of its base";
    EXPECT_FALSE(NamedArchive(m_path, BArchive::ModeRead).IsGood());
}

TEST_F(BArchiveTest, ReadPrefixReadsWhatWritePrefixWrote)
{
    std::string written;
    Acting::write = [&](const Acting& item, BArchive& archive) {
        item.WritePrefix(archive, written.c_str());
        archive << BString("2") << BString() << BString("class Cut");
    };
    Acting::read = [&](BArchive& archive, int) {
        BString id, label, className;
        int version = 0;
        std::uint64_t size = 0;
        EXPECT_TRUE(BSmartObj::ReadPrefix(archive, id, label, className, version, size));
        EXPECT_EQ(id, "1");
        EXPECT_EQ(label, written.c_str());
        EXPECT_EQ(className, BSmartObj::ClassName(typeid(Acting)));
        EXPECT_EQ(version, 3);
        EXPECT_EQ(size, 0xEAEAEAEAEAEAEAEAU) << "the archive patches those of records";
        for (int i = 0; i != 2; ++i) // of one that has no version, and of none
            EXPECT_FALSE(BSmartObj::ReadPrefix(archive, id, label, className, version, size));
        return SP<BSmartObj>(new Acting);
    };
    for (const std::size_t length : {0u, 5u, 181u, 182u, 192u, 193u, 5000u}) {
        SCOPED_TRACE(length);
        written.assign(length, 'l');
        Written([](BArchive& archive) { archive.Insert(new Acting, "p"); });
        EXPECT_TRUE(Opened().TakeOut("p"));
    }
}
