#include "core/diag/BProfiler.h"

#include "tests/FileBytes.h"
#include "tests/GoldenFile.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

// Sees what the profiler keeps, and starts from nothing.
class OpenProfiler : public BProfiler {
public:
    OpenProfiler()
    {
        Uninitialize();
        m_running = false;
        SetLogfilePath(WString());
    }

    using BProfiler::m_logEntries;
    using BProfiler::m_logfilePath;
    using BProfiler::m_running;
    using BProfiler::m_swatch;
};

bool IsStartLine(const WString& line, const WChar* text)
{
    // 14:05:09 <tab> Start <tab> text
    WString time = line.Sub(0, 8);
    return time.GetAt(2) == QD_W(':') && time.GetAt(5) == QD_W(':') &&
           time.EraseAllChars(QD_W(':')).IsDigit() &&
           line.Sub(8) == WString(QD_W("\tStart\t")) + text;
}

bool IsStepLine(const WString& line, const WChar* text)
{
    return line.TokenCount(QD_W('\t')) == 2 && line.Token(0, QD_W('\t')).IsDigit() &&
           line.Token(1, QD_W('\t')) == text;
}

} // namespace

TEST(BProfiler, LogsStartsAndStepsButNoStops)
{
    OpenProfiler profiler;
    BProfiler::Stop(QD_W("nothing runs"));
    EXPECT_EQ(profiler.m_logEntries.Count(), 0u);

    BProfiler::Step(QD_W("first")); // starts a run by itself
    BProfiler::Step(WString());
    EXPECT_TRUE(profiler.m_running && profiler.m_swatch.IsRunning());
    BProfiler::Start(QD_W("100%s")); // stops it
    BProfiler::Stop(QD_W("end"));
    EXPECT_FALSE(profiler.m_running || profiler.m_swatch.IsRunning());

    const BArray<WString>& entries = profiler.m_logEntries; // kept without a file
    ASSERT_EQ(entries.Count(), 4u);
    EXPECT_TRUE(IsStartLine(entries[0], QD_W("")));
    EXPECT_TRUE(IsStepLine(entries[1], QD_W("first")));
    EXPECT_TRUE(IsStepLine(entries[2], QD_W("Step")));
    EXPECT_TRUE(IsStartLine(entries[3], QD_W("100%s")));
}

TEST(BProfiler, AppendsRunsToTheFileOfTheDay)
{
    const TemporaryFolder folder;
    OpenProfiler profiler;
    const WString directory = folder.Path("logs") + QD_W("\\");
    BProfiler::SetLogfilePath(directory);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "logs"));
    WString name = profiler.m_logfilePath.Sub(directory.Length());
    EXPECT_TRUE(name.EndsWith(QD_W(".log")));
    EXPECT_TRUE(name.Cut(0, name.Length() - 4).IsDigit());

    // A relative directory is one in the current folder.
    const std::filesystem::path formerFolder = std::filesystem::current_path();
    std::filesystem::current_path(folder / "");
    BProfiler::SetLogfilePath(QD_W("deep\\er\\"));
    BProfiler::Start(QD_W("relative"));
    BProfiler::Stop(WString());
    std::filesystem::current_path(formerFolder);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "deep/er"), {}), 1);
    EXPECT_EQ(profiler.m_logEntries.Count(), 0u);

    const WString file = folder.Path("day.log");
    profiler.m_logfilePath = folder.Path("missing") + QD_W("\\day.log");
    BProfiler::Start(WString());
    profiler.m_logEntries[0] = QD_W("09:05:00\tStart\tMe\u00DFlauf \u6E2C \xD83D\xDE00 100%");
    BProfiler::Stop(WString());
    EXPECT_EQ(profiler.m_logEntries.Count(), 1u); // kept for the next stop
    for (const WChar* text : {QD_W("second"), QD_W("third")}) {
        profiler.m_logfilePath = file;
        BProfiler::Start(WString());
        profiler.m_logEntries[profiler.m_logEntries.Count() - 1] = WString(QD_W("12\t")) + text;
        BProfiler::Stop(WString());
        EXPECT_EQ(profiler.m_logEntries.Count(), 0u);
    }
    EXPECT_EQ(FileBytes(folder / "day.log"), FileBytes(GoldenFile("file/profiler.log")));

    // The runtime library takes this unit for the end.
    profiler.m_logfilePath = folder.Path("marks.log");
    BProfiler::Start(WString());
    profiler.m_logEntries[0] = QD_W("a\uFFFFb\uFFFF");
    BProfiler::Stop(WString());
    EXPECT_EQ(FileBytes(folder / "marks.log"), std::string("\xFF\xFE"
                                                           "a\0\xFF\xFF"
                                                           "b\0\xFF\xFF\r\0\n\0",
                                                           14));
}
