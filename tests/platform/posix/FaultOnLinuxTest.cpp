#include "core/platform/Fault.h"

#include "tests/Process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <thread>
#include <unistd.h>

namespace {

volatile std::uintptr_t g_nowhere = 64;

void Write(void*)
{
    *reinterpret_cast<volatile int*>(g_nowhere) = 1;
}

void DoNothing(void*) {}

struct sigaction g_before;
int g_reports = 0;

/// A crash reporter that hands on to the handler before it.
void Report(int signal, siginfo_t* info, void* context)
{
    if (++g_reports > 10)
        ::_exit(3);
    if ((g_before.sa_flags & SA_SIGINFO) != 0)
        g_before.sa_sigaction(signal, info, context);
}

void SetReporter(void*)
{
    struct sigaction action {};
    action.sa_sigaction = Report;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGSEGV, &action, &g_before);
}

struct sigaction Present()
{
    struct sigaction action {};
    ::sigaction(SIGSEGV, nullptr, &action);
    return action;
}

/// In a child that was forked beside guarded calls: the guard works, and goes afterwards.
bool IsGuardOwn(const struct sigaction& before)
{
    ::alarm(10);
    return Present().sa_sigaction == before.sa_sigaction && !platform::RunGuarded(Write, nullptr) &&
           Present().sa_sigaction == before.sa_sigaction;
}

} // namespace

TEST(FaultOnLinuxDeathTest, AHandlerThatHandsOnToTheGuardIsNotCalledForEver)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    using Ending = void (*)();
    const Ending endings[] = {
        [] { Write(nullptr); },
        [] { // beside a guarded call of another thread
            const auto writeBeside = [](void*) { std::thread([] { Write(nullptr); }).join(); };
            (void)platform::RunGuarded(writeBeside, nullptr);
        },
        [] { std::raise(SIGSEGV); }, // no fault, but sent
    };
    for (const Ending end : endings) {
        EXPECT_EXIT(
            {
                std::signal(SIGSEGV, SIG_DFL);
                (void)platform::RunGuarded(SetReporter, nullptr);
                (void)platform::RunGuarded(DoNothing, nullptr);
                if (Present().sa_sigaction == Report) // what was set inside stays
                    end();
            },
            testing::KilledBySignal(SIGSEGV), "");
    }
}

TEST(FaultOnLinux, AForkBesideGuardedCallsLeavesTheChildItsOwnGuard)
{
    const struct sigaction before = Present();
    std::atomic<bool> isDone = false;
    std::thread other([&isDone] {
        while (!isDone)
            (void)platform::RunGuarded(DoNothing, nullptr);
    });
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(Held(StartProcess([&before] { return IsGuardOwn(before); })));
    isDone = true;
    other.join();
}

TEST(FaultOnLinux, AForkInsideAGuardedCallLeavesTheChildInsideOfIt)
{
    pid_t child = -1;
    const auto forkAndWrite = [](void* context) {
        pid_t& forked = *static_cast<pid_t*>(context);
        const auto guard = Present().sa_sigaction;
        forked = ::fork();
        if (forked == 0 && Present().sa_sigaction == guard) {
            (void)platform::RunGuarded(DoNothing, nullptr);
            Write(nullptr);
        }
    };
    const struct sigaction before = Present();
    const bool isWhole = platform::RunGuarded(forkAndWrite, &child);
    if (child == 0)
        ::_exit(!isWhole && IsGuardOwn(before) ? 0 : 1);
    EXPECT_TRUE(Held(child));
}
