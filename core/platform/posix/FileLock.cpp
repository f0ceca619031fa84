#include "core/platform/posix/FileLock.h"

#include "core/platform/Wait.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace platform {

namespace {

struct flock WholeFile(short kind) noexcept
{
    struct flock lock = {};
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

// Asked again and again rather than slept for: `flock` knows no time limit but a signal, and
// signals belong to the application. Most updates take less than a millisecond, hence the short
// pause.
ELocked LockFile(const Descriptor& file, EFileLock kind, int waitMs) noexcept
{
    constexpr int pauseUs = 200, mostInterruptions = 50;
    const int operation = (kind == EFileLock::Shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    Wait wait(waitMs);
    int interruptions = 0; // a signal says nothing about the lock, so they take nothing of the wait
    while (::flock(file.Get(), operation) != 0) {
        if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL)
            return ELocked::Unsupported;
        if (errno == EINTR && ++interruptions <= mostInterruptions)
            continue;
        if (errno != EWOULDBLOCK)
            return ELocked::Failed;
        if (wait.IsOver())
            return ELocked::InUse;
        ::usleep(pauseUs);
    }
    return ELocked::Yes;
}

void UnlockFile(const Descriptor& file) noexcept
{
    ::flock(file.Get(), LOCK_UN);
}

ELocked MarkFile(const Descriptor& file, EFileLock kind) noexcept
{
    const struct flock lock = WholeFile(kind == EFileLock::Shared ? F_RDLCK : F_WRLCK);
    if (::fcntl(file.Get(), F_OFD_SETLK, &lock) == 0)
        return ELocked::Yes;
    return errno == EAGAIN || errno == EACCES ? ELocked::InUse : ELocked::Failed;
}

void UnmarkFile(const Descriptor& file) noexcept
{
    const struct flock lock = WholeFile(F_UNLCK);
    ::fcntl(file.Get(), F_OFD_SETLK, &lock);
}

bool IsMarkedByOthers(const Descriptor& file) noexcept
{
    struct flock lock = WholeFile(F_WRLCK);
    return ::fcntl(file.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

} // namespace platform
