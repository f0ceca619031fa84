#pragma once

#include "core/platform/Export.h"
#include "core/sync/BSyncableInterface.h"
#include "core/sync/LockState.h"

/// A lock on its own, for what is no BSyncableSmartObj.
class QD_CORE_API BLockRW : public BSyncableInterface {
public:
    BLockRW();
    // A copy is held as the original is, and shares its event: a writer that comes to either waits
    // until the latest readers of both have left.
    BLockRW(const BLockRW& other);
    BLockRW& operator=(const BLockRW& other);
    ~BLockRW() override;

    void LockR() const override;
    void LockW() const override;
    void UnlockR() const override;
    void UnlockW() const override;
    /// Intended: only nests a read lock of the writer; false for all others, even on a free lock.
    [[nodiscard]] bool TryLockR() const override;
    /// Intended: does not nest; false for the writer, too.
    [[nodiscard]] bool TryLockW() const override;

private:
    mutable LockState m_lock;
};
