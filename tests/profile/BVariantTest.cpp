#include "core/profile/BVariant.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

namespace {

std::string Saved(const BVariant& variant, const TemporaryFolder& folder)
{
    const platform::Stream stream = platform::OpenStream(folder.Path("v"), QD_W("wb"));
    variant.Save(stream.get());
    std::fflush(stream.get());
    return FileBytes(folder / "v");
}

// What of `bytes` LoadVariant makes, saved again, and where it leaves the stream.
struct Loaded {
    std::string bytes;
    long position;
};

Loaded LoadFromStream(const std::string& bytes, const TemporaryFolder& folder)
{
    WriteFileBytes(folder / "in", bytes);
    const platform::Stream stream = platform::OpenStream(folder.Path("in"), QD_W("rb"));
    const SP<BVariant> variant = LoadVariant(stream.get());
    return {variant ? Saved(*variant, folder) : "none", std::ftell(stream.get())};
}

Loaded LoadFromBlocks(const std::string& bytes, const TemporaryFolder& folder)
{
    WriteFileBytes(folder / "in", bytes);
    BlockReader reader(platform::OpenStream(folder.Path("in"), QD_W("rb")));
    VariantSource source(reader);
    const SP<BVariant> variant = LoadVariant(source);
    return {variant ? Saved(*variant, folder) : "none", static_cast<long>(reader.Position())};
}

} // namespace

TEST(BVariant, IsReadBackFromTheBytesThatItWrites)
{
    const std::string block = "\x04\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFF\0\xFF"s;
    const std::pair<SP<BVariant>, std::string> cases[] = {
        {new TVariant<int>(1), "\x01\0\0\0\x01\0\0\0"s},
        {new TVariant<BString>("ab"), "\x02\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFF"
                                      "ab\0"s},
        {new TVariant<double>(-2.5), "\x03\0\0\0\0\0\0\0\0\0\x04\xC0"s},
        {new BVarMemBlock("\0\xFF", 2), block},
        {new BVarMemBlock("x", 0), "\x04\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF"s},
        {new TVariant<bool>(true), "\x05\0\0\0\x01"s},
        {new TVariant<WString>(QD_W("\u20AC")),
         "\x06\0\0\0\x01\0\0\0\xFE\xFF\xFF\xFF\xAC\x20\0\0"s},
        {new TVariant<WString>({}), "\x06\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\0"s},
    };
    const TemporaryFolder folder;
    for (const auto& [variant, bytes] : cases) {
        SCOPED_TRACE(variant->Type());
        EXPECT_EQ(Saved(*variant, folder), bytes);
        for (const auto load : {LoadFromStream, LoadFromBlocks}) {
            for (const char* behind : {"", "more"}) {
                const Loaded loaded = load(bytes + behind, folder);
                EXPECT_EQ(loaded.bytes, bytes);
                EXPECT_EQ(loaded.position, static_cast<long>(bytes.size()));
            }
        }
    }
}

TEST(BVariant, IsEmptyWhenItsBytesAreDamaged)
{
    const std::string noText = "\x06\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\0"s;
    const std::string noBlock = "\x04\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF"s;
    struct Case {
        const char* name;
        std::string bytes, loaded;
    };
    const Case cases[] = {
        {"no code", "\x01\0\0"s, "none"},
        {"code 0", "\0\0\0\0\0\0\0\0"s, "none"},
        {"code 7", "\x07\0\0\0\0\0\0\0"s, "none"},
        {"number without bytes", "\x03\0\0\0"s, "\x03\0\0\0\0\0\0\0\0\0\0\0"s},
        {"truth value 2", "\x05\0\0\0\x02"s, "\x05\0\0\0\x01"s},
        {"text, wrong check word", "\x06\0\0\0\x01\0\0\0\xFF\xFF\xFF\xFFx\0\0\0"s, noText},
        {"text, cut", "\x06\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFFx\0b\0\0"s, noText},
        {"text, no 0", "\x06\0\0\0\x01\0\0\0\xFE\xFF\xFF\xFFx\0b\0"s, noText},
        {"text beyond the file", "\x06\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0a\0"s, noText},
        {"block, wrong check word", "\x04\0\0\0\x01\0\0\0\xFF\xFF\xFF\xFFx"s, noBlock},
        {"block, cut", "\x04\0\0\0\x02\0\0\0\xFD\xFF\xFF\xFFx"s, noBlock},
        {"block beyond the file", "\x04\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0a"s, noBlock},
    };
    const TemporaryFolder folder;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        const Loaded fromStream = LoadFromStream(row.bytes, folder);
        EXPECT_EQ(fromStream.bytes, row.loaded);
        const Loaded fromBlocks = LoadFromBlocks(row.bytes, folder);
        EXPECT_EQ(fromBlocks.bytes, row.loaded);
        EXPECT_EQ(fromBlocks.position, fromStream.position);
    }
    EXPECT_FALSE(LoadVariant(static_cast<std::FILE*>(nullptr)));
    TVariant<int>(1).Save(nullptr);
}
