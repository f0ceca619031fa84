#include "core/memory/CStdMemoryManager.h"

#include "core/base/ErrorCodes.h"
#include "core/base/SP.h"
#include "core/memory/BMemoryBlockStdHeap.h"
#include "core/operation/Messages.h"
#include "core/platform/WideText.h"

#include "tests/Latch.h"
#include "tests/ThrownError.h"
#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <thread>

namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

class MemoryManager : public testing::Test {
protected:
    void SetUp() override { manager.Init(64 * page, 16 * page); }
    CStdMemoryBlock* Alloc(std::uint64_t size)
    {
        return dynamic_cast<CStdMemoryBlock*>(manager.MemoryBlockAlloc(size));
    }
    /// How often the memory in use was reported since the last call.
    std::size_t Posted()
    {
        const auto posted = dispatcher.Posted();
        for (const auto& message : posted)
            EXPECT_EQ(message, (RecordingDispatcher::Message{kMessageMemoryInUseChanged, 0, 0}));
        return posted.size();
    }

    RecordingDispatcher dispatcher;
    CStdMemoryManager manager;
    const std::uint64_t page = manager.PageSize();
};

/// The text of the BError that `call` throws.
template <class Call>
platform::WideText Refusal(Call call)
{
    std::optional<BError> error = ThrownError(call);
    EXPECT_TRUE(error && error->Error() == kErrorMemory);
    return error ? error->Argument(0).CStr() : QD_W("no error");
}

TEST_F(MemoryManager, GivesBlocksOfWholePages)
{
    const CStdMemoryBlock* const block = Alloc(page + 1);
    char* const start = static_cast<char*>(block->Start());
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(start) % page, 0U);
    EXPECT_EQ(block->Size(), page + 1);
    EXPECT_EQ(block->End(), start + page + 1);
    EXPECT_EQ(block->AllocatedSize(), 2 * page);
    EXPECT_EQ(block->PageAddressOverThis(), start + 2 * page);
    std::memset(start, 1, 2 * page);
    EXPECT_EQ(Alloc(page)->Start(), block->PageAddressOverThis());
    EXPECT_EQ(manager.MemoryInUse(), 3 * page);
    EXPECT_EQ(manager.SizeOfAllocatedMemory(), 3 * page);
    EXPECT_EQ(manager.SizeOfLockedMemory(), 3 * page);
    EXPECT_EQ(manager.TotalReservedMemory(), 64 * page);
    EXPECT_EQ(manager.NumberOfReservedBlocks(), 1);
}

TEST_F(MemoryManager, ReportsWhatChangesTheMemoryInUse)
{
    const SP<CStdMemoryBlock> block = Alloc(100);
    EXPECT_EQ(Posted(), 1U);
    CStdMemoryBlock copy(*block);
    EXPECT_EQ(copy.Start(), block->Start());
    manager.FreeMemoryBlock(&copy);
    manager.FreeMemoryBlock(nullptr);
    auto other = std::make_unique<CStdMemoryManager>();
    const SP<CStdMemoryBlock> left = dynamic_cast<CStdMemoryBlock*>(other->MemoryBlockAlloc(0));
    other->FreeMemoryBlock(block.Get());
    other.reset();
    EXPECT_EQ(left->RefCount(), 1) << "its manager has ended";
    EXPECT_EQ(manager.MemoryInUse(), page);
    EXPECT_EQ(Posted(), 0U);
    manager.FreeMemoryBlock(block.Get());
    EXPECT_EQ(Posted(), 1U);
    manager.FreeMemoryBlock(block.Get());
    EXPECT_EQ(Posted(), 0U);
    EXPECT_EQ(manager.MemoryInUse(), 0U);
    BMemoryBlockStdHeap foreign(10);
    EXPECT_EQ(Refusal([&] { manager.FreeMemoryBlock(&foreign); }), QD_W("$IDS_ErrorHint26"));

    // An empty one is reported as often as it is given back, and not before.
    const SP<CStdMemoryBlock> empty = Alloc(0);
    EXPECT_EQ(empty->Start(), nullptr);
    EXPECT_EQ(empty->End(), nullptr);
    EXPECT_EQ(empty->Size() + empty->AllocatedSize() + manager.MemoryInUse(), 0U);
    EXPECT_EQ(Posted(), 0U);
    manager.FreeMemoryBlock(empty.Get());
    manager.FreeMemoryBlock(empty.Get());
    EXPECT_EQ(Posted(), 2U);
    EXPECT_EQ(empty->RefCount(), 1);
}

TEST_F(MemoryManager, RefusesFramesThatCannotBeCommitted)
{
    Alloc(1);
    for (const std::uint64_t size : {kMax, kMax - page + 1, kMax - page, kMax / 2 + 1}) {
        SCOPED_TRACE(size);
        const auto text = Refusal([&] { Alloc(size); });
        EXPECT_FALSE(text.empty());
        EXPECT_NE(text, QD_W("no error"));
        EXPECT_EQ(Refusal([&] { manager.Init(size, 0); }), text);
    }
    EXPECT_NE(Refusal([&] { manager.Init(0, 0); }), QD_W("no error"));
    EXPECT_EQ(manager.MemoryInUse(), page);
    EXPECT_EQ(manager.TotalReservedMemory(), 64 * page);
}

TEST_F(MemoryManager, ServesQDAllocWhileItIsRegistered)
{
    CMemoryBlock* const heap = QDAlloc(10);
    std::memset(heap->Start(), 1, 10);
    EXPECT_EQ(heap->End(), static_cast<char*>(heap->Start()) + heap->Size());
    QDFree(heap);
    QDFree(nullptr);
    EXPECT_EQ(Posted(), 0U);

    CMemoryBlockManager::RegisterMemoryManager(&manager);
    CMemoryBlock* const block = QDAlloc(10);
    EXPECT_EQ(manager.MemoryInUse(), page);
    QDFree(block);
    EXPECT_EQ(manager.MemoryInUse(), 0U);
    CMemoryBlockManager::RegisterMemoryManager(nullptr);
}

} // namespace

TEST(CStdMemoryManager, ServesManyThreads)
{
    CStdMemoryManager manager;
    Latch start(2);
    const auto work = [&] {
        start.ArriveAndWait();
        for (int i = 0; i < 50'000; ++i)
            manager.FreeMemoryBlock(manager.MemoryBlockAlloc(1));
    };
    EXPECT_TRUE(manager.Init(1, 0));
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(manager.MemoryInUse(), 0U);
}
