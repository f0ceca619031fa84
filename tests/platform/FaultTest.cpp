#include "core/platform/Fault.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <stdexcept>

namespace {

// Addresses come from a volatile, so that no compiler sees through them.
volatile std::uintptr_t g_nowhere = 64;

void Read(void*)
{
    static_cast<void>(*reinterpret_cast<volatile int*>(g_nowhere));
}

void Write(void*)
{
    *reinterpret_cast<volatile int*>(g_nowhere) = 1;
}

void Jump(void*)
{
    reinterpret_cast<void (*)()>(g_nowhere)();
}

void Count(void* context)
{
    ++*static_cast<int*>(context);
}

void Throw(void*)
{
    throw std::runtime_error("thrown");
}

/// Faults in a nested call, then counts.
void FaultInside(void* context)
{
    if (!platform::RunGuarded(Write, nullptr))
        Count(context);
}

/// The same, then faults itself.
void FaultInsideAndAfter(void* context)
{
    FaultInside(context);
    Read(nullptr);
}

} // namespace

TEST(Fault, EndsTheGuardedCallAndNoMore)
{
    int count = 0;
    // More than once: nothing stays blocked or switched off after a fault.
    for (int round = 0; round < 3; ++round) {
        EXPECT_FALSE(platform::RunGuarded(Read, nullptr));
        EXPECT_FALSE(platform::RunGuarded(Write, nullptr));
        EXPECT_FALSE(platform::RunGuarded(Jump, nullptr));
        EXPECT_TRUE(platform::RunGuarded(Count, &count));
    }
    EXPECT_EQ(count, 3);
}

TEST(Fault, ReturnsToTheInnermostCall)
{
    int count = 0;
    EXPECT_TRUE(platform::RunGuarded(FaultInside, &count));
    EXPECT_FALSE(platform::RunGuarded(FaultInsideAndAfter, &count));
    EXPECT_EQ(count, 2);
}

TEST(Fault, LetsExceptionsPass)
{
    EXPECT_THROW((void)platform::RunGuarded(Throw, nullptr), std::runtime_error);
    EXPECT_FALSE(platform::RunGuarded(Read, nullptr));
}

TEST(FaultDeathTest, OutsideOfAGuardGoesItsWayToTheHandlerOfThatTime)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            (void)platform::RunGuarded(Read, nullptr);
            Write(nullptr);
        },
        "");
    EXPECT_EXIT(
        {
            static int code = 40;
            (void)platform::RunGuarded(Read, nullptr);
            std::signal(SIGSEGV, [](int) { std::_Exit(code); });
            // The guard stands before a handler that is younger than its last call.
            for (int i = 0; i < 2; ++i)
                code += platform::RunGuarded(Read, nullptr) ? 0 : 1;
            Write(nullptr);
        },
        testing::ExitedWithCode(42), "");
}
