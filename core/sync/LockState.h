#pragma once

#include "core/platform/Event.h"
#include "core/platform/SharedLock.h"

#include <atomic>
#include <cstdint>

/// What the lock classes are made of: the paths that they share, and the steps of those in which
/// they differ. See BSyncableInterface.h for how a lock behaves.
///
/// Readers count themselves, and a writer holds the slim lock. Each then looks at what the other
/// does: a writer who finds readers waits for them, and a reader who finds a writer waits at the
/// slim lock.
class LockState {
public:
    /// `noOwner` is the thread id that means no writer.
    explicit LockState(std::uint32_t noOwner);
    /// Held as `other` is, and with its event; who waits for `other` does not wait for the copy.
    LockState(const LockState& other);
    LockState& operator=(const LockState& other);
    /// Lets go those who wait for the readers to leave.
    ~LockState();

    void LockR();
    void LockW();
    void UnlockR();
    void UnlockW();

    /// A read lock for the writer's own thread; false on any other.
    [[nodiscard]] bool TryNestR();
    /// A read lock while there is no writer, beside other readers or on the free lock.
    [[nodiscard]] bool TryEnterR();
    /// One more write lock for the writer's own thread; false on any other.
    [[nodiscard]] bool TryNestW();
    /// The write lock of the free lock, waiting a millisecond for readers to leave.
    [[nodiscard]] bool TryEnterW();

private:
    /// When it is not free, or the slim lock was taken and there are readers.
    void LockWBesides(bool hasSlimLock);
    [[noreturn]] void RefuseUnlockW();
    /// That there are readers, by the event.
    void TellCopies();
    /// For the first reader, who is counted already.
    void EnterFirst();
    [[nodiscard]] bool HasOwner() const noexcept;
    [[nodiscard]] bool IsOwner() const noexcept;
    void BecomeWriter(std::uint32_t thread) noexcept;
    void JoinCrowd() const noexcept;
    /// The depth after the change; on the writer's thread.
    std::int64_t ChangeWrites(std::int64_t change) noexcept;
    void TakeStateOf(const LockState& other);
    /// The event for a copy, in the state that the readers here give it.
    [[nodiscard]] platform::Event EventToShare() const;

    platform::SharedLock m_slimLock;
    platform::Event::Count m_readers = 0;        // on other threads than the writer's
    std::atomic<std::int64_t> m_writerReads = 0; // on the writer's thread
    std::atomic<std::int64_t> m_writes = 0;      // how deep the writer has nested
    platform::Event m_noReaders;                 // signalled while none is inside this or a copy
    std::atomic<std::uint32_t> m_owner;          // thread of the writer
    std::uint32_t m_noOwner;
};
