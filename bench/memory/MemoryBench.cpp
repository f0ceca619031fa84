#include "core/memory/CStdMemoryManager.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

#if defined(QD_BENCH_POSIX)
# include "bench/ColdJob.h"

# include <cstring>
# include <sys/mman.h>
#endif
#if defined(QD_BENCH_MIMALLOC)
# include <dlfcn.h>
#endif

// One of many live blocks goes, another comes, and its first byte is written, which must still be
// there when the block goes. Or blocks are taken from a fresh process and filled, as measurements
// are when they come in.

namespace {

constexpr std::uint64_t kPage = 4096;
constexpr std::uint64_t kLargestBlock = 256 * kPage;

std::uint8_t Mark(std::uint64_t size)
{
    return static_cast<std::uint8_t>(size % 251);
}

/// Blocks of 4 KB to 1 MB, `Allocator` saying where from.
template <class Allocator>
void Exchange(benchmark::State& state, Allocator& allocator)
{
    using Block = decltype(allocator.Take(0));
    constexpr std::size_t drawn = 1 << 15;
    const auto live = static_cast<std::size_t>(state.range(0));
    std::mt19937_64 random(1);
    std::uniform_int_distribution<std::uint64_t> sizes(kPage, kLargestBlock);
    std::uniform_int_distribution<std::size_t> indices(0, live - 1);
    std::vector<std::pair<std::size_t, std::uint64_t>> steps;
    for (std::size_t i = 0; i < drawn; ++i)
        steps.emplace_back(indices(random), sizes(random));

    std::vector<std::pair<Block, std::uint64_t>> blocks;
    const auto take = [&](std::uint64_t size) {
        const Block block = allocator.Take(size);
        *static_cast<volatile std::uint8_t*>(allocator.Start(block)) = Mark(size);
        return std::pair(block, size);
    };
    for (std::size_t i = 0; i < live; ++i)
        blocks.push_back(take(steps[i].second));
    const auto exchange = [&](std::size_t step) {
        const auto& [index, size] = steps[step % drawn];
        const auto [block, oldSize] = blocks[index];
        if (*static_cast<volatile std::uint8_t*>(allocator.Start(block)) != Mark(oldSize))
            std::abort();
        allocator.Give(block, oldSize);
        blocks[index] = take(size);
    };
    std::size_t step = 0;
    while (step < drawn) // until the gaps are as they stay
        exchange(step++);
    for (auto _ : state)
        exchange(step++);
    for (const auto& [block, size] : blocks)
        allocator.Give(block, size);
    state.SetItemsProcessed(state.iterations());
}

#if defined(QD_BENCH_POSIX)
template <class Allocator>
void Fill(benchmark::State& state, Allocator& allocator)
{
    std::mt19937_64 random(1);
    std::uniform_int_distribution<std::uint64_t> drawn(kPage, kLargestBlock);
    std::vector<std::uint64_t> sizes(static_cast<std::size_t>(state.range(0)));
    for (std::uint64_t& size : sizes)
        size = drawn(random);
    const auto fill = [&] {
        std::vector<decltype(allocator.Take(0))> taken;
        for (const std::uint64_t size : sizes) {
            taken.push_back(allocator.Take(size));
            std::memset(allocator.Start(taken.back()), Mark(size), size);
        }
        return taken;
    };
    // A virtual machine lends large pages that lie unused for seconds to its host, and it takes
    // thirty times as long as filling them to get them back. A child has them brought back.
    InChild(fill);
    const auto blocks = ColdJob(state).Run(state.range(0), fill);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const auto* const bytes = static_cast<const std::uint8_t*>(allocator.Start(blocks[i]));
        if (bytes[0] != Mark(sizes[i]) || bytes[sizes[i] - 1] != Mark(sizes[i]))
            std::abort();
        allocator.Give(blocks[i], sizes[i]);
    }
}
#endif

std::uint64_t FrameSize(const benchmark::State& state)
{
    return static_cast<std::uint64_t>(state.range(0)) * kLargestBlock;
}

struct Manager {
    static CMemoryBlock* Take(std::uint64_t size) { return QDAlloc(size); }
    static void* Start(const CMemoryBlock* block) { return block->Start(); }
    static void Give(CMemoryBlock* block, std::uint64_t) { QDFree(block); }
};

