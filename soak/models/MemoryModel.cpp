#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/base/SP.h"
#include "core/memory/BMemory.h"
#include "core/memory/BMemoryBlockStdHeap.h"
#include "core/memory/CStdMemoryManager.h"
#include "core/operation/Messages.h"

#include "soak/models/Model.h"
#include "tests/operation/RecordingDispatcher.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace {

// --- the manager
// ----------------------------------------------------------------------------------

constexpr std::uint64_t kReserveKept = 1'673'741'824;
constexpr std::uint64_t kMost = std::uint64_t{4} << 30; // reserved by a case

struct Block {
    SP<CStdMemoryBlock> ours;
    std::uint64_t size;  // asked for
    std::uint64_t place; // in its frame
    std::uint64_t pages; // bytes of them
    char mark;           // stands in its first and last byte, unless it is huge
};

struct Frame {
    std::uint64_t size;
    char* start = nullptr;       // known from its first block on
    std::vector<Block> blocks{}; // in the order of their places
};

struct Manager {
    RecordingDispatcher dispatcher;
    CStdMemoryManager manager;
    const std::uint64_t page = manager.PageSize();
    std::vector<Frame> frames;
    std::vector<SP<CStdMemoryBlock>> empty; // blocks of size 0
    std::vector<SP<CStdMemoryBlock>> freed; // some that were given back
    std::uint64_t minimum = 0;
    char lastMark = 0;

    std::uint64_t Rounded(std::uint64_t size) const { return (size + page - 1) / page * page; }
    std::uint64_t Reserved() const
    {
        std::uint64_t sum = 0;
        for (const Frame& frame : frames)
            sum += frame.size;
        return sum;
    }

    void Compare(bool)
    {
        std::uint64_t inUse = 0;
        for (const Frame& frame : frames)
            for (const Block& block : frame.blocks)
                inUse += block.pages;
        Same("MemoryInUse", manager.MemoryInUse(), inUse);
        Same("SizeOfAllocatedMemory", manager.SizeOfAllocatedMemory(), inUse);
        Same("SizeOfLockedMemory", manager.SizeOfLockedMemory(), inUse);
        Same("TotalReservedMemory", manager.TotalReservedMemory(), Reserved());
        Same("NumberOfReservedBlocks", manager.NumberOfReservedBlocks(), 1);
    }

    void ExpectPosts(std::size_t count)
    {
        const RecordingDispatcher::Message expected{kMessageMemoryInUseChanged, 0, 0};
        Same("posts", dispatcher.Posted() == RecordingDispatcher::Messages(count, expected), true);
    }

    /// First fit: the frame and where in it.
    std::optional<std::pair<Frame*, std::uint64_t>> Place(std::uint64_t pages)
    {
        for (Frame& frame : frames) {
            std::uint64_t cursor = 0;
            for (const Block& block : frame.blocks) {
                if (block.place - cursor >= pages)
                    break;
                cursor = block.place + block.pages;
            }
            const auto next = std::ranges::lower_bound(frame.blocks, cursor, {}, &Block::place);
            const std::uint64_t end = next != frame.blocks.end() ? next->place : frame.size;
            if (end - cursor >= pages)
                return std::pair(&frame, cursor);
        }
        return {};
    }

    void Alloc(std::uint64_t size)
    {
        const std::uint64_t pages = Rounded(size);
        auto place = Place(pages);
        if (!place) {
            const std::uint64_t frameSize = std::max(minimum, pages);
            if (Reserved() + frameSize > kMost)
                return;
            frames.push_back({frameSize});
            place = std::pair(&frames.back(), std::uint64_t{0});
        }
        const SP<CStdMemoryBlock> block =
            dynamic_cast<CStdMemoryBlock*>(manager.MemoryBlockAlloc(size));
        ExpectPosts(1);
        auto& [frame, cursor] = *place;
        char* const start = static_cast<char*>(block->Start());
        if (frame->start == nullptr)
            frame->start = start - cursor;
        Same("place", start - frame->start, static_cast<std::ptrdiff_t>(cursor));
        Same("Size", block->Size(), size);
        Same("AllocatedSize", block->AllocatedSize(), pages);
        Same("End", block->End() == start + size, true);
        Same("PageAddressOverThis", block->PageAddressOverThis() == start + pages, true);
        if (size < kReserveKept / 64)
            start[0] = start[size - 1] = ++lastMark;
        const auto next = std::ranges::lower_bound(frame->blocks, cursor, {}, &Block::place);
        frame->blocks.insert(next, {block, size, cursor, pages, lastMark});
    }

    void Free(Frame& frame, std::size_t index)
    {
        const Block block = frame.blocks[index];
        const char* const start = frame.start + block.place;
        if (block.size < kReserveKept / 64)
            Same("what was written", start[0] == block.mark && start[block.size - 1] == block.mark,
                 true);
        manager.FreeMemoryBlock(block.ours.Get());
        ExpectPosts(1);
        freed.push_back(block.ours);
        frame.blocks.erase(frame.blocks.begin() + static_cast<std::ptrdiff_t>(index));
        if (frame.blocks.empty() && Reserved() > kReserveKept)
            frames.erase(frames.begin() + (&frame - frames.data()));
    }
};

