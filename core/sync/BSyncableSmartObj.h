#pragma once

#include "core/platform/Export.h"
#include "core/sync/BSyncableInterface.h"
#include "core/sync/LockState.h"

/// The base of smart objects that several threads share: each is its own lock.
class QD_CORE_API BSyncableSmartObj : public BSyncableInterface {
public:
    BSyncableSmartObj();
    // The lock of a copy is held as the original's is, and shares its event: a writer that comes to
    // either waits until the latest readers of both have left.
    BSyncableSmartObj(const BSyncableSmartObj& other);
    BSyncableSmartObj& operator=(const BSyncableSmartObj& other);
    ~BSyncableSmartObj() override;

    void LockR() const override;
    void LockW() const override;
    void UnlockR() const override;
    void UnlockW() const override;
    /// Beside other readers and nested in the writer's own lock, too.
    [[nodiscard]] bool TryLockR() const override;
    /// Nested in the writer's own lock, too.
    [[nodiscard]] bool TryLockW() const override;

private:
    mutable LockState m_lock;
};
