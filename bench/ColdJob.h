#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Jobs that are measured once in their process (`Iterations(1)`), on a heap that nothing used
// before.

/// The largest resident size of this process so far, in bytes. Unlike `ru_maxrss` it knows nothing
/// of the process that started this one.
inline double PeakMemory()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word && word != "VmHWM:") {
    }
    double kilobytes = 0;
    status >> kilobytes;
    return kilobytes * 1024;
}

/// Seconds that the kernel worked for this process.
inline double KernelTime()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_stime.tv_usec) / 1e6;
}

/// Does in a child process what is to leave this one's heap as it is.
template <class Job>
void InChild(Job job)
{
    const pid_t child = ::fork();
    if (child == 0) {
        job();
        std::_Exit(0);
    }
    int status = -1;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0)
        std::abort();
}

/// Counts the kernel's share of the job, and its peak memory beyond what the process had when this
/// was made, an item.
class ColdJob {
public:
    explicit ColdJob(benchmark::State& state)
        : m_state(state)
        , m_memoryBefore(PeakMemory())
    {}

    /// What `job` returns lives on, so that its end is not measured.
    template <class Job>
    auto Run(std::int64_t items, Job job)
    {
        decltype(job()) result{};
        const double before = KernelTime();
        for (auto _ : m_state)
            result = job();
        m_state.counters["kernel"] = KernelTime() - before;
        m_state.counters["peak"] = (PeakMemory() - m_memoryBefore) / static_cast<double>(items);
        m_state.SetItemsProcessed(items);
        return result;
    }

private:
    benchmark::State& m_state;
    double m_memoryBefore;
};