const Operation<Manager> kTable[] = {
    {"MemoryBlockAlloc", 30,
     [](Manager& world, const Step& step) { world.Alloc(step.a % (20 * world.page) + 1); }},
    {"MemoryBlockAlloc huge", 1,
     [](Manager& world, const Step& step) {
         world.Alloc((std::uint64_t{step.a % 512} << 20) + step.b % world.page + 1);
     }},
    {"FreeMemoryBlock", 30,
     [](Manager& world, const Step& step) {
         if (world.frames.empty())
             return;
         Frame& frame = world.frames[step.a % world.frames.size()];
         if (!frame.blocks.empty())
             world.Free(frame, step.b % frame.blocks.size());
     }},
    {"free a frame", 1,
     [](Manager& world, const Step& step) {
         if (world.frames.empty())
             return;
         Frame& frame = world.frames[step.a % world.frames.size()];
         for (std::size_t count = frame.blocks.size(); count > 0; --count)
             world.Free(frame, step.b % count);
     }},
    {"MemoryBlockAlloc nothing", 1,
     [](Manager& world, const Step&) {
         world.empty.push_back(dynamic_cast<CStdMemoryBlock*>(world.manager.MemoryBlockAlloc(0)));
         Same("start", world.empty.back()->Start() == nullptr, true);
         world.ExpectPosts(0);
     }},
    {"FreeMemoryBlock nothing", 1,
     [](Manager& world, const Step& step) {
         world.manager.FreeMemoryBlock(nullptr);
         world.ExpectPosts(0);
         if (world.empty.empty())
             return;
         world.manager.FreeMemoryBlock(world.empty[step.a % world.empty.size()].Get());
         world.ExpectPosts(1); // also when it is given back twice
     }},
    {"FreeMemoryBlock twice", 2,
     [](Manager& world, const Step& step) {
         if (world.freed.empty())
             return;
         world.manager.FreeMemoryBlock(world.freed[step.a % world.freed.size()].Get());
         world.ExpectPosts(0);
         if (world.freed.size() > 20)
             world.freed.clear();
     }},
    {"FreeMemoryBlock of another kind", 1,
     [](Manager& world, const Step&) {
         BMemoryBlockStdHeap other(10);
         int code = 0;
         try {
             world.manager.FreeMemoryBlock(&other);
         } catch (const BError& error) {
             code = error.Error();
         }
         Same("code", code, kErrorMemory);
     }},
    {"MemoryBlockAlloc too much", 1,
     [](Manager& world, const Step& step) {
         int code = 0;
         try {
             (void)world.manager.MemoryBlockAlloc(std::numeric_limits<std::uint64_t>::max() -
                                                  step.a);
         } catch (const BError& error) {
             code = error.Error();
         }
         Same("code", code, kErrorMemory);
         world.ExpectPosts(0);
     }},
    {"Init", 1,
     [](Manager& world, const Step& step) {
         if (world.frames.size() >= 20)
             return;
         const std::uint64_t size = step.a % (60 * world.page) + 1;
         const std::uint64_t minimum = step.b % (40 * world.page);
         Same("Init", world.manager.Init(size, minimum), true);
         world.minimum = world.Rounded(minimum);
         world.frames.push_back({world.Rounded(size)});
     }},
};

// --- the scratch buffer
// ---------------------------------------------------------------------------

struct Scratch {
    BMemory ours;
    std::vector<char> twin; // what its bytes are
    const void* place = nullptr;
    int held = 0;

    void Compare(bool) {}

    char* Allocate(std::uint64_t size, void* source)
    {
        void* const buffer = source != nullptr ? ours.Duplicate(source, size) : ours.Allocate(size);
        Same("nothing", buffer == nullptr, size == 0);
        if (size == 0)
            return nullptr;
        ++held;
        if (size <= twin.size())
            Same("place", buffer == place, true);
        else
            twin.assign(size, 0);
        place = buffer;
        if (source != nullptr)
            std::memcpy(twin.data(), source, size);
        Same("bytes", std::memcmp(buffer, twin.data(), twin.size()), 0);
        return static_cast<char*>(buffer);
    }
    ~Scratch()
    {
        while (held-- > 0)
            ours.Release();
    }
};

const Operation<Scratch> kScratchTable[] = {
    {"Allocate", 8,
     [](Scratch& scratch, const Step& step) {
         const std::uint64_t size = step.a % 4 == 0 ? step.a / 4 % 40000 : step.a % 300;
         if (char* const buffer = scratch.Allocate(size, nullptr))
             scratch.twin[step.b % size] = buffer[step.b % size] = static_cast<char>(step.c);
     }},
    {"Duplicate", 4,
     [](Scratch& scratch, const Step& step) {
         std::vector<char> source(step.a % 3000, static_cast<char>(step.b));
         scratch.Allocate(source.size(), source.empty() ? nullptr : source.data());
     }},
    {"Release", 8,
     [](Scratch& scratch, const Step&) {
         if (scratch.held > 0) {
             scratch.ours.Release();
             --scratch.held;
         }
     }},
    {"copy", 1,
     [](Scratch& scratch, const Step&) {
         for (; scratch.held > 0; --scratch.held)
             scratch.ours.Release();
         const BMemory copy(scratch.ours); // shares the buffer
         scratch.ours = BMemory();
         scratch.ours = copy;
     }},
};

} // namespace

Subject MemoryModel()
{
    return MakeSubject("memory manager", kTable);
}

Subject ScratchModel()
{
    return MakeSubject("scratch buffer", kScratchTable);
}
