#include "core/operation/BProgressMapping.h"

#include <benchmark/benchmark.h>

#include <cstdint>

// One step of a long loop, which hardly ever brings an update.

namespace {

void BM_ProgressNext(benchmark::State& state)
{
    BProgressMapping progress(std::uint64_t{1} << 40, 100);
    for (auto _ : state)
        benchmark::DoNotOptimize(progress.Next(1));
}

/// What any counter pays that reports every so many steps.
void BM_ProgressNext_Counter(benchmark::State& state)
{
    std::uint64_t stride = std::uint64_t{1} << 24;
    std::uint64_t step = 0;
    benchmark::DoNotOptimize(stride);
    for (auto _ : state) {
        benchmark::DoNotOptimize(++step);
        benchmark::DoNotOptimize(step % stride == 0);
    }
}

BENCHMARK(BM_ProgressNext);
BENCHMARK(BM_ProgressNext_Counter);

} // namespace
