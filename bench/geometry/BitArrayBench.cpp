#include "core/geometry/BBitArray.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#if defined(QD_BENCH_QT_GUI)
# include <QImage>
#endif

namespace {

constexpr int kPlanes = 8;

std::size_t CellCount(const benchmark::State& state)
{
    return static_cast<std::size_t>(state.range(0) * state.range(0));
}

void CountBytes(benchmark::State& state, std::size_t bytesPerIteration)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytesPerIteration));
}

void Sides(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("side")->Arg(64)->Arg(1024)->Arg(8192);
}

} // namespace

static void BM_BitArraySetAllBits(benchmark::State& state)
{
    BBitArray array(kPlanes, static_cast<int>(state.range(0)), static_cast<int>(state.range(0)));
    for (auto _ : state) {
        array.SetAllBits();
        benchmark::DoNotOptimize(array.Data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, CellCount(state));
}
BENCHMARK(BM_BitArraySetAllBits)->Apply(Sides);

static void BM_BitArraySetAllBits_BareMemset(benchmark::State& state)
{
    std::vector<std::uint8_t> bytes(CellCount(state));
    for (auto _ : state) {
        std::memset(bytes.data(), 0xFF, bytes.size());
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, bytes.size());
}
BENCHMARK(BM_BitArraySetAllBits_BareMemset)->Apply(Sides);

#if defined(QD_BENCH_QT_GUI)
static void BM_BitArraySetAllBits_QImage(benchmark::State& state)
{
    const int side = static_cast<int>(state.range(0));
    QImage image(side, side, QImage::Format_Grayscale8);
    for (auto _ : state) {
        image.fill(0xFF);
        benchmark::DoNotOptimize(image.bits());
        benchmark::ClobberMemory();
    }
    CountBytes(state, CellCount(state));
}
BENCHMARK(BM_BitArraySetAllBits_QImage)->Apply(Sides);

// What lies outside the image becomes 0, as with ours.
static void BM_BitArrayChangeExtent_QImage(benchmark::State& state)
{
    const int side = static_cast<int>(state.range(0));
    QImage image(side, side, QImage::Format_Grayscale8);
    image.fill(0xFF);
    int shift = 1;
    for (auto _ : state) {
        image = image.copy(shift, shift, side, side);
        benchmark::DoNotOptimize(image.bits());
        benchmark::ClobberMemory();
        shift = -shift;
    }
    CountBytes(state, CellCount(state));
}
BENCHMARK(BM_BitArrayChangeExtent_QImage)->Apply(Sides);
#endif

static void BM_BitArrayUnsetAllBits(benchmark::State& state)
{
    BBitArray array(kPlanes, static_cast<int>(state.range(0)), static_cast<int>(state.range(0)));
    for (auto _ : state) {
        array.UnsetAllBits();
        benchmark::DoNotOptimize(array.Data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, CellCount(state));
}
BENCHMARK(BM_BitArrayUnsetAllBits)->Apply(Sides);

static void BM_BitArrayUnsetAllBits_BareMemset(benchmark::State& state)
{
    std::vector<std::uint8_t> bytes(CellCount(state), 1);
    for (auto _ : state) {
        std::memset(bytes.data(), 0, bytes.size());
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, bytes.size());
}
BENCHMARK(BM_BitArrayUnsetAllBits_BareMemset)->Apply(Sides);

// Moves the window by a cell to and fro, so that every row is copied into a fresh block.
static void BM_BitArrayChangeExtent(benchmark::State& state)
{
    const int side = static_cast<int>(state.range(0));
    BBitArray array(kPlanes, side, side);
    array.SetAllBits();
    int shift = 1;
    for (auto _ : state) {
        array.ChangeExtent(shift, shift, side, side);
        benchmark::DoNotOptimize(array.Data());
        benchmark::ClobberMemory();
        shift = -shift;
    }
    CountBytes(state, CellCount(state));
}
BENCHMARK(BM_BitArrayChangeExtent)->Apply(Sides);

// One copy of the whole into a block that is as fresh: what the memory allows.
static void BM_BitArrayChangeExtent_BareMemcpy(benchmark::State& state)
{
    struct Freer {
        void operator()(void* block) const { std::free(block); }
    };
    const std::size_t size = CellCount(state);
    std::unique_ptr<void, Freer> block(std::calloc(size, 1));
    std::memset(block.get(), 0xFF, size);
    for (auto _ : state) {
        std::unique_ptr<void, Freer> fresh(std::calloc(size, 1));
        std::memcpy(fresh.get(), block.get(), size);
        block = std::move(fresh);
        benchmark::DoNotOptimize(block.get());
        benchmark::ClobberMemory();
    }
    CountBytes(state, size);
}
BENCHMARK(BM_BitArrayChangeExtent_BareMemcpy)->Apply(Sides);
