#include "core/platform/CharClass.h"
#include "core/platform/WideText.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>

namespace {

using platform::WideText;

WideText MakeText(const benchmark::State& state)
{
    return WideText(static_cast<std::size_t>(state.range(0)), QD_W('x'));
}

void Report(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Length(benchmark::State& state)
{
    const WideText text = MakeText(state);
    for (auto _ : state) {
        const WChar* units = text.c_str();
        benchmark::DoNotOptimize(units);
        benchmark::DoNotOptimize(platform::Length(units));
    }
    Report(state);
}
BENCHMARK(BM_Length)->Arg(10)->Arg(1000)->Arg(100'000);

void BM_Length_StdCharTraits(benchmark::State& state)
{
    const WideText text = MakeText(state);
    for (auto _ : state) {
        const WChar* units = text.c_str();
        benchmark::DoNotOptimize(units);
        benchmark::DoNotOptimize(std::char_traits<WChar>::length(units));
    }
    Report(state);
}
BENCHMARK(BM_Length_StdCharTraits)->Arg(10)->Arg(1000)->Arg(100'000);

// Every character of Latin-1 and Greek, so that both the table-free and the looked-up way are
// taken.
void BM_IsAlpha(benchmark::State& state)
{
    for (auto _ : state) {
        int count = 0;
        for (WChar unit = 0; unit < 0x400; ++unit)
            count += platform::IsAlpha(unit) ? 1 : 0;
        benchmark::DoNotOptimize(count);
    }
    state.SetItemsProcessed(state.iterations() * 0x400);
}
BENCHMARK(BM_IsAlpha);

} // namespace
