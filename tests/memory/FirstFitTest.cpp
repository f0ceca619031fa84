#include "core/memory/CStdMemoryManager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace {

using Size = std::uint64_t;

/// First fit as one would write it down: every gap looked at in turn, in pages.
class PlainFirstFit {
public:
    struct Frame {
        int number;
        Size size;
        std::map<Size, Size> blocks; // start and size
    };
    struct Place {
        int frame;
        Size start, size;
    };

    PlainFirstFit(Size initialSize, Size minimumFrameSize, Size reserveKept)
        : m_minimumFrameSize(minimumFrameSize)
        , m_reserveKept(reserveKept)
    {
        m_frames.push_back({m_frameCount++, initialSize, {}});
    }

    Place Alloc(Size size)
    {
        for (Frame& frame : m_frames)
            if (const Size start = Room(frame, size); start + size <= frame.size)
                return Put(frame, start, size);
        m_frames.push_back({m_frameCount++, std::max(size, m_minimumFrameSize), {}});
        return Put(m_frames.back(), 0, size);
    }
    void Free(const Place& place)
    {
        const auto frame = std::ranges::find(m_frames, place.frame, &Frame::number);
        frame->blocks.erase(place.start);
        if (frame->blocks.empty() && Reserved() > m_reserveKept)
            m_frames.erase(frame);
    }
    Size Reserved() const
    {
        Size sum = 0;
        for (const Frame& frame : m_frames)
            sum += frame.size;
        return sum;
    }

private:
    static Size Room(const Frame& frame, Size size)
    {
        Size cursor = 0;
        for (const auto& [start, used] : frame.blocks) {
            if (start - cursor >= size)
                return cursor;
            cursor = start + used;
        }
        return cursor;
    }
    static Place Put(Frame& frame, Size start, Size size)
    {
        frame.blocks.emplace(start, size);
        return {frame.number, start, size};
    }

    Size m_minimumFrameSize, m_reserveKept;
    int m_frameCount = 0;
    std::vector<Frame> m_frames;
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
    ASSERT_TRUE(manager.Init(workload.initialSize * page, workload.minimumFrameSize * page));
    PlainFirstFit model(workload.initialSize, workload.minimumFrameSize, 1'673'741'824 / page);
    struct Live {
        CMemoryBlock* block;
        PlainFirstFit::Place place;
    };
    std::vector<Live> live;
    std::map<int, char*> frames; // where those lie that have been used
    std::mt19937 random(seed);
    const auto below = [&](Size end) { return random() % end; };
    for (int i = 0; i < operations || !live.empty(); ++i) {
        if (i < operations && (live.empty() || below(2 * workload.live) >= live.size())) {
            const Size size = below(workload.largestBlock * page) + 1;
            const auto place = model.Alloc((size + page - 1) / page);
            CMemoryBlock* const block = manager.MemoryBlockAlloc(size);
            char* const start = static_cast<char*>(block->Start());
            const auto frame = frames.try_emplace(place.frame, start - place.start * page).first;
            ASSERT_EQ(start - frame->second, static_cast<std::ptrdiff_t>(place.start * page)) << i;
            live.push_back({block, place});
        } else {
            std::swap(live[below(live.size())], live.back());
            manager.FreeMemoryBlock(live.back().block);
            model.Free(live.back().place);
            live.pop_back();
        }
        ASSERT_EQ(manager.TotalReservedMemory(), model.Reserved() * page) << i;
    }
    EXPECT_EQ(manager.MemoryInUse(), 0U);
}

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
            Replay(workload, seed, 20'000);
            if (HasFatalFailure())
                return;
        }
    }
}

} // namespace
