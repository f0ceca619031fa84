#include "core/diag/BFramesPerSecondCounter.h"
#include "core/diag/BStopWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void PassMilliseconds(double count)
{
    const Clock::time_point start = Clock::now();
    while (MillisecondsSince(start) < count) {
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

TEST(BStopWatch, CountsTheMillisecondsThatItRuns)
{
    BStopWatch watch(false);
    double most = 0;
    for (const double least : {2.0, 4.0}) {
        PassMilliseconds(3);
        watch.Stop(); // stands already
        EXPECT_FALSE(watch.IsRunning());
        EXPECT_LE(watch.PeriodD(), most);
        EXPECT_EQ(watch.Period(), static_cast<unsigned long>(watch.PeriodD()));
        const Clock::time_point before = Clock::now();
        watch.Continue();
        PassMilliseconds(2);
        watch.Continue(); // runs already
        EXPECT_TRUE(watch.IsRunning());
        EXPECT_GE(watch.PeriodD(), least);
        watch.Stop();
        most += MillisecondsSince(before);
    }
    EXPECT_GE(watch.PeriodD(), 4.0);
    EXPECT_LE(watch.PeriodD(), most);
}

TEST(BStopWatch, StartsFromZeroWhenReset)
{
    for (const bool isRunning : {true, false}) {
        BStopWatch watch;
        PassMilliseconds(1);
        if (!isRunning)
            watch.Stop();
        const Clock::time_point younger = Clock::now();
        watch.Reset();
        EXPECT_TRUE(watch.IsRunning());
        const double period = watch.PeriodD();
        EXPECT_LE(period, MillisecondsSince(younger));
        PassMilliseconds(1);
        EXPECT_GE(watch.PeriodD(), 1.0);
    }
}

TEST(BFramesPerSecondCounter, CountsFramesOfItsWindow)
{
    const std::int64_t second = Frequency();
    HandDrivenCounter counter;
    EXPECT_EQ(counter.Fps(), 0.0);
    counter.AddFrameAt(0);
    EXPECT_EQ(counter.Fps(), 0.0);
    for (std::int64_t frame = 1; frame <= 60; ++frame)
        counter.AddFrameAt(frame * second / 60);
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
    // The second is of frames at 0, 4, 6 and 7 tenths of a second.
    const std::pair<double, double> cases[] = {
        {1.0, 3 / 0.7}, {2.0, 2 / 0.3}, {0.0, 3 / 0.7}, {-1.0, 1 / 0.1}};
    for (const auto& [rate, fps] : cases) {
        HandDrivenCounter counter(rate);
        for (const std::int64_t tenths : {0, 4, 6, 7})
            counter.AddFrameAt(tenths * second / 10);
        EXPECT_NEAR(counter.Fps(), fps, 1e-6) << rate;
    }
    HandDrivenCounter counter(-1.0);
    for (const std::int64_t tick : {0, 0, 1})
        counter.AddFrameAt(tick);
    EXPECT_DOUBLE_EQ(counter.Fps(), static_cast<double>(second)) << "not even one tick";
}
