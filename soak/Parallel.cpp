// Locks, an operation, a progress mapping and the dispatcher used together by several threads:
//
//     parallel_soak SECONDS SEED
//
// Each worker does what its random numbers say, so that what runs beside what differs from run to
// run; the seed chooses the numbers, the system the rest. At the end nothing may have been lost.
// The thread sanitizer sees the races that leave no trace.

#include "core/operation/BAsyncOperationInterface.h"
#include "core/operation/BMessageReceiver.h"
#include "core/operation/BProgressMapping.h"
#include "core/operation/Messages.h"
#include "core/platform/CriticalSection.h"
#include "core/sync/BAutoLock.h"
#include "core/sync/BCriticalSection.h"
#include "core/sync/BLockRW.h"
#include "support/BThreadDispatcher.h"

#include "tests/operation/MessageWindow.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr std::uint64_t kSteps = 1'000'000'000'000;
constexpr std::uint64_t kUnits = 1'000'000;

/// What the threads share. Counters without a word are guarded as their names say.
struct Shared {
    BAsyncOperationInterface operation;
    BLockRW lock;
    BSyncableSmartObj object;
    platform::CriticalSection section;

    std::int64_t underLock = 0;                   // changed by writers only, who leave it even
    std::int64_t underObject = 0;                 // the same, and read
    BProgressMappingOMP progress{kSteps, kUnits}; // in the section

    std::atomic<std::int64_t> writesUnderLock = 0;
    std::atomic<std::int64_t> writesUnderObject = 0;
    std::atomic<int> statusTexts = 0;
    std::atomic<int> fetched = 0;
    std::atomic<int> faults = 0;

    void Fetch(std::uint64_t key)
    {
        if (!operation.FetchStatusMessage(static_cast<int>(key), false).IsEmpty())
            ++fetched;
    }
};

/// Does what the user interface does, on the dispatcher's thread.
class UserInterface final : public BMessageReceiver {
public:
    explicit UserInterface(Shared& shared)
        : m_shared(shared)
    {}
    void Receive(unsigned int message, std::uint64_t first, std::uint64_t second) override
    {
        if (message == kMessageProgressIncrement)
            units += first;
        if (message == kMessageAsyncStatus)
            m_shared.Fetch(second);
        if (message == kMessageAsyncError && m_shared.operation.GetError().Error() == 0)
            ++m_shared.faults;
    }

    std::uint64_t units = 0;

private:
    Shared& m_shared;
};

template <class Guard>
void WriteUnderObject(Shared& shared, const Guard&)
{
    ++shared.underObject;
    ++shared.underObject;
    shared.writesUnderObject += 2;
}

/// One thing that a worker does, chosen by `choice`.
void Act(Shared& shared, std::uint32_t choice)
{
    switch (choice % 12) {
    case 0: {
        const BAutoLockR guard(shared.lock);
        const BAutoLockR other(shared.object);
        break;
    }
    case 1: {
        const BAutoLockW guard(shared.lock);
        const BAutoLockW nested(shared.lock);
        const BAutoTryLockR reading(shared.lock);
        shared.faults += reading.IsLocked() ? 0 : 1;
        ++shared.underLock;
        ++shared.underLock;
        shared.writesUnderLock += 2;
        break;
    }
    case 2: // Who tries may read; who waits may be inside beside a writer, behind a first reader.
    case 3:
        if (const BAutoTryLockR guard(shared.object); guard.IsLocked())
            shared.faults += shared.underObject % 2 == 0 ? 0 : 1;
        break;
    case 4: WriteUnderObject(shared, BAutoLockW(shared.object)); break;
    case 5:
        if (const BAutoTryLockW guard(shared.object); guard.IsLocked())
            WriteUnderObject(shared, guard);
        break;
    case 6:
        ++shared.statusTexts;
        shared.operation.StatusInfo(QD_W("status"));
        break;
    case 7: shared.operation.ProgressInfo(choice % 101); break;
    case 8: shared.operation.ErrorInfo(BError(1, QD_W("$Error"), nullptr, nullptr, nullptr)); break;
    case 9: {
        const BCriticalSection guard(shared.section.Get());
        shared.progress.Next(choice % 1000);
        break;
    }
    case 10: shared.faults += shared.progress.IsStopping() ? 1 : 0; break;
    default:
        QDSend(1, 0, 0); // waits for all that is queued, so that the queue stays short
        break;
    }
}

void Work(Shared& shared, std::uint32_t seed)
{
    for (std::minstd_rand random(seed); !shared.operation.IsStopping();)
        Act(shared, static_cast<std::uint32_t>(random()));
}

/// Fetches what `window` gets, which is the sink now and then, until the time is over.
void WatchFor(double seconds, MessageWindow& window, Shared& shared)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (bool windowed = false; std::chrono::steady_clock::now() < end; windowed = !windowed) {
        shared.operation.SetMessageSink(windowed ? window.Handle() : nullptr);
        for (const WindowMessage& message : window.Received())
            if (message.number == kMessageWindowStatus)
                shared.Fetch(message.first);
        std::this_thread::yield();
    }
    shared.operation.Stop();
}

void Run(double seconds, std::uint32_t seed, Shared& shared, UserInterface& userInterface)
{
    const SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
    dispatcher->AddReceiver(&userInterface);
    BDispatcher::RegisterDispatcher(dispatcher);
    MessageWindow window; // stays until no worker can have fetched it any more
    std::vector<std::thread> workers;
    for (std::uint32_t i = 1; i <= 4; ++i)
        workers.emplace_back(Work, std::ref(shared), seed + i);
    WatchFor(seconds, window, shared);
    for (std::thread& worker : workers)
        worker.join();
    shared.progress.StepTo(kSteps);
    BDispatcher::RegisterDispatcher(nullptr);
    dispatcher->Shutdown();
    for (int key = 1; key <= shared.statusTexts; ++key)
        shared.Fetch(static_cast<std::uint64_t>(key));
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: parallel_soak SECONDS SEED\n");
        return 2;
    }
    Shared shared;
    UserInterface userInterface(shared);
    Run(std::atof(arguments[1]), static_cast<std::uint32_t>(std::atoi(arguments[2])), shared,
        userInterface);
    struct Check {
        const char* what;
        bool holds;
    };
    const Check checks[] = {
        {"no reader saw a half change", shared.faults == 0},
        {"something was changed and told", shared.writesUnderLock > 0 && shared.statusTexts > 0},
        {"no change under the lock was lost", shared.underLock == shared.writesUnderLock},
        {"no change under the object was lost", shared.underObject == shared.writesUnderObject},
        {"each text was fetched once", shared.fetched == shared.statusTexts},
        {"the progress adds up", userInterface.units == kUnits},
        {"all was given back", shared.object.TryLockW() && shared.lock.TryLockW()},
    };
    int failures = 0;
    for (const Check& check : checks) {
        if (!check.holds) {
            std::fprintf(stderr, "fails: %s\n", check.what);
            ++failures;
        }
    }
    std::printf("%lld steps\n",
                static_cast<long long>(shared.writesUnderLock + shared.writesUnderObject +
                                       shared.statusTexts));
    return failures != 0;
}
