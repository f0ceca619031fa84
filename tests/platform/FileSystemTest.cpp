#include "core/platform/FileSystem.h"

#include "core/base/BString.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileStream.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <thread>

TEST(FileSystem, FindsWhatAPatternMatches)
{
    const TemporaryFolder folder;
    for (const char* name : {"x", "x.y", "ab", "abc", "abcd"})
        WriteFileBytes(folder / name, "");
    struct Case {
        const char* pattern;
        std::set<std::string> found;
    };
    const Case cases[] = {
        {"*.*", {".", "..", "ab", "abc", "abcd", "x", "x.y"}},
        {"*.*.*", {".", "..", "ab", "abc", "abcd", "x", "x.y"}},
        {"* . ", {".", "..", "ab", "abc", "abcd", "x", "x.y"}},
        {"x.*", {"x", "x.y"}},
        {"*.y", {"x.y"}},
        {"a?", {"ab"}},
        {"a*c", {"abc"}},
        {"*b*", {"ab", "abc", "abcd"}},
        {"? x", {}},
        {"abc", {"abc"}},
        {"a<", {}},
        {"*\\x", {}}, // wild in the last element only
        {"", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pattern);
        const WString start = folder.Path("");
        std::set<std::string> found;
        const WString pattern = start + WString(BString(c.pattern));
        const platform::EPresence presence =
            platform::FindFiles(pattern, [&](const platform::FoundFile& file) {
                found.insert(BString(file.path.c_str() + start.Length()).CStr());
                return true;
            });
        EXPECT_EQ(found, c.found);
        EXPECT_EQ(presence,
                  c.found.empty() ? platform::EPresence::Missing : platform::EPresence::There);
    }
}

TEST(FileSystem, TellsWhatIsThereFromWhatIsMissing)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "file", "");
    struct Case {
        const char* name;
        platform::EPresence presence;
    };
    const Case cases[] = {
        {"", platform::EPresence::There},
        {"file", platform::EPresence::There},
        {"none", platform::EPresence::Missing},
        {"none/file", platform::EPresence::Missing},
        {"file/file", platform::EPresence::Missing},
    };
    for (const Case& c : cases)
        EXPECT_EQ(platform::Presence(folder.Path(c.name)), c.presence) << c.name;
}

TEST(FileSystem, ReplacesAFileOnlyByWhatIsComplete)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("settings");
    for (const bool isThere : {false, true}) {
        {
            const platform::FileReplacement given(path);
            ASSERT_NE(given.Stream(), nullptr);
            std::fputs("half", given.Stream());
        }
        EXPECT_EQ(std::filesystem::exists(folder / "settings"), isThere);
        platform::FileReplacement taken(path);
        ASSERT_NE(taken.Stream(), nullptr);
        std::fputs("new", taken.Stream());
        EXPECT_TRUE(taken.Commit());
        EXPECT_FALSE(taken.Commit());
        EXPECT_EQ(FileBytes(folder / "settings"), "new");
    }
    // Nothing is left beside it.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}

TEST(FileSystem, AloneMeansAlone)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("file");
    WriteFileBytes(folder / "file", "old");
    {
        const platform::Stream reader = platform::OpenStreamAlone(path, QD_W("rb"), 0);
        ASSERT_TRUE(reader);
        EXPECT_TRUE(platform::OpenStreamAlone(path, QD_W("rb"), 0));
        EXPECT_FALSE(platform::OpenStreamAlone(path, QD_W("wb"), 0));
    }
    EXPECT_EQ(FileBytes(folder / "file"), "old");
    const platform::Stream writer = platform::OpenStreamAlone(path, QD_W("ab"), 0);
    ASSERT_TRUE(writer);
    EXPECT_FALSE(platform::OpenStreamAlone(path, QD_W("rb"), 0));
}

TEST(FileSystem, WritersOfOneLogTakeTurns)
{
    constexpr int batches = 50, lines = 20;
    const TemporaryFolder folder;
    const WString path = folder.Path("day.log");
    const auto write = [&](const std::basic_string<WChar>& text) {
        const std::basic_string<WChar> line = text + QD_W("\n");
        for (int batch = 0; batch < batches; ++batch) {
            const platform::Stream stream =
                platform::OpenStreamAlone(path, QD_W("at,ccs=UNICODE"), 20000);
            for (int i = 0; stream && i < lines; ++i)
                EXPECT_TRUE(platform::WriteText(stream.get(), line.c_str()));
        }
    };
    const std::basic_string<WChar> first(300, 'a'), second(400, 'b');
    std::thread other(write, first);
    write(second);
    other.join();

    const platform::Stream stream = platform::OpenStream(path, QD_W("r,ccs=UTF-16LE"));
    ASSERT_TRUE(stream);
    WChar line[512];
    int count = 0;
    std::basic_string<WChar> previous;
    int run = 0;
    for (; platform::ReadText(stream.get(), line, 512); ++count) {
        std::basic_string<WChar> text(line);
        text.pop_back();
        ASSERT_TRUE(text == first || text == second) << "line " << count;
        ASSERT_TRUE(run % lines == 0 || text == previous) << "line " << count;
        run = text == previous ? run + 1 : 1;
        previous = text;
    }
    EXPECT_EQ(count, 2 * batches * lines);
}
