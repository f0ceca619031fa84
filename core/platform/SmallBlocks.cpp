#include "core/platform/SmallBlocks.h"

#include "core/platform/Apart.h"
#include "core/platform/OwnerCount.h"
#include "core/platform/Thread.h"
#include "core/platform/VirtualMemory.h"

#include <array>
#include <bit>
#include <cassert>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <thread>
#include <utility>

// A page has blocks of one size; a region is a range of the address space with 16 pages and what is
// known about them, so that a block's address tells its page. Threads take blocks from an arena
// each, as far as there are enough, and give them back to the one they are from.
//
// Each arena has a lock, which costs a locked instruction, and only while there is a second thread.
// Caches of each thread would cost nothing; but what one thread builds and another one destroys
// would pile up in them, and a document that was loaded in the background is just that.
//
// Whether a block is from here must be told of any address: a table has a place for each region, by
// the lowest bits of its number. A region whose place is taken is not used, and the heap serves.
// The system then mostly offers the same range again, and is not asked each time: that takes some
// thousand times as long as a block.

namespace platform {
namespace {

constexpr std::size_t kPageSize = 64 << 10;
constexpr int kPages = 16; // of a region
constexpr std::size_t kRegionSize = kPages * kPageSize;
constexpr std::size_t kStep = 8; // between sizes of blocks
constexpr std::size_t kSizes = kLargestSmallBlock / kStep;
constexpr std::size_t kPlaces = 8192; // for regions: 8 GiB
constexpr int kMostKept = 8;          // regions without blocks that are not given back
constexpr int kAsksLeftOut = 1000;    // after one for a further region that failed
constexpr std::size_t kArenas = 32;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsWatched = true;
#elif defined(__has_feature)
# if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                        \
     __has_feature(memory_sanitizer)
constexpr bool kIsWatched = true;
# else
constexpr bool kIsWatched = false;
# endif
#else
constexpr bool kIsWatched = false;
#endif

std::atomic<std::uint32_t> g_forker = 0; // the thread that copies the process, and holds all locks

// What came of taking a lock.
enum class EHold { Own, NotNeeded, Abandoned };

class Lock {
public:
    // Who holds it may be of a lower priority and need the processor, or be gone for good.
    [[nodiscard]] EHold Take(bool isForkersAlready = true) noexcept
    {
        constexpr int yields = 100;
        for (int i = 0; m_isTaken.exchange(true, std::memory_order_acquire); ++i) {
            if (isForkersAlready && g_forker.load() == CurrentThreadId())
                return EHold::NotNeeded; // others' handlers may come here on it
            if (i < yields)
                std::this_thread::yield();
            else if (AreOthersGone())
                return EHold::Abandoned;
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return EHold::Own;
    }
    void Leave() noexcept { m_isTaken.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_isTaken = false;
};

class Holding {
public:
    explicit Holding(Lock& lock) noexcept
        : m_lock(lock)
        , m_hold(IsOnlyThread() ? EHold::NotNeeded : lock.Take())
    {}
    Holding(const Holding&) = delete;
    Holding& operator=(const Holding&) = delete;
    ~Holding()
    {
        if (m_hold == EHold::Own)
            m_lock.Leave();
    }
    // Its thread ended in the midst of a change: nothing is looked at any more.
    [[nodiscard]] bool IsAbandoned() const noexcept { return m_hold == EHold::Abandoned; }

private:
    Lock& m_lock;
    EHold m_hold;
};

template <class T>
struct Link {
    T* previous = nullptr;
    T* next = nullptr;
};

// A list of elements that have a `Link`.
template <class T>
struct Chain {
    T* first = nullptr;

    void Add(T& element) noexcept
    {
        element.link = {nullptr, first};
        if (first != nullptr)
            first->link.previous = &element;
        first = &element;
    }
    void Remove(T& element) noexcept
    {
        const Link<T> link = element.link;
        (link.previous != nullptr ? link.previous->link.next : first) = link.next;
        if (link.next != nullptr)
            link.next->link.previous = link.previous;
    }
};

struct Given {
    Given* next;
};

struct Arena;

// What is known about a page, a line of the cache.
struct alignas(64) Page {
    Given* given = nullptr;      // blocks that were given back
    std::byte* unused = nullptr; // nothing was taken from here on
    std::byte* last = nullptr;   // where a block may begin
    std::uint32_t size = 0;      // of a block
    std::uint32_t taken = 0;     // blocks
    Arena* arena = nullptr;
    Link<Page> link; // to others with room for blocks of this size
    bool isFull = false;
};

// At the beginning of its range: the first page is shorter.
struct Region {
    [[nodiscard]] static Region& Of(const void* block) noexcept
    {
        return *reinterpret_cast<Region*>(reinterpret_cast<std::uintptr_t>(block) &
                                          ~(kRegionSize - 1));
    }
    [[nodiscard]] Page& PageOf(const void* block) noexcept
    {
        return pages[reinterpret_cast<std::uintptr_t>(block) / kPageSize % kPages];
    }
    [[nodiscard]] static std::byte* Start(const Page& page) noexcept
    {
        Region& region = Of(&page);
        return &page == region.pages.data() ? reinterpret_cast<std::byte*>(&region + 1)
                                            : End(page) - kPageSize;
    }
    [[nodiscard]] static std::byte* End(const Page& page) noexcept
    {
        Region& region = Of(&page);
        return reinterpret_cast<std::byte*>(&region) +
               (&page - region.pages.data() + 1) * static_cast<std::ptrdiff_t>(kPageSize);
    }

    std::array<Page, kPages> pages;
    Link<Region> link;       // to others with free pages
    std::uint16_t taken = 0; // a bit each page
};

// The regions of all arenas.
class Regions {
public:
    [[nodiscard]] static bool Have(const void* block) noexcept
    {
        const std::uintptr_t number = NumberOf(block);
        return m_numbers[number % kPlaces].load(std::memory_order_relaxed) == number + 1;
    }

    [[nodiscard]] Page* TakePage() noexcept
    {
        const Holding holding(m_lock);
        if (holding.IsAbandoned())
            return nullptr;
        if (m_withRoom.first == nullptr && !TryToAddRegion())
            return nullptr;
        Region& region = *m_withRoom.first;
        if (region.taken == 0)
            --m_kept;
        const int number = std::countr_one(region.taken);
        region.taken = static_cast<std::uint16_t>(region.taken | 1U << number);
        if (std::popcount(region.taken) == kPages)
            m_withRoom.Remove(region);
        return &region.pages[static_cast<std::size_t>(number)];
    }

    void GivePage(const Page& page) noexcept
    {
        const Holding holding(m_lock);
        if (holding.IsAbandoned())
            return;
        Region& region = Region::Of(&page);
        if (std::popcount(region.taken) == kPages)
            m_withRoom.Add(region);
        const auto number = static_cast<unsigned>(&page - region.pages.data());
        region.taken = static_cast<std::uint16_t>(region.taken & ~(1U << number));
        if (region.taken == 0 && ++m_kept > kMostKept)
            GiveBack(region);
    }

    Lock m_lock;

private:
    [[nodiscard]] static std::uintptr_t NumberOf(const void* at) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(at) / kRegionSize;
    }
    [[nodiscard]] bool TryToAddRegion() noexcept
    {
        if (m_toLeaveOut != 0) {
            --m_toLeaveOut;
            return false;
        }
        const bool isAdded = AddRegion();
        m_toLeaveOut = isAdded ? 0 : kAsksLeftOut;
        return isAdded;
    }
    [[nodiscard]] bool AddRegion() noexcept
    {
        void* const range = CommitAligned(kRegionSize);
        if (range == nullptr)
            return false;
        const std::uintptr_t number = NumberOf(range);
        if (m_numbers[number % kPlaces] != 0) {
            ReleaseMemory(range, kRegionSize);
            return false;
        }
        m_numbers[number % kPlaces] = number + 1;
        m_withRoom.Add(*::new (range) Region);
        ++m_kept;
        return true;
    }
    void GiveBack(Region& region) noexcept
    {
        --m_kept;
        m_withRoom.Remove(region);
        m_numbers[NumberOf(&region) % kPlaces] = 0;
        ReleaseMemory(&region, kRegionSize);
    }

    static std::array<std::atomic<std::uintptr_t>, kPlaces> m_numbers; // of regions + 1; 0: none
    Chain<Region> m_withRoom;
    int m_kept = 0; // regions without blocks
    int m_toLeaveOut = 0;
};

std::array<std::atomic<std::uintptr_t>, kPlaces> Regions::m_numbers;

constinit Regions g_regions;

// Takes and gives in the few instructions that nearly always are all; the rest stands apart, so
// that these need no registers saved.
struct alignas(64) Arena {
    [[nodiscard]] void* Take(std::size_t size) noexcept
    {
        Page* const page = open[size].first;
        if (page == nullptr)
            return TakeFromNewPage(size);
        void* const block = page->given;
        ++page->taken;
        if (block != nullptr)
            page->given = page->given->next;
        else
            page->unused += page->size;
        if (page->given == nullptr && page->unused > page->last)
            Close(*page);
        return block != nullptr ? block : page->unused - page->size;
    }
    void Give(Page& page, void* block) noexcept
    {
        assert(page.taken != 0);
        page.given = ::new (block) Given{page.given};
        if ((--page.taken == 0 && !IsOnlyOpen(page)) || page.isFull)
            OpenOrDrop(page);
    }

