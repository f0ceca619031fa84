#include "core/platform/posix/FileIdentity.h"

#include "core/platform/posix/OpenFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <sys/statfs.h>
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

bool IsOnThisMachine(const std::string& location) noexcept
{
    // Over FUSE a file system may be of this machine or remote.
    constexpr std::uint32_t remote[] = {
        0x6969,     0x517B,     0xFF534D42, 0xFE534D42, // NFS, SMB, CIFS, SMB 2
        0x5346414F, 0x6B414653, 0x73757245, 0x01021997, // AFS, its other form, Coda, 9P
        0x00C36400, 0x0BD00BD0, 0x47504653, 0x65735546, // Ceph, Lustre, GPFS, FUSE
        0x7461636F, 0x01161970, 0x19830326, 0x20030528, // OCFS2, GFS2, BeeGFS, OrangeFS
        0xAAD7AAEA, 0x0000564C, 0x786F4256, 0xBACBACBC, // PanFS, NCP, vboxsf, vmhgfs
        0x7C7C6673, 0xBEEFDEAD,                         // prl_fs, SNFS
    };
    struct statfs status = {};
    return ::statfs(location.c_str(), &status) == 0 &&
           std::ranges::find(remote, static_cast<std::uint32_t>(status.f_type)) == std::end(remote);
}

} // namespace platform
