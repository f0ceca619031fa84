#include "core/geometry/BBitArray.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/archive/ArchiveTestObjects.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

/// 3 x 2 cells of `planes` planes, numbered from 1 in each of their bytes.
static BBitArray Numbered(int planes)
{
    BBitArray array(planes, 3, 2);
    for (int cell = 0; cell < 6; ++cell)
        for (int plane = 0; plane < array.Planes(); ++plane)
            if ((cell + 1) >> plane % 8 & 1)
                array.SetBit(cell % 3, cell / 3, plane);
    return array;
}

static std::string_view Bytes(const BBitArray& array)
{
    return {reinterpret_cast<const char*>(array.Data()), array.DataSize()};
}

/// The numbers of the cells as digits, one for each byte.
static std::string Digits(const BBitArray& array)
{
    std::string digits(Bytes(array));
    for (char& digit : digits)
        digit = static_cast<char>(digit + '0');
    return digits;
}

TEST(BBitArray, RoundsItsPlanesUpToBytesAndHasNoDataWhenItsExtentCannotBe)
{
    const struct {
        int planes, width, height, rounded;
        std::uint64_t dataSize;
    } cases[] = {
        {1, 4, 4, 8, 16},
        {8, 4, 4, 8, 16},
        {9, 4, 4, 16, 32},
        {-9, 4, 4, 0, 0},
        {8, 0, 5, 8, 0},
        {8, -3, -2, 8, 6},
        {INT_MAX - 7, INT_MIN, INT_MIN, INT_MAX - 7, 0}, // more than 63 bits
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        const BBitArray array(row.planes, row.width, row.height);
        EXPECT_EQ(array.Planes(), row.rounded);
        EXPECT_EQ(array.Width(), row.width);
        EXPECT_EQ(array.Size(), std::int64_t{row.width} * row.height);
        EXPECT_EQ(array.AllocatedMemory(), sizeof array + row.dataSize);
        EXPECT_EQ(Digits(array), std::string(row.dataSize, '0'));
        BBitArray copy(array);
        copy.SetAllBits();
        copy.UnsetAllBits();
        EXPECT_EQ(copy.DataSize(), row.dataSize);
        EXPECT_EQ(copy.Data() == nullptr, row.dataSize == 0);
    }
    BBitArray array(24, INT_MAX, INT_MAX);
    array.ChangeExtent(0, 0, 1, 1);
    EXPECT_EQ(Digits(array), "000");
}

TEST(BBitArray, AddressesEveryBitByItself)
{
    BBitArray array(10, 3, 2);
    array.SetBit(2, 1, 9);
    array.ChangeBit(1, 0, 7, true);
    EXPECT_EQ(Bytes(array), "\0\0\x80\0\0\0\0\0\0\0\0\x02"sv);
    EXPECT_TRUE(array.TestBit(2, 1, 9) && array.TestBit(1, 0, 7));
    EXPECT_FALSE(array.TestBit(2, 1, 8) || array.TestBit(2, 1, 1) || array.TestBit(0, 1, 7));
}

TEST(BBitArray, ClearsTheOtherBitsOfTheByteWhenOneIsUnset)
{
    BBitArray array(16, 1, 2);
    array.SetAllBits();
    array.UnsetBit(0, 0, 3);
    array.ChangeBit(0, 1, 10, false);
    EXPECT_EQ(Bytes(array), "\x08\xFF\xFF\x04"sv);
    array.UnsetBit(0, 0, 5);
    EXPECT_EQ(Bytes(array), "\0\xFF\xFF\x04"sv);
    array.UnsetAllBits();
    EXPECT_EQ(Bytes(array), "\0\0\0\0"sv);
}

TEST(BBitArray, CropsAndExtendsWhatWasCopied)
{
    const struct {
        int x, y, width, height;
        const char* digits;
    } cases[] = {
        {-1, -1, 5, 4, "00000012300456000000"}, // a border
        {1, 0, 2, 2, "2356"},
        {0, 0, 3, 3, "123456000"},
        {-2, 1, 4, 1, "0045"},
        {1, -1, 1, 4, "0250"},
        {3, 0, 2, 2, "0000"}, // outside
        {INT_MAX, 0, 1, 2, "00"},
        {0, INT_MIN, 2, 1, "00"},
        {0, 0, -3, -2, ""},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        const BBitArray original = Numbered(8);
        BBitArray array(16, 9, 9);
        array = original;
        array = *&array;
        array.ChangeExtent(row.x, row.y, row.width, row.height);
        EXPECT_EQ(Digits(original), "123456");
        EXPECT_EQ(array.Width(), row.width);
        EXPECT_EQ(array.Height(), row.height);
        EXPECT_EQ(Digits(array), row.digits);
    }
    BBitArray wide = Numbered(32); // 24 bytes, behind which a heap has no zeros
    wide.ChangeExtent(-1, 0, 4, 3);
    EXPECT_EQ(Digits(wide), "00001111222233330000444455556666" + std::string(16, '0'));
    wide.ChangeExtent(2, 0, 3, 1);
    EXPECT_EQ(Digits(wide), "222233330000");
}