template <class Job>
void WithManager(const benchmark::State& state, Job job)
{
    CStdMemoryManager manager;
    manager.Init(FrameSize(state), FrameSize(state));
    CMemoryBlockManager::RegisterMemoryManager(&manager);
    Manager allocator;
    job(allocator);
    CMemoryBlockManager::RegisterMemoryManager(nullptr);
}

void BM_BlockExchange(benchmark::State& state)
{
    WithManager(state, [&](Manager& allocator) { Exchange(state, allocator); });
}

struct AlignedAlloc {
    static void* Start(void* block) { return block; }
    static void* Take(std::uint64_t size)
    {
        return std::aligned_alloc(kPage, (size + kPage - 1) / kPage * kPage);
    }
    static void Give(void* block, std::uint64_t) { std::free(block); }
};

void BM_BlockExchange_AlignedAlloc(benchmark::State& state)
{
    AlignedAlloc allocator;
    Exchange(state, allocator);
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("live")->Arg(100)->Arg(1'000)->Arg(10'000);
}

BENCHMARK(BM_BlockExchange)->Apply(Sizes);
BENCHMARK(BM_BlockExchange_AlignedAlloc)->Apply(Sizes);

#if defined(QD_BENCH_POSIX)
void BM_BlockFill(benchmark::State& state)
{
    WithManager(state, [&](Manager& allocator) { Fill(state, allocator); });
}

void BM_BlockFill_AlignedAlloc(benchmark::State& state)
{
    AlignedAlloc allocator;
    Fill(state, allocator);
}

void FillSizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("blocks")->Arg(10)->Arg(100)->Arg(1'000)->Iterations(1);
}

BENCHMARK(BM_BlockFill)->Apply(FillSizes);
BENCHMARK(BM_BlockFill_AlignedAlloc)->Apply(FillSizes);

struct Mmap {
    static void* Start(void* block) { return block; }
    static void* Take(std::uint64_t size)
    {
        return ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    }
    static void Give(void* block, std::uint64_t size) { ::munmap(block, size); }
};

void BM_BlockExchange_Mmap(benchmark::State& state)
{
    Mmap allocator;
    Exchange(state, allocator);
}
BENCHMARK(BM_BlockExchange_Mmap)->Apply(Sizes);

void BM_BlockFill_Mmap(benchmark::State& state)
{
    Mmap allocator;
    Fill(state, allocator);
}
BENCHMARK(BM_BlockFill_Mmap)->Apply(FillSizes);
#endif

#if defined(QD_BENCH_MIMALLOC)
class Mimalloc {
public:
    [[nodiscard]] bool IsThere() const { return m_take != nullptr && m_give != nullptr; }
    static void* Start(void* block) { return block; }
    void* Take(std::uint64_t size) const { return m_take(size, kPage); }
    void Give(void* block, std::uint64_t) const { m_give(block); }

private:
    template <class Function>
    Function* Find(const char* name) const
    {
        return m_library ? reinterpret_cast<Function*>(::dlsym(m_library, name)) : nullptr;
    }

    void* m_library = ::dlopen(QD_BENCH_MIMALLOC, RTLD_NOW | RTLD_LOCAL);
    void* (*m_take)(std::size_t,
                    std::size_t) = Find<void*(std::size_t, std::size_t)>("mi_malloc_aligned");
    void (*m_give)(void*) = Find<void(void*)>("mi_free");
};

template <class Job>
void OnMimalloc(benchmark::State& state, Job job)
{
    Mimalloc allocator;
    if (allocator.IsThere())
        job(state, allocator);
    else
        state.SkipWithError("mimalloc cannot be loaded");
}

void BM_BlockExchange_Mimalloc(benchmark::State& state)
{
    OnMimalloc(state, Exchange<Mimalloc>);
}
BENCHMARK(BM_BlockExchange_Mimalloc)->Apply(Sizes);

void BM_BlockFill_Mimalloc(benchmark::State& state)
{
    OnMimalloc(state, Fill<Mimalloc>);
}
BENCHMARK(BM_BlockFill_Mimalloc)->Apply(FillSizes);
#endif

} // namespace
