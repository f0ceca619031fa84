#include "core/platform/posix/FileLock.h"

#include "core/platform/Clock.h"

#include <cerrno>
#include <cstdint>
#include <sys/file.h>
#include <unistd.h>

namespace platform {

// Asked again and again rather than slept for: `flock` knows no time limit but a signal, and
// signals belong to the application. Most updates take less than a millisecond, hence the short
// pause.
ELocked LockFile(const Descriptor& file, EFileLock kind, int waitMs) noexcept
{
    constexpr int pauseUs = 200, mostInterruptions = 50;
    const int operation = (kind == EFileLock::Shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    const std::uint32_t start = TickCount();
    int interruptions = 0; // a signal says nothing about the lock, so they take nothing of the wait
    while (::flock(file.Get(), operation) != 0) {
        if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL)
            return ELocked::Unsupported;
        if (errno == EINTR && ++interruptions <= mostInterruptions)
            continue;
        if (errno != EWOULDBLOCK)
            return ELocked::Failed;
        if (static_cast<std::int64_t>(TickCount() - start) >= waitMs)
            return ELocked::InUse;
        ::usleep(pauseUs);
    }
    return ELocked::Yes;
}

void UnlockFile(const Descriptor& file) noexcept
{
    ::flock(file.Get(), LOCK_UN);
}

} // namespace platform
