#include "core/platform/posix/ProfileLock.h"

#include "core/platform/posix/FileLock.h"
#include "core/platform/posix/NativePath.h"
#include "core/platform/posix/OpenFile.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

// What is locked is the folder of the profile, not the profile: each update moves another file into
// its place, so that two writers could each hold a lock on a file of that name, one of which is
// there no longer. Nor a lock file beside it: that would litter folders of the user's. The price
// is that updates of different profiles in one folder wait for each other.
//
// Who waits asks again and again (see FileLock.cpp), and would starve beside one that writes on and
// on and lets go for microseconds. So whoever lets go while others wait stays away until they have
// asked. With 32 writers that asks for the longest wait of all of 130 ms without, 30 ms with; of a
// lock that sleeps in the kernel, which gives it to whom it likes, a second.
namespace platform {

namespace {

// Where the file of the profile is or would be made; none when the system fails to tell. Links
// among its folders need not be resolved, as they lead to the same folder.
std::optional<std::string> TargetOf(const std::string& nativePath)
{
    char link = 0;
    const bool isLink = ::readlink(nativePath.c_str(), &link, sizeof link) >= 0;
    const bool isNone = !isLink && (errno == EINVAL || IsMissing(errno));
    return isNone ? std::optional(nativePath) : ResolveLinks(nativePath);
}

// None when nothing can be locked. All must choose the same one, so only a right that is missing,
// never another failure, leads to the next choice.
Descriptor OpenForLock(const std::string& nativePath)
{
    const std::optional<std::string> target = TargetOf(nativePath);
    if (!target)
        return {};
    constexpr int flags = O_RDONLY | O_CLOEXEC;
    const std::string folder = FolderOf(*target);
    Descriptor file(::open(folder.empty() ? "." : folder.c_str(), flags | O_DIRECTORY));
    if (file.IsOpen() || errno != EACCES)
        return file;
    // A folder that may not be read can take new files all the same: one that stays there.
    const std::string lock = folder + ".qd.lock";
    file = Descriptor(::open(lock.c_str(), flags | O_NONBLOCK));
    if (file.IsOpen() || errno != ENOENT)
        return file;
    file = Descriptor(::open(lock.c_str(), flags | O_NONBLOCK | O_CREAT, 0444));
    if (file.IsOpen() || (errno != EACCES && errno != EROFS))
        return file;
    // A folder that takes no new file: the profile is written in place there and stays the same
    // one.
    return Descriptor(::open(target->c_str(), flags | O_NONBLOCK));
}

// Who has to wait marks the file for those who let go.
ELocked LockMarked(const Descriptor& file)
{
    constexpr int waitMs = 10'000;
    if (const ELocked locked = LockFile(file, EFileLock::Alone, 0); locked != ELocked::InUse)
        return locked;
    static_cast<void>(MarkFile(file, EFileLock::Shared));
    const ELocked locked = LockFile(file, EFileLock::Alone, waitMs);
    UnmarkFile(file);
    return locked;
}

// On a file system without locks updates go on without.
bool Lock(const Descriptor& file)
{
    const ELocked locked = LockMarked(file);
    return locked == ELocked::Yes || locked == ELocked::Unsupported;
}

} // namespace

ProfileLock::ProfileLock(const std::string& nativePath)
    : m_file(OpenForLock(nativePath))
    , m_isHeld(m_file.IsOpen() && Lock(m_file))
{}

ProfileLock::~ProfileLock()
{
    // Closing would not do: a process that was forked meanwhile has the lock, too.
    if (!m_isHeld)
        return;
    UnlockFile(m_file);
    constexpr int pauseUs = 200;
    if (IsMarkedByOthers(m_file))
        ::usleep(pauseUs);
}

} // namespace platform
