#include "core/sync/BLockRW.h"

namespace {

constexpr std::uint32_t kNoOwner = 0xFFFFFFFF;

} // namespace

BLockRW::BLockRW()
    : m_lock(kNoOwner)
{}

BLockRW::BLockRW(const BLockRW& other) = default;

BLockRW& BLockRW::operator=(const BLockRW& other) = default;

BLockRW::~BLockRW() = default;

void BLockRW::LockR() const
{
    m_lock.LockR();
}

void BLockRW::LockW() const
{
    m_lock.LockW();
}

void BLockRW::UnlockR() const
{
    m_lock.UnlockR();
}

void BLockRW::UnlockW() const
{
    m_lock.UnlockW();
}

bool BLockRW::TryLockR() const
{
    return m_lock.TryNestR();
}

bool BLockRW::TryLockW() const
{
    return m_lock.TryEnterW();
}
