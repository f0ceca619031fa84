#include "core/memory/CStdMemoryManager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

namespace {

using Size = std::uint64_t;

/// First fit as one would write it down, every gap looked at in turn; all in pages.
struct PlainFirstFit {
    using Place = std::pair<std::size_t, Size>; // frame and start

    Place Alloc(Size size)
    {
        for (std::size_t frame = 0; frame < sizes.size(); ++frame) {
            Size cursor = 0;
            for (auto block = blocks[frame].begin();
                 block != blocks[frame].end() && block->first - cursor < size; ++block)
                cursor = block->first + block->second;
            if (cursor + size <= sizes[frame])
                return Put({frame, cursor}, size);
        }
        sizes.push_back(std::max(size, minimumFrameSize));
        blocks.emplace_back();
        return Put({sizes.size() - 1, 0}, size);
    }
    Place Put(const Place& place, Size size)
    {
        blocks[place.first].emplace(place.second, size);
        return place;
    }
    void Free(const Place& place)
    {
        blocks[place.first].erase(place.second);
        if (blocks[place.first].empty() && Reserved() > reserveKept)
            sizes[place.first] = 0; // the frame goes: nothing fits into it any more
    }
    Size Reserved() const { return std::reduce(sizes.begin(), sizes.end()); }

    Size minimumFrameSize, reserveKept;
    std::vector<Size> sizes;                     // of the frames
    std::vector<std::map<Size, Size>> blocks{1}; // start and size, by frame
};

struct Workload {
    Size initialSize, minimumFrameSize, largestBlock; // pages
    std::size_t live;
};

/// Allocates and frees at random, mostly within `live` blocks; everything is freed in the end.
void Replay(const Workload& workload, unsigned seed, int operations)
{
    CStdMemoryManager manager;
    const Size page = manager.PageSize();
    manager.Init(workload.initialSize * page, workload.minimumFrameSize * page);
    PlainFirstFit model{workload.minimumFrameSize, 1'673'741'824 / page, {workload.initialSize}};
    std::vector<std::pair<CMemoryBlock*, PlainFirstFit::Place>> live;
    std::map<std::size_t, char*> frames; // where those lie that have been used
    std::mt19937 random(seed);
    const auto below = [&](Size end) { return random() % end; };
    for (int i = 0; i < operations || !live.empty(); ++i) {
        if (i < operations && (live.empty() || below(2 * workload.live) >= live.size())) {
            const Size size = below(workload.largestBlock * page) + 1;
            const auto place = model.Alloc((size + page - 1) / page);
            CMemoryBlock* const block = manager.MemoryBlockAlloc(size);
            char* const frame = static_cast<char*>(block->Start()) - place.second * page;
            ASSERT_EQ(frames.try_emplace(place.first, frame).first->second, frame) << i;
            live.emplace_back(block, place);
        } else {
            std::swap(live[below(live.size())], live.back());
            manager.FreeMemoryBlock(live.back().first);
            model.Free(live.back().second);
            live.pop_back();
        }
        ASSERT_EQ(manager.TotalReservedMemory(), model.Reserved() * page) << i;
    }
    EXPECT_EQ(manager.MemoryInUse(), 0U);
}

} // namespace

TEST(CStdMemoryManager, PlacesBlocksAsPlainFirstFitDoes)
{
    const Workload workloads[] = {
        {100'000, 1'000, 64, 400}, // one frame
        {100, 200, 64, 400},       // many, some blocks in a frame
        {1, 0, 16, 300},           // each block at first in a frame of its own
        {4'096, 8'192, 8'192, 90}, // frames go back to the system
    };
    for (const Workload& workload : workloads) {
        for (unsigned seed = 1; seed <= 3; ++seed) {
            SCOPED_TRACE(testing::Message() << workload.initialSize << " pages, seed " << seed);
            Replay(workload, seed, 10'000);
            if (testing::Test::HasFatalFailure())
                return;
        }
    }
}
