#include "core/sync/BAutoLock.h"

namespace {

/// A destructor does not throw: a writer that forgot a read lock keeps the write lock.
void UnlockWQuietly(const BSyncableInterface& object) noexcept
{
    try {
        object.UnlockW();
    } catch (int) {
    }
}

} // namespace

BAutoLockR::BAutoLockR(const BSyncableInterface& object)
    : m_object(&object)
{
    m_object->LockR();
}

BAutoLockR::~BAutoLockR()
{
    m_object->UnlockR();
}

BAutoLockW::BAutoLockW(const BSyncableInterface& object)
    : m_object(&object)
{
    m_object->LockW();
}

BAutoLockW::~BAutoLockW()
{
    UnlockWQuietly(*m_object);
}

BAutoTryLockR::BAutoTryLockR(const BSyncableInterface& object)
    : m_object(&object)
    , m_locked(object.TryLockR())
{}

BAutoTryLockR::~BAutoTryLockR()
{
    if (m_locked)
        m_object->UnlockR();
}

BAutoTryLockW::BAutoTryLockW(const BSyncableInterface& object)
    : m_object(&object)
    , m_locked(object.TryLockW())
{}

BAutoTryLockW::~BAutoTryLockW()
{
    if (m_locked)
        UnlockWQuietly(*m_object);
}
