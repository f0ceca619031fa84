#pragma once

#include "soak/locks/Scheduled.h"

/// The system's slim lock, as far as the locks use it, for threads that are switched by hand. As
/// the documentation has it: no order among those who wait, and no hold that is released unheld.
struct SRWLOCK {
    std::int32_t shares;
    std::int32_t isExclusive;
};

inline void AcquireSRWLockShared(SRWLOCK* lock)
{
    scheduled::Step();
    while (lock->isExclusive != 0)
        scheduled::Sleep(lock);
    ++lock->shares;
}

inline void AcquireSRWLockExclusive(SRWLOCK* lock)
{
    scheduled::Step();
    while (lock->isExclusive + lock->shares != 0)
        scheduled::Sleep(lock);
    lock->isExclusive = 1;
}

inline int TryAcquireSRWLockShared(SRWLOCK* lock)
{
    scheduled::Step();
    if (lock->isExclusive != 0)
        return 0;
    ++lock->shares;
    return 1;
}

inline int TryAcquireSRWLockExclusive(SRWLOCK* lock)
{
    scheduled::Step();
    if (lock->isExclusive + lock->shares != 0)
        return 0;
    lock->isExclusive = 1;
    return 1;
}

inline void ReleaseSRWLockShared(SRWLOCK* lock)
{
    scheduled::Step();
    if (--lock->shares < 0)
        std::abort(); // it was not held so
    scheduled::Wake(lock);
}

inline void ReleaseSRWLockExclusive(SRWLOCK* lock)
{
    scheduled::Step();
    if (--lock->isExclusive < 0)
        std::abort();
    scheduled::Wake(lock);
}
