#include "core/profile/BVariant.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

namespace {

class BVariantTest : public testing::Test {
protected:
    [[nodiscard]] std::string Saved(const BVariant& variant) const
    {
        platform::Stream stream = platform::OpenStream(m_folder.Path("v"), QD_W("wb"));
        variant.Save(stream.get());
        stream.reset();
        return FileBytes(m_folder / "v");
    }
    /// What of `bytes` LoadVariant makes, saved again, and where it leaves the stream.
    [[nodiscard]] std::pair<std::string, long> Loaded(const std::string& bytes) const
    {
        WriteFileBytes(m_folder / "in", bytes);
        const platform::Stream stream = platform::OpenStream(m_folder.Path("in"), QD_W("rb"));
        const SP<BVariant> variant = LoadVariant(stream.get());
        return {variant ? Saved(*variant) : "none", std::ftell(stream.get())};
    }

    TemporaryFolder m_folder;
};

} // namespace

TEST_F(BVariantTest, IsReadBackFromTheBytesThatItWrites)
{
    const std::pair<SP<BVariant>, std::string> cases[] = {
        {new TVariant<int>(1), "\x01\0\0\0\x01\0\0\0"s},
        {new TVariant<BString>("xy"), "\x02\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFFxy\0"s},
        {new TVariant<double>(-2.5), "\x03\0\0\0\0\0\0\0\0\0\x04\xC0"s},
        {new BVarMemBlock("\0\xFF", 2), "\x04\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFF\0\xFF"s},
        {new BVarMemBlock("x", 0), "\x04\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF"s},
        {new BVarMemBlock(nullptr, 1), "\x04\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF"s},
        {new TVariant<bool>(true), "\x05\0\0\0\x01"s},
        {new TVariant<WString>(QD_W("\u20AC")), "\x06\0\0\0\x01\0\0\0\xFE\xFF\xFF\xFF\xAC \0\0"s},
        {new TVariant<WString>({}), "\x06\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\0"s},
    };
    for (const auto& [variant, bytes] : cases) {
        SCOPED_TRACE(variant->Type());
        EXPECT_EQ(Saved(*variant), bytes);
        for (const char* behind : {"", "more"})
            EXPECT_EQ(Loaded(bytes + behind), (std::pair{bytes, static_cast<long>(bytes.size())}));
    }
}

TEST_F(BVariantTest, IsEmptyWhenItsBytesAreDamaged)
{
    const std::string noText = "\x06\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\0"s;
    const std::string noBlock = "\x04\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF"s;
    const std::pair<std::string, std::string> cases[] = {
        {"\x01\0\0"s, "none"}, // cut
        {"\0\0\0\0\0\0\0\0"s, "none"},
        {"\x07\0\0\0\0\0\0\0"s, "none"}, // no such type
        {"\x03\0\0\0"s, "\x03\0\0\0\0\0\0\0\0\0\0\0"s},
        {"\x05\0\0\0"s, "\x05\0\0\0\0"s},
        {"\x05\0\0\0\x02"s, "\x05\0\0\0\x01"s},
        {"\x06\0\0\0\x01\0\0\0\xFF\xFF\xFF\xFFx\0\0\0"s, noText}, // wrong check word
        {"\x04\0\0\0\x01\0\0\0\xFF\xFF\xFF\xFFx"s, noBlock},
        {"\x04\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFFx"s, noBlock},
        {"\x04\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0x"s, noBlock},
    };
    for (const auto& [bytes, loaded] : cases)
        EXPECT_EQ(Loaded(bytes).first, loaded) << testing::PrintToString(bytes);
    // From where there is nothing into what was there.
    WriteFileBytes(m_folder / "in", "");
    const platform::Stream nothing = platform::OpenStream(m_folder.Path("in"), QD_W("rb"));
    TVariant<WString> text(QD_W("old"));
    BVarMemBlock block("old", 3);
    TVariant<double> number(1);
    for (BVariant* const each : {static_cast<BVariant*>(&text), static_cast<BVariant*>(&block),
                                 static_cast<BVariant*>(&number)})
        each->LoadValue(nothing.get());
    EXPECT_TRUE(text.Value().IsEmpty());
    EXPECT_EQ(block.Size(), 0U);
    EXPECT_EQ(number.Value(), 1);
    EXPECT_FALSE(LoadVariant(static_cast<std::FILE*>(nullptr)));
    TVariant<int>(1).Save(nullptr);
}
