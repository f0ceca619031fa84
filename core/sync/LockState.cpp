#include "core/sync/LockState.h"

#include "core/platform/Thread.h"

#include <cassert>

// One algorithm for both lock classes. Why not `std::shared_mutex`: a writer may nest, and read
// while it writes; a read lock may be given back on another thread; copies of a lock share what
// writers wait for; and what is given back once too often must not be undefined.
//
// The slim lock is what keeps writers apart from everybody. It is held shared by the crowd of
// readers as a whole: its first takes it, the last gives it back, and those in between only count.
// Before a writer comes to it, it waits for the event that no reader is inside, since copies share
// the event but have slim locks of their own. Readers do not wait for writers who wait: a reader
// that reads again, behind one, would wait for itself.
//
// Counts are sequentially consistent atomics, as the order of a count and of the event matters
// between threads. Those of the writer are changed on its thread alone; they are atomics because a
// copy is made of them, and because a thread that gives back what it does not hold looks at them.

LockState::LockState(std::uint32_t noOwner)
    : m_owner(noOwner)
    , m_noOwner(noOwner)
{}

LockState::LockState(const LockState& other)
    : m_noReaders(other.m_noReaders)
    , m_noOwner(other.m_noOwner)
{
    TakeStateOf(other);
}

LockState& LockState::operator=(const LockState& other)
{
    if (this == &other)
        return *this;
    // What this lock was held as ends; its holders hold what the other one's do.
    if (HasOwner())
        m_slimLock.UnlockExclusive();
    else
        m_slimLock.UnlockShared(); // nothing happens where nobody reads
    m_noReaders = other.m_noReaders;
    m_noOwner = other.m_noOwner;
    TakeStateOf(other);
    return *this;
}

LockState::~LockState()
{
    m_noReaders.Set();
}

void LockState::LockR()
{
    if (TryNestR())
        return;
    if (m_readers.fetch_add(1) != 0) {
        JoinCrowd();
        return;
    }
    m_noReaders.Reset(); // first, so that writers who come now wait for it and not in the slim lock
    m_slimLock.LockShared();
}

void LockState::LockW()
{
    if (TryNestW())
        return;
    m_noReaders.Wait();
    m_slimLock.LockExclusive();
    BecomeWriter();
}

void LockState::UnlockR()
{
    if (IsOwner()) {
        [[maybe_unused]] const std::int64_t before = m_writerReads.fetch_sub(1);
        assert(before > 0); // a read lock that the writer did not take
        return;
    }
    // Intended: a count below zero is not asserted. One lock too many that is given back takes the
    // next reader's, as the header says.
    if (m_readers.fetch_sub(1) != 1)
        return;
    // In this order: a writer that the event lets go finds the slim lock free.
    m_slimLock.UnlockShared();
    m_noReaders.Set();
}

void LockState::UnlockW()
{
    if (IsOwner() && ChangeWrites(-1) != 0)
        return;
    if (m_writerReads > 0) {
        m_writerReads.fetch_add(1); // Intended: the header says how the writer makes up for it
        throw 1;
    }
    // Intended: a thread that is not the writer ends the writer's lock and leaves its depth as it
    // was.
    m_owner.store(m_noOwner, std::memory_order_release);
    m_slimLock.UnlockExclusive();
}

bool LockState::TryNestR()
{
    if (!IsOwner())
        return false;
    m_writerReads.fetch_add(1);
    return true;
}

bool LockState::TryEnterR()
{
    if (HasOwner())
        return false;
    // The slim lock comes before the count, which LockR raises first: a reader could slip in behind
    // an attempt that fails.
    for (;;) {
        std::int64_t readers = m_readers;
        while (readers != 0) {
            if (m_readers.compare_exchange_weak(readers, readers + 1)) {
                JoinCrowd();
                return true;
            }
        }
        if (!m_slimLock.TryLockShared())
            return false;
        if (m_readers.compare_exchange_strong(readers, 1)) {
            m_noReaders.Reset();
            return true;
        }
        m_slimLock.UnlockShared();
    }
}

bool LockState::TryNestW()
{
    if (!IsOwner())
        return false;
    ChangeWrites(1);
    return true;
}

bool LockState::TryEnterW()
{
    constexpr std::uint32_t kWaitMs = 1;
    if (!m_noReaders.WaitFor(kWaitMs) || !m_slimLock.TryLockExclusive())
        return false;
    BecomeWriter();
    return true;
}

bool LockState::HasOwner() const noexcept
{
    return m_owner != m_noOwner;
}

bool LockState::IsOwner() const noexcept
{
    const std::uint32_t owner = m_owner;
    return owner != m_noOwner && owner == platform::CurrentThreadId();
}

void LockState::BecomeWriter()
{
    m_owner.store(platform::CurrentThreadId(), std::memory_order_relaxed);
    ChangeWrites(1);
}

void LockState::JoinCrowd() const noexcept
{
    // The reader does not touch the slim lock. That it reads the owner, which the last writer
    // removed before it left, is what lets it see all that was written.
    static_cast<void>(HasOwner());
}

std::int64_t LockState::ChangeWrites(std::int64_t change) noexcept
{
    const std::int64_t writes = m_writes.load(std::memory_order_relaxed) + change;
    assert(writes >= 0); // a write lock that the writer gave back once too often
    m_writes.store(writes, std::memory_order_relaxed);
    return writes;
}

void LockState::TakeStateOf(const LockState& other)
{
    m_owner = other.m_owner.load();
    m_writerReads = other.m_writerReads.load();
    m_writes = other.m_writes.load();
    // Beside a writer, readers only wait: for the other lock.
    m_readers = HasOwner() ? 0 : other.m_readers.load();
    if (HasOwner())
        m_slimLock.LockExclusive();
    else if (m_readers > 0)
        m_slimLock.LockShared();
}
