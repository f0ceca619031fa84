#include "core/base/BString.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/diag/OpenProfiler.h"

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <regex>
#include <string>
#include <tuple>

namespace {

// Whether a line is a start of this text.
bool IsStart(const WString& line, const char* text)
{
    const std::regex start("([01][0-9]|2[0-3]):[0-5][0-9]:[0-6][0-9]\tStart\t(.*)");
    const BString narrow(line);
    std::cmatch found;
    return std::regex_match(narrow.CStr(), found, start) && found[2] == text;
}

} // namespace

TEST(BProfiler, LogsStartsAndStepsButNoStops)
{
    const OpenProfiler profiler;
    const BArray<WString>& entries = profiler.m_logEntries; // kept without a file
    BProfiler::Step(QD_W("first"));                         // starts a run by itself
    EXPECT_TRUE(profiler.m_running && profiler.m_swatch.IsRunning());
    while (profiler.m_swatch.Period() < 2) {
    }
    BProfiler::Step(WString());
    BProfiler::Stop(QD_W("end"));
    EXPECT_FALSE(profiler.m_running || profiler.m_swatch.IsRunning());
    const unsigned long end = profiler.m_swatch.Period();
    ASSERT_EQ(entries.Count(), 3u);
    EXPECT_TRUE(IsStart(entries[0], ""));
    for (const auto& [index, text, least] :
         {std::tuple{1u, QD_W("first"), 0}, {2u, QD_W("Step"), 2}}) {
        const WString line = entries[index];
        int milliseconds = -1;
        EXPECT_TRUE(line.Token(0, QD_W('\t')).Convert(milliseconds));
        EXPECT_GE(milliseconds, least);
        EXPECT_LE(milliseconds, static_cast<int>(end));
        EXPECT_EQ(line, WString::FromInt(milliseconds) + QD_W("\t") + text);
    }
}

TEST(BProfiler, AStartEndsTheRunThatIsOpen)
{
    const TemporaryFolder folder;
    OpenProfiler profiler;
    profiler.m_logfilePath = folder.Path("day.log");
    BProfiler::Stop(QD_W("nothing runs"));
    EXPECT_FALSE(std::filesystem::exists(folder / "day.log"));
    BProfiler::Start(QD_W("first"));
    const BStopWatch younger;
    BProfiler::Start(QD_W("100%s"));
    const double period = profiler.m_swatch.PeriodD();
    EXPECT_LE(period, younger.PeriodD());
    EXPECT_TRUE(FileBytes(folder / "day.log").ends_with(Utf16("\tStart\tfirst\r\n", "")));
    ASSERT_EQ(profiler.m_logEntries.Count(), 1u);
    EXPECT_TRUE(profiler.m_initialized && IsStart(profiler.m_logEntries[0], "100%s"));
    OpenProfiler::Uninitialize();
    EXPECT_FALSE(profiler.m_initialized || profiler.m_swatch.IsRunning());
    EXPECT_EQ(profiler.m_logEntries.Count(), 0u);
    BProfiler::Start(QD_W("third"));
    OpenProfiler::Initialize();
    EXPECT_EQ(profiler.m_logEntries.Count(), 0u);
}

TEST(BProfiler, LogsToTheFileOfTheDay)
{
    const TemporaryFolder folder;
    const OpenProfiler profiler;
    const auto hasFileOfToday = [&] {
        const std::time_t now = std::time(nullptr);
        const std::tm day = *std::localtime(&now);
        const std::string name = std::to_string(day.tm_year + 1900) +
                                 std::to_string(day.tm_mon + 1) + std::to_string(day.tm_mday);
        return std::filesystem::exists(folder / ("deep/er/" + name + ".log").c_str());
    };
    const std::filesystem::path formerFolder = std::filesystem::current_path();
    std::filesystem::current_path(folder / "");
    for (int i = 0; i < 2 && !hasFileOfToday(); ++i) { // once more at midnight
        BProfiler::SetLogfilePath(QD_W("deep\\er\\")); // relative to the current folder
        profiler.Run(QD_W("line"));
    }
    std::filesystem::current_path(formerFolder);
    EXPECT_TRUE(hasFileOfToday());
    EXPECT_EQ(profiler.m_logEntries.Count(), 0u);
    BProfiler::SetLogfilePath(WString());
    EXPECT_TRUE(profiler.m_logfilePath.IsEmpty());
}

TEST(BProfiler, AppendsRunsAndKeepsWhatItCannotWrite)
{
    const TemporaryFolder folder;
    OpenProfiler profiler;
    profiler.m_logfilePath = folder.Path("missing") + QD_W("\\day.log");
    profiler.Run(QD_W("09:05:00\tStart\tMe\u00DFlauf \u6E2C \xD83D\xDE00 100%"));
    EXPECT_EQ(profiler.m_logEntries.Count(), 1u); // for the next stop
    EXPECT_EQ(BProfiler::Problem().code, EProblem::NotThere);
    BProfiler::SetLogfilePath(WString());
    EXPECT_FALSE(BProfiler::Problem()) << "nothing is to be written";
    profiler.m_logfilePath = folder.Path("day.log");
    for (const WChar* line : {QD_W("12\tsecond"), QD_W("12\tthird")}) {
        profiler.Run(line);
        EXPECT_EQ(profiler.m_logEntries.Count(), 0u);
        EXPECT_FALSE(BProfiler::Problem());
    }
    EXPECT_EQ(FileBytes(folder / "day.log"), FileBytes(GoldenFile("file/profiler.log")));

    // The runtime library takes this unit for the end.
    profiler.m_logfilePath = folder.Path("marks.log");
    profiler.Run(QD_W("a\uFFFFb\uFFFF"));
    EXPECT_EQ(FileBytes(folder / "marks.log"), "\xFF\xFE" + Utf16("a", "") + "\xFF\xFF" +
                                                   Utf16("b", "") + "\xFF\xFF" + Utf16("\r\n", ""));
}