/// An archive of one array whose payload the tests replace.
class BBitArrayRecord : public testing::Test {
protected:
    std::string Written(const BBitArray& array)
    {
        BArchive archive(m_path, BArchive::ModeWrite, "class Test", 1);
        archive.Insert(SP<BBitArray>(new BBitArray(array)).Get(), "mask");
        EXPECT_TRUE(archive.Flush());
        return FileBytes(m_folder / "archive");
    }
    SP<BBitArray> Read()
    {
        BArchive archive(m_path, BArchive::ModeRead, "class Test", 1);
        return TakeOutAs<BBitArray>(archive, "mask");
    }
    SP<BBitArray> Read(std::string_view payload)
    {
        const std::string whole = Written(Numbered(9));
        WriteFileBytes(m_folder / "archive", whole.substr(0, whole.size() - kPayload.size() - 8) +
                                                 BytesOf(std::uint64_t{payload.size()}) +
                                                 std::string(payload));
        return Read();
    }

    static constexpr std::string_view kPayload = "\x03\0\0\0\x02\0\0\0\x02\0\0\0"
                                                 "\1\1\2\2\3\3\4\4\5\5\6\6"sv;
    TemporaryFolder m_folder;
    WString m_path = m_folder.Path("archive");
};

TEST_F(BBitArrayRecord, HoldsExtentAndBytes)
{
    EXPECT_TRUE(Written(Numbered(9)).ends_with(kPayload));
    const SP<BBitArray> array = Read(), smallest = Read("\1\0\0\0\1\0\0\0\1\0\0\0\7"sv);
    ASSERT_TRUE(array && smallest);
    EXPECT_EQ(array->Width(), 3);
    EXPECT_EQ(array->Height(), 2);
    EXPECT_EQ(array->Planes(), 16);
    EXPECT_EQ(Digits(*array), "112233445566");
    EXPECT_EQ(Digits(*smallest), "7");
}

TEST_F(BBitArrayRecord, GivesNothingWhenItHoldsLessThanItDeclares)
{
    for (std::size_t size = 0; size < kPayload.size(); ++size)
        EXPECT_EQ(Read(kPayload.substr(0, size)) != nullptr, size == 12) << size; // without data

    const std::string_view damaged[] = {
        "\x04\0\0\0\x02\0\0\0\x02\0\0\0"sv,       // a column more
        "\xFF\xFF\xFF\x7F\x02\0\0\0\x02\0\0\0"sv, // 8 GiB
        "\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x7F"sv,
        "\0\0\0\x80\0\0\0\x80\xFF\xFF\xFF\x7F"sv, // both extents negative
        "\x03\0\0\0\x02\0\0\0\xFF\xFF\xFF\xFF"sv, // negative cells
    };
    for (const std::string_view& head : damaged)
        EXPECT_FALSE(Read(std::string(head) += kPayload.substr(12))) << &head - damaged;
}

TEST_F(BBitArrayRecord, MayHoldAnArrayWithoutData)
{
    for (const std::string_view& head :
         {"\0\0\0\0\x02\0\0\0\x01\0\0\0"sv, "\x03\0\0\0\x02\0\0\0\0\0\0\0"sv,
          "\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x7F\x01\0\0\0"sv}) { // not to be allocated
        const SP<BBitArray> array = Read(head);
        ASSERT_TRUE(array);
        EXPECT_EQ(array->Data(), nullptr);
        EXPECT_TRUE(Written(*array).ends_with(head)) << "its document could not be saved";
    }
    BBitArray array = Numbered(8);
    array.ChangeExtent(0, 0, -3, -2);
    EXPECT_TRUE(Written(array).ends_with("\xFD\xFF\xFF\xFF\xFE\xFF\xFF\xFF\x01\0\0\0"sv));
    EXPECT_TRUE(Read());
    EXPECT_THROW(Written(BBitArray(24, INT_MAX, INT_MAX)), std::bad_alloc) << "it got no memory";
}
