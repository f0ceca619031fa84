#include "core/diag/BFramesPerSecondCounter.h"
#include "core/diag/BStopWatch.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

void PassMilliseconds(double count)
{
    const BStopWatch watch;
    while (watch.PeriodD() < count) {
    }
}

class HandDrivenCounter : public BFramesPerSecondCounter {
public:
    using BFramesPerSecondCounter::AddFrameAt;
    using BFramesPerSecondCounter::BFramesPerSecondCounter;
};

// Counter ticks in a second, as seen from outside: two frames so many ticks apart.
std::int64_t Frequency()
{
    HandDrivenCounter counter;
    counter.AddFrameAt(0);
    counter.AddFrameAt(1);
    return static_cast<std::int64_t>(counter.Fps());
}

} // namespace

TEST(BStopWatch, StandsUntilItRuns)
{
    BStopWatch watch(false);
    EXPECT_FALSE(watch.IsRunning());
    PassMilliseconds(2);
    EXPECT_EQ(watch.Period(), 0u);
    EXPECT_EQ(watch.PeriodD(), 0.0);
    watch.Continue();
    EXPECT_TRUE(watch.IsRunning());
    PassMilliseconds(2);
    EXPECT_GE(watch.PeriodD(), 2.0);
}

TEST(BStopWatch, CountsMilliseconds)
{
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const Clock::time_point before = Clock::now();
    BStopWatch watch;
    const Clock::time_point start = Clock::now();
    PassMilliseconds(2);
    const Milliseconds least = Clock::now() - start;
    watch.Stop();
    EXPECT_GE(watch.PeriodD(), least.count());
    EXPECT_LE(watch.PeriodD(), Milliseconds(Clock::now() - before).count());
    EXPECT_EQ(watch.Period(), static_cast<unsigned long>(watch.PeriodD()));
}

TEST(BStopWatch, DoesNotCountPauses)
{
    const BStopWatch whole;
    BStopWatch watch;
    PassMilliseconds(2);
    watch.Stop();
    const BStopWatch pause;
    const double before = watch.PeriodD();
    PassMilliseconds(5);
    watch.Stop(); // keeps the first stop
    EXPECT_EQ(watch.PeriodD(), before);
    const double paused = pause.PeriodD();
    watch.Continue();
    watch.Continue();
    EXPECT_GE(watch.PeriodD(), before);
    const double counted = watch.PeriodD();
    EXPECT_LE(counted, whole.PeriodD() - paused);
}

TEST(BStopWatch, StartsFromZeroWhenReset)
{
    for (const bool isRunning : {true, false}) {
        BStopWatch watch;
        PassMilliseconds(1);
        if (!isRunning)
            watch.Stop();
        const BStopWatch younger;
        watch.Reset();
        EXPECT_TRUE(watch.IsRunning());
        const double period = watch.PeriodD();
        EXPECT_LE(period, younger.PeriodD());
        PassMilliseconds(1);
        EXPECT_GE(watch.PeriodD(), 1.0);
    }
}

TEST(BFramesPerSecondCounter, CountsFramesOfItsWindow)
{
    const std::int64_t second = Frequency();
    HandDrivenCounter counter;
    EXPECT_EQ(counter.Fps(), 0.0);
    for (std::int64_t frame = 0; frame <= 60; ++frame) {
        counter.AddFrameAt(frame * second / 60);
        if (frame == 0) {
            EXPECT_EQ(counter.Fps(), 0.0);
        }
    }
    EXPECT_DOUBLE_EQ(counter.Fps(), 60.0);
    // The window slides: a second later only the new frames count.
    for (std::int64_t frame = 1; frame <= 10; ++frame)
        counter.AddFrameAt(second + frame * second / 10);
    EXPECT_DOUBLE_EQ(counter.Fps(), 10.0);
    // After a long pause two frames are left.
    counter.AddFrameAt(second * 12);
    EXPECT_DOUBLE_EQ(counter.Fps(), 0.1);
    counter.Restart();
    EXPECT_EQ(counter.Fps(), 0.0);
    counter.AddFrame();
    PassMilliseconds(1);
    counter.AddFrame();
    EXPECT_GT(counter.Fps(), 0.0);
    EXPECT_LE(counter.Fps(), 1000.0);
}

TEST(BFramesPerSecondCounter, TakesAnyRateForItsWindow)
{
    const std::int64_t second = Frequency();
    struct Case {
        double rate;
        double fps; // of frames at 0, 4, 6 and 7 tenths of a second
    };
    const Case cases[] = {{1.0, 3 / 0.7}, {2.0, 2 / 0.3}, {0.0, 3 / 0.7}, {-1.0, 1 / 0.1}};
    for (const Case& c : cases) {
        HandDrivenCounter counter(c.rate);
        for (const std::int64_t tenths : {0, 4, 6, 7})
            counter.AddFrameAt(tenths * second / 10);
        EXPECT_NEAR(counter.Fps(), c.fps, 1e-6) << c.rate;
    }
}
