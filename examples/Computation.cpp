#include "examples/Computation.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/memory/CStdMemoryManager.h"
#include "core/operation/BAsyncOperationInterface.h"
#include "core/operation/BMessageReceiver.h"
#include "core/operation/BProgressManager.h"
#include "core/operation/BProgressMapping.h"
#include "core/operation/Messages.h"
#include "support/BThreadDispatcher.h"

#include "examples/View.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A computation as an application would write it: blocks of the memory manager hold the points, one
// worker spreads the work over the processors and reports to an operation, and a dispatcher brings
// what it reports to the terminal. Nothing of the computation knows who listens.

namespace {

constexpr int kBrokenOff = 130;

constexpr std::uint64_t kFrameSize = 64 << 20;
constexpr std::uint64_t kUnits = 100; // of the progress bar
constexpr std::uint64_t kPointsPerBlock = 1 << 18;
constexpr std::uint64_t kPointsPerStep = 1 << 12;

volatile std::sig_atomic_t g_interrupted = 0;

// A handler of signals may do no more than this; the workers ask.
void OnInterrupt(int)
{
    g_interrupted = 1;
}

struct Point {
    float x, y, z; // millimetres
};

/// Blocks of the memory manager that hold the points, the last one fewer than the others.
class Cloud {
public:
    explicit Cloud(std::uint64_t count)
    {
        for (std::uint64_t left = count; left != 0;) {
            const std::uint64_t taken = std::min(left, kPointsPerBlock);
            m_blocks.push_back(QDAlloc(taken * sizeof(Point)));
            left -= taken;
        }
    }
    Cloud(const Cloud&) = delete;
    Cloud& operator=(const Cloud&) = delete;
    ~Cloud()
    {
        for (CMemoryBlock* block : m_blocks)
            QDFree(block);
    }

    [[nodiscard]] std::size_t BlockCount() const { return m_blocks.size(); }
    [[nodiscard]] Point* Begin(std::size_t block) const
    {
        return static_cast<Point*>(m_blocks[block]->Start());
    }
    [[nodiscard]] std::uint64_t Count(std::size_t block) const
    {
        return m_blocks[block]->Size() / sizeof(Point);
    }

private:
    std::vector<CMemoryBlock*> m_blocks;
};

/// Count, mean and spread, gathered piece by piece (Chan, Golub, LeVeque, "Updating formulae and
/// a pairwise algorithm for computing sample variances", 1979).
struct Statistics {
    std::uint64_t count = 0;
    double mean = 0;
    double squares = 0; // sum of squared distances from the mean
    double least = std::numeric_limits<double>::infinity();
    double largest = -std::numeric_limits<double>::infinity();

    void Add(const Statistics& other)
    {
        if (other.count == 0)
            return;
        const double total = static_cast<double>(count + other.count);
        const double distance = other.mean - mean;
        const double share = static_cast<double>(other.count) / total;
        squares += other.squares + distance * distance * static_cast<double>(count) * share;
        mean += distance * share;
        count += other.count;
        least = std::min(least, other.least);
        largest = std::max(largest, other.largest);
    }
    [[nodiscard]] double Deviation() const
    {
        return std::sqrt(squares / static_cast<double>(count));
    }
};

/// What the user sees and how the user breaks off.
class Terminal final : public BProgressManager, public BMessageReceiver {
public:
    void BeginLongOperation(std::uint64_t) override {}
    bool BreakLongOperation(bool) override { return g_interrupted != 0; }
    void EndLongOperation() override {}
    void TestUserBreak() override
    {
        if (g_interrupted != 0)
            throw BError(kErrorUserBreak);
    }

    /// On the dispatcher's thread.
    void Receive(unsigned int message, std::uint64_t first, std::uint64_t second) override
    {
        if (message == kMessageProgressIncrement) {
            m_done += first;
            Draw();
            return;
        }
        if (message != kMessageAsyncStatus)
            return;
        auto* const operation = reinterpret_cast<BAsyncOperationInterface*>(first);
        std::printf("\r%*s\r", kWidth, ""); // the text takes the line of the bar
        PrintLine(operation->FetchStatusMessage(static_cast<int>(second), false));
        Draw();
    }

private:
    static constexpr int kBarLength = 50;
    static constexpr int kWidth = kBarLength + 10;

    void Draw() const
    {
        std::string bar(kBarLength, '.');
        std::fill_n(bar.begin(), m_done * kBarLength / kUnits, '#');
        std::printf("\r[%s] %3d %%", bar.c_str(), static_cast<int>(m_done * 100 / kUnits));
        std::fflush(stdout);
    }

