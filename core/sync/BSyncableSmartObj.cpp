#include "core/sync/BSyncableSmartObj.h"

namespace {

constexpr std::uint32_t kNoOwner = 0;

} // namespace

BSyncableSmartObj::BSyncableSmartObj()
    : m_lock(kNoOwner)
{}

BSyncableSmartObj::BSyncableSmartObj(const BSyncableSmartObj& other) = default;

BSyncableSmartObj& BSyncableSmartObj::operator=(const BSyncableSmartObj& other) = default;

BSyncableSmartObj::~BSyncableSmartObj() = default;

void BSyncableSmartObj::LockR() const
{
    m_lock.LockR();
}

void BSyncableSmartObj::LockW() const
{
    m_lock.LockW();
}

void BSyncableSmartObj::UnlockR() const
{
    m_lock.UnlockR();
}

void BSyncableSmartObj::UnlockW() const
{
    m_lock.UnlockW();
}

bool BSyncableSmartObj::TryLockR() const
{
    return m_lock.TryNestR() || m_lock.TryEnterR();
}

bool BSyncableSmartObj::TryLockW() const
{
    return m_lock.TryNestW() || m_lock.TryEnterW();
}