    [[nodiscard]] QD_APART void* TakeLocked(std::size_t size) noexcept
    {
        const Holding holding(lock);
        return holding.IsAbandoned() ? nullptr : Take(size);
    }
    QD_APART void GiveLocked(Page& page, void* block) noexcept
    {
        const Holding holding(lock);
        if (!holding.IsAbandoned())
            Give(page, block);
    }

    Lock lock;
    std::array<Chain<Page>, kSizes> open; // pages with room for a block

private:
    // Of the pages with room, where it is one of them.
    [[nodiscard]] static bool IsOnlyOpen(const Page& page) noexcept
    {
        return page.link.previous == nullptr && page.link.next == nullptr;
    }
    [[nodiscard]] QD_APART void* TakeFromNewPage(std::size_t size) noexcept
    {
        Page* const page = g_regions.TakePage();
        if (page == nullptr)
            return nullptr;
        const std::size_t bytes = (size + 1) * kStep;
        std::byte* const block = Region::Start(*page);
        page->given = nullptr;
        page->unused = block + bytes;
        page->last = Region::End(*page) - bytes;
        page->size = static_cast<std::uint32_t>(bytes);
        page->taken = 1;
        page->arena = this;
        open[size].Add(*page);
        return block;
    }
    QD_APART void Close(Page& page) noexcept
    {
        page.isFull = true;
        open[page.size / kStep - 1].Remove(page);
    }
    QD_APART void OpenOrDrop(Page& page) noexcept
    {
        Chain<Page>& pages = open[page.size / kStep - 1];
        if (std::exchange(page.isFull, false))
            pages.Add(page);
        // The only one stays, or a block that comes and goes would take it and give it each time.
        if (page.taken == 0 && !IsOnlyOpen(page)) {
            pages.Remove(page);
            g_regions.GivePage(page);
        }
    }
};

constinit std::array<Arena, kArenas> g_arenas;

// A copy of the process has one thread, and nobody there would leave a lock of another one.
void BeforeFork() noexcept
{
    for (Arena& arena : g_arenas)
        static_cast<void>(arena.lock.Take(false));
    static_cast<void>(g_regions.m_lock.Take(false));
    g_forker = CurrentThreadId();
}

void AfterFork() noexcept
{
    g_forker = 0;
    g_regions.m_lock.Leave();
    for (Arena& arena : g_arenas)
        arena.lock.Leave();
}

std::size_t LargestAtFirst() noexcept
{
    const char* const asked = std::getenv("QD_SMALL_BLOCKS");
    AtFork(BeforeFork, AfterFork);
    return kIsWatched || (asked != nullptr && std::string_view(asked) == "0") ? 0
                                                                              : kLargestSmallBlock;
}

// 0 until the library is loaded, which is no error.
std::atomic<std::size_t> g_largest = LargestAtFirst();

} // namespace

void* TakeSmallBlock(std::size_t size) noexcept
{
    if (size - 1 >= g_largest.load(std::memory_order_relaxed)) // also where it is 0
        return nullptr;
    const std::uint32_t thread = CurrentThreadId();
    Arena& arena = g_arenas[(thread ^ thread >> 2) % kArenas]; // Windows counts them by fours
    const std::size_t number = (size - 1) / kStep;
    return IsOnlyThread() ? arena.Take(number) : arena.TakeLocked(number);
}

void GiveSmallBlock(void* block, void (*heap)(void* block)) noexcept
{
    if (!Regions::Have(block)) {
        heap(block);
        return;
    }
    Page& page = Region::Of(block).PageOf(block);
#if !defined(NDEBUG)
    std::memset(block, 0xDD, page.size); // for who uses it still
#endif
    if (IsOnlyThread())
        page.arena->Give(page, block);
    else
        page.arena->GiveLocked(page, block);
}

std::size_t SmallBlockSize(const void* block) noexcept
{
    return Regions::Have(block) ? Region::Of(block).PageOf(block).size : 0;
}

bool UseSmallBlocks(bool on) noexcept
{
    return g_largest.exchange(on ? kLargestSmallBlock : 0) != 0;
}

} // namespace platform
