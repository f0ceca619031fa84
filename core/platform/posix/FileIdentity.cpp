#include "core/platform/posix/FileIdentity.h"

#include "core/platform/posix/OpenFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace platform {

std::optional<FileIdentity> FileAt(const std::string& location) noexcept
{
    struct statx status = {};
    if (::statx(AT_FDCWD, location.c_str(), 0, STATX_INO | STATX_BTIME, &status) != 0)
        return IsMissing(errno) ? std::optional(FileIdentity{}) : std::nullopt;
    return FileIdentity{.device = makedev(status.stx_dev_major, status.stx_dev_minor),
                        .inode = status.stx_ino,
                        .birthSeconds = status.stx_btime.tv_sec,
                        .birthNanoseconds = status.stx_btime.tv_nsec};
}

} // namespace platform
