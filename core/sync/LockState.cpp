#include "core/sync/LockState.h"

#include "core/platform/OwnerCount.h"
#include "core/platform/Thread.h"

#include <cassert>

// One algorithm for both lock classes. Why not `std::shared_mutex`: a writer may nest, and read
// while it writes; a read lock may be given back on another thread; copies of a lock share what
// writers wait for; and what is given back once too often must not be undefined.
//
// A reader counts itself and then looks whether a writer holds the slim lock; a writer takes the
// slim lock and then looks at the count. Both steps of both are sequentially consistent, so that
// not both can miss the other: if both see each other, the writer steps back. So a reader needs one
// atomic step to enter and one to leave, which is what locks are mostly used for; a crowd that held
// the slim lock shared took five. A reader who has to wait holds the slim lock shared for a moment,
// as that is how it learns of the writer's end.
//
// Before a writer comes to the slim lock, it waits for the event that no reader is inside, since
// copies share the event but have slim locks of their own. Readers do not wait for writers who
// wait: a reader that reads again, behind one, would wait for itself.
//
// Counts are sequentially consistent atomics, as the order of a count and of the event matters
// between threads. Those of the writer are changed on its thread alone; they are atomics because a
// copy is made of them, and because a thread that gives back what it does not hold looks at them.

LockState::LockState(std::uint32_t noOwner)
    : m_owner(noOwner)
    , m_noOwner(noOwner)
{}

LockState::LockState(const LockState& other)
    : m_noReaders(other.EventToShare())
    , m_noOwner(other.m_noOwner)
{
    TakeStateOf(other);
}

LockState& LockState::operator=(const LockState& other)
{
    if (this == &other)
        return *this;
    // What this lock was held as ends, if it was; its holders hold what the other one's do.
    m_slimLock.UnlockExclusive();
    m_noReaders = other.EventToShare();
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
    if (platform::AddTo(m_readers, 1) != 0) {
        JoinCrowd();
        return;
    }
    EnterFirst();
}

void LockState::LockW()
{
    // All that is rarer stands elsewhere, so that this needs no place on the stack: what it would
    // store there has to reach the cache before each locked instruction.
    const std::uint32_t thread = platform::KnownThreadId();
    if (thread == 0 || HasOwner() || !m_noReaders.IsOver(m_readers) || !m_slimLock.TakeFree())
        return LockWBesides(false);
    if (m_readers > 0)
        return LockWBesides(true);
    BecomeWriter(thread);
}

void LockState::LockWBesides(bool hasSlimLock)
{
    if (TryNestW())
        return;
    while (!hasSlimLock || m_readers > 0) {
        if (hasSlimLock)
            m_slimLock.UnlockExclusive(); // a reader came meanwhile
        m_noReaders.Wait(m_readers);
        m_slimLock.LockExclusive();
        hasSlimLock = true;
    }
    BecomeWriter(platform::CurrentThreadId());
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
    if (platform::AddTo(m_readers, -1) != 1)
        return;
    if (m_noReaders.IsShared())
        m_noReaders.Set();
    else
        m_noReaders.Stir();
}

void LockState::UnlockW()
{
    if (IsOwner() && ChangeWrites(-1) != 0)
        return;
    if (m_writerReads > 0)
        RefuseUnlockW();
    // Intended: a thread that is not the writer ends the writer's lock and leaves its depth as it
    // was.
    m_owner.store(m_noOwner, std::memory_order_release);
    m_slimLock.UnlockExclusive();
}

void LockState::RefuseUnlockW()
{
    m_writerReads.fetch_add(1); // Intended: the header says how the writer makes up for it
    throw 1;
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
    // an attempt that fails. Held shared, it keeps writers out until this reader is counted.
    for (;;) {
        std::int64_t readers = m_readers;
        while (readers != 0) {
            if (!m_readers.compare_exchange_weak(readers, readers + 1))
                continue;
            if (!m_slimLock.IsExclusive())
                return true;
            UnlockR(); // the others may be waiting for a writer who came since
            return false;
        }
        if (!m_slimLock.TryLockShared())
            return false;
        const bool isFirst = m_readers.compare_exchange_strong(readers, 1);
        m_slimLock.UnlockShared();
        if (isFirst) {
            TellCopies();
            return true;
        }
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
    if (!m_noReaders.WaitFor(kWaitMs, m_readers) || !m_slimLock.TryLockExclusive())
        return false;
    if (m_readers > 0) {
        m_slimLock.UnlockExclusive();
        return false;
    }
    BecomeWriter(platform::CurrentThreadId());
    return true;
}

void LockState::TellCopies()
{
    if (m_noReaders.IsShared())
        m_noReaders.Reset();
}

void LockState::EnterFirst()
{
    TellCopies();
    if (m_slimLock.IsExclusive()) {
        m_slimLock.LockShared();
        m_slimLock.UnlockShared(); // the count keeps writers out
    }
}

bool LockState::HasOwner() const noexcept
{
    return m_owner != m_noOwner;
}

bool LockState::IsOwner() const noexcept
{
    const std::uint32_t owner = m_owner;
    return owner != m_noOwner && owner == platform::KnownThreadId(); // the owner knows its id
}

void LockState::BecomeWriter(std::uint32_t thread) noexcept
{
    m_owner.store(thread, std::memory_order_relaxed);
    ChangeWrites(1);
}

void LockState::JoinCrowd() const noexcept
{
    // The reader does not look at the slim lock. That it reads the owner, which the last writer
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
}

// As long as a lock has no copy its event is not put, so it may stand in any state.
platform::Event LockState::EventToShare() const
{
    const bool wasShared = m_noReaders.IsShared();
    platform::Event event = m_noReaders;
    if (wasShared)
        return event;
    if (m_readers > 0)
        event.Reset();
    else
        event.Set();
    return event;
}
