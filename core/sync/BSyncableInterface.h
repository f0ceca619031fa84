#pragma once

#include "core/base/BSmartObj.h"
#include "core/platform/Export.h"

/// The locking interface of objects that several threads share: a lock for any number of readers or
/// for one writer. Use the guards in BAutoLock.h.
///
/// The writer's thread may take the write lock again and read locks besides; it gives back all its
/// read locks before its last write lock. A reader must not ask for the write lock: it would wait
/// for itself. A writer waits until no reader is inside, and readers do not wait for waiting
/// writers, so that a crowd that never ends keeps writers out.
///
/// The first reader waits for a writer to leave. A second one that comes while the first still
/// waits is inside at once, beside the writer, unless it only tries: what must not be read half
/// written needs a guard of its own besides. Each read lock is given back, on any thread but the
/// writer's, just once: nothing checks it. One that is given back once too often leaves a reader
/// without the lock, this one or a later one. What the writer's own thread gives back without
/// having taken it is asserted.
///
/// A thread that is not the writer and calls `UnlockW` ends the writer's lock at once, unless read
/// locks of the writer make it throw, but leaves its depth: the next writer needs as many calls of
/// `UnlockW` more until the lock is free. The former writer is no writer then.
///
/// The lock is no part of what a const object shows: it can be locked, too. A lock is destroyed,
/// copied and assigned while no call on it is under way.
class QD_CORE_API BSyncableInterface : public virtual BSmartObj {
public:
    BSyncableInterface() = default;
    BSyncableInterface(const BSyncableInterface&) noexcept = default;
    BSyncableInterface(BSyncableInterface&&) noexcept = default;
    BSyncableInterface& operator=(const BSyncableInterface&) noexcept = default;
    BSyncableInterface& operator=(BSyncableInterface&&) noexcept = default;
    ~BSyncableInterface() override;

    // The order of the virtual functions is part of the interface.

    /// Takes a read lock, waiting as long as needed.
    virtual void LockR() const = 0;
    /// Takes the write lock, waiting as long as needed.
    virtual void LockW() const = 0;
    virtual void UnlockR() const = 0;
    /// Throws the int 1 when the writer still holds read locks that it took while writing, and
    /// counts one more: the writer gives back that one, too, takes the write lock once and gives it
    /// back, and the lock is free.
    virtual void UnlockW() const = 0;
    /// Takes a read lock if that is possible at once. Like `TryLockW`, it may also fail because
    /// another thread is just trying, or taking or giving back the write lock.
    [[nodiscard]] virtual bool TryLockR() const = 0;
    /// Takes the write lock if that is possible within a millisecond.
    [[nodiscard]] virtual bool TryLockW() const = 0;
};
