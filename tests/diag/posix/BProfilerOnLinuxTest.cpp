#include "core/diag/BProfiler.h"

#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class LimitedProfiler : public BProfiler {
public:
    explicit LimitedProfiler(const WString& path)
    {
        Uninitialize();
        m_running = false;
        m_logfilePath = path;
    }
    ~LimitedProfiler()
    {
        Uninitialize();
        SetLogfilePath(WString());
    }
    // Start lines have the time of the day in them.
    static void Run(const WChar* text)
    {
        Start(WString());
        m_logEntries[m_logEntries.Count() - 1] = text;
        Stop(WString());
    }
};

} // namespace

TEST(BProfilerOnLinux, LosesNoLineOnAFullDisk)
{
    const std::string full = Utf16("first run\r\nsecond run\r\nthird run\r\n");
    for (rlim_t room = 0; room <= full.size(); ++room) {
        SCOPED_TRACE(room);
        const TemporaryFolder folder;
        const LimitedProfiler profiler(folder.Path("day.log"));
        {
            const ResourceLimit limit(RLIMIT_FSIZE, room);
            profiler.Run(u"first run");
            profiler.Run(u"second run");
            EXPECT_TRUE(full.starts_with(FileBytes(folder / "day.log")));
        }
        profiler.Run(u"third run");
        ASSERT_EQ(FileBytes(folder / "day.log"), full);
    }
}
