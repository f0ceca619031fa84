#include "core/profile/BVariant.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

// What values of each type become in a file is shown by BBinProfile.
TEST(BVariant, WritesTheBytesFromWhichItWasReadUnlessTheyAreDamaged)
{
    const TemporaryFolder folder;
    const auto stream = [&](const WChar* mode) {
        return platform::OpenStream(folder.Path("v"), mode);
    };
    // What LoadVariant makes of `bytes`, saved again, and where it leaves the stream.
    const auto loaded = [&](const std::string& bytes) -> std::pair<std::string, long> {
        WriteFileBytes(folder / "v", bytes);
        platform::Stream in = stream(QD_W("rb"));
        const SP<BVariant> variant = LoadVariant(in.get());
        const long end = std::ftell(in.get());
        in.reset();
        if (variant)
            variant->Save(stream(QD_W("wb")).get());
        return {variant ? FileBytes(folder / "v") : "none", end};
    };
    const std::string noText = "\x06\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\0"s;
    const std::string noBlock = "\x04\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF"s;
    const std::string good[] = {
        "\x01\0\0\0\x01\0\0\0"s,
        "\x02\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFFxy\0"s,
        "\x04\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFF\0\xFF"s,
        "\x04\0\0\0\x01\0\0\0\xFE\xFF\xFF\xFFx"s,
        noBlock,
        noText,
    };
    for (const std::string& bytes : good) {
        for (const char* behind : {"", "more"})
            EXPECT_EQ(loaded(bytes + behind), (std::pair{bytes, static_cast<long>(bytes.size())}));
    }
    const std::pair<std::string, std::string> damaged[] = {
        {"\x01\0\0"s, "none"},           // cut
        {"\x07\0\0\0\0\0\0\0"s, "none"}, // no such type
        {"\x05\0\0\0"s, "\x05\0\0\0\0"s},
        {"\x05\0\0\0\x02"s, "\x05\0\0\0\x01"s},
        {"\x06\0\0\0\x01\0\0\0\xFF\xFF\xFF\xFFx\0\0\0"s, noText}, // wrong check word
        {"\x04\0\0\0\x01\0\0\0\xFF\xFF\xFF\xFFx"s, noBlock},
        {"\x04\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFFx"s, noBlock},
        {"\x04\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0x"s, noBlock},
        {"\x06\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0x"s, noText}, // does not ask for that much memory
    };
    for (const auto& [bytes, saved] : damaged)
        EXPECT_EQ(loaded(bytes).first, saved) << testing::PrintToString(bytes);
    EXPECT_EQ(loaded(damaged[6].first).second, 13) << "the end: the rest is no value";

    // From where there is nothing into what was there.
    WriteFileBytes(folder / "v", "");
    const platform::Stream nothing = stream(QD_W("rb"));
    TVariant<WString> text(QD_W("old"));
    BVarMemBlock block("old", 3);
    TVariant<double> number(1);
    text.LoadValue(nothing.get()), block.LoadValue(nothing.get()), number.LoadValue(nothing.get());
    EXPECT_TRUE(text.Value().IsEmpty() && block.Size() == 0 && number.Value() == 1);
    WriteFileBytes(folder / "v", noBlock.substr(4));
    block.LoadValue(stream(QD_W("rb")).get());
    EXPECT_EQ(block.Data(), nullptr);
    EXPECT_TRUE(BVarMemBlock(nullptr, 1).Size() == 0 && BVarMemBlock("", 0).Data() == nullptr);
    EXPECT_FALSE(LoadVariant(static_cast<std::FILE*>(nullptr)));
    number.Save(nullptr), number.SaveValue(nullptr);
}
