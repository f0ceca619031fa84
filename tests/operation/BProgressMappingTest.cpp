#include "core/operation/BProgressMapping.h"

#include "core/base/BError.h"
#include "core/operation/BProgressManager.h"

#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <numeric>
#include <thread>
#include <tuple>
#include <vector>

namespace {

using Increments = std::vector<std::uint64_t>;

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

/// Shows how the stride adapts.
class OpenMapping final : public BProgressMapping {
public:
    using BProgressMapping::BProgressMapping;
    using BProgressMapping::StrideAfter;
};

/// Breaks when a test wants it.
struct User final : BProgressManager {
    void BeginLongOperation(std::uint64_t) override {}
    bool BreakLongOperation(bool ask) override { return breaks && !ask; }
    void EndLongOperation() override {}
    void TestUserBreak() override
    {
        if (breaks)
            throw BError(1);
    }
    bool breaks = false;
};

class BProgressMappingTest : public testing::Test {
protected:
    ~BProgressMappingTest() override { BProgressManager::RegisterInstance(nullptr); }

    /// The increments that were sent; all other fields of the messages must be as declared.
    Increments Sent()
    {
        Increments increments;
        for (const auto& [number, first, second] : m_dispatcher.Sent()) {
            EXPECT_EQ(number, 4077u);
            EXPECT_EQ(second, 0u);
            increments.push_back(first);
        }
        return increments;
    }

    RecordingDispatcher m_dispatcher;
    SP<User> m_user = new User; // the tests register it
};

} // namespace

TEST_F(BProgressMappingTest, SendsIncrementsThatAddUpToTheMessageCount)
{
    struct Case {
        std::uint64_t steps, messageCount, stepWidth, advances, sum;
    };
    const Case cases[] = {
        {1000, 100, 1, 1000, 100},
        {1000, 100, 1, 5000, 100}, // beyond the end
        {1000, 0, 1, 1000, 0},
        {49, 1, 1, 49, 1}, // 49 times 1/49.0 is less than 1
        {1'000'000, 7, 3, 333'334, 7},
        {10, kMost, 1, 10, kMost},
        {kMost, kMost, kMost - 1, 1, kMost}, // in floating point that is the end
        {kMost / 2, kMost, kMost / 2 + 1, 1, kMost},
        {0, 3, 1, 8, 3},
        {0, 100, 1, 8, 8}, // without steps each one is a unit
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << (&row - cases));
        BProgressMapping progress(row.steps, row.messageCount);
        for (std::uint64_t i = 0; i < row.advances; ++i)
            progress.Next(row.stepWidth);
        const Increments sent = Sent();
        EXPECT_EQ(std::accumulate(sent.begin(), sent.end(), std::uint64_t{0}), row.sum);
    }
}

TEST_F(BProgressMappingTest, ReportsWhatWasReachedSinceTheLastUpdate)
{
    BProgressMapping progress(10, 100);
    EXPECT_TRUE(progress.StepTo(4)); // the first stride is 1
    EXPECT_FALSE(progress.StepTo(4));
    EXPECT_FALSE(progress.StepTo(3));
    EXPECT_FALSE(progress.Next(0));
    EXPECT_EQ(progress.Step(), 4u);
    EXPECT_EQ(Sent(), (Increments{40}));
    progress.SetSteps(8);
    EXPECT_EQ(progress.GetSteps(), 8u);
    EXPECT_EQ(progress.ProgressMessageNum(), 100u);
    EXPECT_TRUE(progress.StepTo(6)); // the next stride is 2 at most
    EXPECT_TRUE(progress.StepTo(kMost));
    EXPECT_EQ(Sent(), (Increments{35, 25}));
    EXPECT_EQ(progress.Step(), kMost);
}

TEST_F(BProgressMappingTest, SendsWhatAReceiverRefusedWithTheNextUpdate)
{
    BProgressMapping progress(4, 4);
    m_dispatcher.OnSend([&](const RecordingDispatcher::Message&) {
        progress.Next(1); // from inside
        throw 1;
    });
    EXPECT_THROW(progress.Next(1), int);
    EXPECT_EQ(Sent(), (Increments{1, 1})) << "the first one failed";
    EXPECT_TRUE(progress.StepTo(4));
    EXPECT_FALSE(progress.Next(0)) << "the end was reached before";
    EXPECT_EQ(Sent(), (Increments{3}));
}

TEST_F(BProgressMappingTest, UpdatesEvery50To100Milliseconds)
{
    constexpr std::uint64_t longest = std::uint64_t{1} << 63;
    const std::tuple<std::uint64_t, std::uint32_t, std::uint64_t> cases[] = {
        {4, 0, 8},   {4, 49, 8},
        {4, 50, 4},  {4, 100, 4},
        {4, 101, 2}, {4, std::numeric_limits<std::uint32_t>::max(), 2},
        {1, 101, 1}, {longest, 0, longest},
    };
    for (const auto& [stride, elapsedMs, next] : cases)
        EXPECT_EQ(OpenMapping::StrideAfter(stride, elapsedMs), next)
            << stride << " after " << elapsedMs;

    // However fast or slowly this runs, a million steps bring few updates.
    BProgressMapping progress(1'000'000, 100);
    std::this_thread::sleep_for(std::chrono::milliseconds(101)); // before the first one
    int updates = 0;
    for (int i = 0; i < 1'000'000; ++i)
        updates += progress.Next(1) ? 1 : 0;
    EXPECT_LT(updates, 1000);
}

TEST_F(BProgressMappingTest, WithBreakThrowsOutOfTheUpdateOnceTheUserBreaks)
{
    BProgressMappingAndBreak progress(3, 3);
    EXPECT_TRUE(progress.StepTo(1)) << "without a manager";
    BProgressManager::RegisterInstance(m_user.Get());
    EXPECT_TRUE(progress.StepTo(2));
    m_user->breaks = true;
    EXPECT_THROW(progress.StepTo(3), BError);
    EXPECT_EQ(progress.Step(), 3u);
    EXPECT_EQ(Sent(), (Increments{1, 1, 1}));
}

TEST_F(BProgressMappingTest, ForLoopsOfThreadsNotesTheBreakForGood)
{
    BProgressManager::RegisterInstance(m_user.Get());
    BProgressMappingOMP progress(3, 3);
    progress.StepTo(1);
    EXPECT_FALSE(progress.IsStopping());
    m_user->breaks = true;
    progress.StepTo(3); // the last step always updates
    m_user->breaks = false;
    progress.Next(1);
    EXPECT_TRUE(progress.IsStopping());
    EXPECT_TRUE(BProgressMappingOMP(progress).IsStopping());
    EXPECT_EQ(Sent(), (Increments{1, 2}));
}

TEST_F(BProgressMappingTest, TheManagerAnswersForTheProcessWhileItIsRegistered)
{
    EXPECT_FALSE(BProgressManager::InstanceBreakLongOperation(false));
    BProgressManager::RegisterInstance(m_user.Get());
    EXPECT_EQ(BProgressManager::Instance(), m_user);
    EXPECT_EQ(m_user->RefCount(), 2) << "the test's and the registration's";
    m_user->breaks = true;
    EXPECT_FALSE(BProgressManager::InstanceBreakLongOperation(true)) << "the argument is handed on";
    BProgressManager::RegisterInstance(nullptr);
    EXPECT_EQ(m_user->RefCount(), 1);
}