    std::uint64_t m_done = 0;
};

/// Calls `work` for pieces of the cloud, with the points, their number and the number of the first,
/// on all processors at once. Between the pieces the user can break off, which then throws.
template <class Work>
void ForAll(const Cloud& cloud, BProgressMappingOMP& progress, BAsyncOperationInterface& operation,
            Work work)
{
    std::mutex advancing;
    std::atomic<std::size_t> next = 0;
    const auto loop = [&] {
        for (std::size_t block = next++; block < cloud.BlockCount(); block = next++) {
            Point* const begin = cloud.Begin(block);
            const std::uint64_t count = cloud.Count(block);
            for (std::uint64_t done = 0; done < count; done += kPointsPerStep) {
                if (progress.IsStopping() || operation.IsStopping())
                    return;
                const std::uint64_t size = std::min(kPointsPerStep, count - done);
                work(begin + done, size, block * kPointsPerBlock + done);
                const std::lock_guard guard(advancing); // one at a time advances
                progress.Next(size);
            }
        }
    };
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < std::thread::hardware_concurrency(); ++i)
        threads.emplace_back(loop);
    for (std::thread& thread : threads)
        thread.join();
    // Nothing may be thrown out of a thread, so the break is thrown here.
    if (progress.IsStopping())
        operation.Stop();
    operation.TestUserBreak();
}

/// A wavy sheet, each point a little off.
void MakePoints(Point* points, std::uint64_t count, std::uint64_t first)
{
    std::uint64_t random = (first + 1) * 0x9E3779B97F4A7C15;
    const auto next = [&random] { // xorshift64, Marsaglia, J. Stat. Softw. 8 (2003), 14
        random ^= random << 13;
        random ^= random >> 7;
        random ^= random << 17;
        return static_cast<float>(random >> 40) / (1 << 24);
    };
    for (std::uint64_t i = 0; i < count; ++i) {
        const float x = 100 * next();
        const float y = 100 * next();
        const float error = 0.02F * (next() + next() + next() - 1.5F);
        points[i] = {x, y, std::sin(x / 20) * std::cos(y / 30) + error};
    }
}

Statistics Deviations(const Point* points, std::uint64_t count)
{
    Statistics all;
    for (std::uint64_t i = 0; i < count; ++i) {
        const Point& point = points[i];
        const double deviation = point.z - std::sin(point.x / 20) * std::cos(point.y / 30);
        all.Add({1, deviation, 0, deviation, deviation});
    }
    return all;
}

Statistics Measure(std::uint64_t pointCount, BAsyncOperationInterface& operation)
{
    BProgressMappingOMP progress(2 * pointCount, kUnits);
    const Cloud cloud(pointCount);
    operation.StatusInfo(QD_W("$IDS_MakingPoints"));
    ForAll(cloud, progress, operation, MakePoints);

    operation.StatusInfo(QD_W("$IDS_Measuring"));
    Statistics all;
    std::mutex adding;
    ForAll(cloud, progress, operation,
           [&](const Point* points, std::uint64_t count, std::uint64_t) {
               const Statistics piece = Deviations(points, count);
               const std::lock_guard guard(adding);
               all.Add(piece);
           });
    return all;
}

void PrintResult(const Statistics& all)
{
    WString line;
    line.Printf(QD_W("%I64d $IDS_Points: $IDS_Mean "), static_cast<std::int64_t>(all.count));
    PrintLine(line + LengthText(all.mean) + QD_W(", $IDS_StandardDeviation ") +
              LengthText(all.Deviation()) + QD_W(", $IDS_From ") + LengthText(all.least) +
              QD_W(" $IDS_To ") + LengthText(all.largest));
}

/// On the worker. What goes wrong is told to the operation.
void Work(std::uint64_t pointCount, BAsyncOperationInterface& operation, Statistics& result)
{
    try {
        result = Measure(pointCount, operation);
    } catch (const BError& error) {
        operation.ErrorInfo(error);
    }
}

} // namespace

int RunComputation(std::uint64_t pointCount)
{
    CStdMemoryManager memory;
    memory.Init(kFrameSize, kFrameSize);
    CMemoryBlockManager::RegisterMemoryManager(&memory);
    const SP<Terminal> terminal = new Terminal;
    const SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
    dispatcher->AddReceiver(terminal.Get());
    BDispatcher::RegisterDispatcher(dispatcher);
    BProgressManager::RegisterInstance(terminal);
    std::signal(SIGINT, OnInterrupt);

    Statistics result;
    const SP<BAsyncOperationInterface> operation = new BAsyncOperationInterface;
    std::thread worker([&] { Work(pointCount, *operation, result); });
    worker.join();

    // In the opposite order of the above: whoever is called still has what it uses.
    std::signal(SIGINT, SIG_DFL);
    BProgressManager::RegisterInstance(nullptr);
    BDispatcher::RegisterDispatcher(nullptr);
    dispatcher->Shutdown(); // shows what is still to be shown
    CMemoryBlockManager::RegisterMemoryManager(nullptr);
    std::puts("");
    switch (operation->GetError().Error()) {
    case kErrorNone: PrintResult(result); return 0;
    case kErrorUserBreak: PrintLine(QD_W("$IDS_BrokenOff")); return kBrokenOff;
    default: PrintLine(operation->GetError().Argument(0)); return 1;
    }
}
