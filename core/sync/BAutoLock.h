#pragma once

#include "core/platform/Export.h"
#include "core/sync/BSyncableInterface.h"

// Guards hold the lock of an object for the length of a block. The object outlives them.
//
//     const BAutoLockR guard(*shared);

class QD_CORE_API BAutoLockR {
public:
    explicit BAutoLockR(const BSyncableInterface& object);
    BAutoLockR(const BAutoLockR&) = delete;
    BAutoLockR& operator=(const BAutoLockR&) = delete;
    ~BAutoLockR();

private:
    const BSyncableInterface* m_object;
};

/// At its end, read locks that the writer took and still holds keep the write lock, too.
class QD_CORE_API BAutoLockW {
public:
    explicit BAutoLockW(const BSyncableInterface& object);
    BAutoLockW(const BAutoLockW&) = delete;
    BAutoLockW& operator=(const BAutoLockW&) = delete;
    ~BAutoLockW();

private:
    const BSyncableInterface* m_object;
};

class QD_CORE_API BAutoTryLockR {
public:
    explicit BAutoTryLockR(const BSyncableInterface& object);
    BAutoTryLockR(const BAutoTryLockR&) = delete;
    BAutoTryLockR& operator=(const BAutoTryLockR&) = delete;
    ~BAutoTryLockR();

    /// Whether the lock was taken.
    [[nodiscard]] bool IsLocked() const noexcept { return m_locked; }

private:
    const BSyncableInterface* m_object;
    bool m_locked;
};

/// At its end as BAutoLockW.
class QD_CORE_API BAutoTryLockW {
public:
    explicit BAutoTryLockW(const BSyncableInterface& object);
    BAutoTryLockW(const BAutoTryLockW&) = delete;
    BAutoTryLockW& operator=(const BAutoTryLockW&) = delete;
    ~BAutoTryLockW();

    /// Whether the lock was taken.
    [[nodiscard]] bool IsLocked() const noexcept { return m_locked; }

private:
    const BSyncableInterface* m_object;
    bool m_locked;
};
