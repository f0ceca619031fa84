#include "core/platform/Fault.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>

namespace {

// Addresses come from a volatile, so that no compiler sees through them.
volatile std::uintptr_t g_nowhere = 64;

void Write(void*)
{
    *reinterpret_cast<volatile int*>(g_nowhere) = 1;
}

void FaultInsideAndCount(void* count)
{
    if (!platform::RunGuarded(Write, nullptr))
        ++*static_cast<int*>(count);
}

} // namespace

TEST(Fault, EndsTheInnermostGuardedCallAndNoMore)
{
    using Call = void (*)(void*);
    const Call faults[] = {
        [](void*) { static_cast<void>(*reinterpret_cast<volatile int*>(g_nowhere)); },
        Write,
        [](void*) { reinterpret_cast<void (*)()>(g_nowhere)(); },
        [](void* count) {
            FaultInsideAndCount(count);
            Write(nullptr);
        },
    };
    int count = 0;
    // More than once: nothing stays blocked or switched off after a fault or an exception.
    for (int round = 0; round < 3; ++round) {
        for (const Call fault : faults)
            EXPECT_FALSE(platform::RunGuarded(fault, &count));
        EXPECT_TRUE(platform::RunGuarded(FaultInsideAndCount, &count));
        EXPECT_THROW((void)platform::RunGuarded([](void*) { throw 1; }, nullptr), int);
    }
    EXPECT_EQ(count, 6);
}

TEST(FaultDeathTest, OutsideOfAGuardGoesItsWayToTheHandlerOfThatTime)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static int code = 40;
            (void)platform::RunGuarded(Write, nullptr);
            std::signal(SIGSEGV, [](int) { std::_Exit(code); });
            // The guard stands before a handler that is younger than its last call.
            for (int i = 0; i < 2; ++i)
                code += platform::RunGuarded(Write, nullptr) ? 0 : 1;
            Write(nullptr);
        },
        testing::ExitedWithCode(42), "");
    EXPECT_EXIT(
        {
            std::signal(SIGSEGV, [](int) { std::_Exit(43); });
            // Sent, so no fault of the guarded call.
            (void)platform::RunGuarded([](void*) { std::raise(SIGSEGV); }, nullptr);
        },
        testing::ExitedWithCode(43), "");
}
