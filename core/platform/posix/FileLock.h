#pragma once

#include "core/platform/posix/Descriptor.h"

namespace platform {

enum class EFileLock { Shared, Alone };

enum class ELocked {
    Yes,
    InUse,       // others held it for all the time
    Unsupported, // by the file system
    Failed,
};

/// Locks an open file or folder against others who ask, as `flock` does, waiting up to `waitMs` for
/// them. The lock goes with the last descriptor of this opening of the file, in this process and in
/// those that were forked from it, or with `UnlockFile`.
[[nodiscard]] ELocked LockFile(const Descriptor& file, EFileLock kind, int waitMs) noexcept;
void UnlockFile(const Descriptor& file) noexcept;

/// Marks it, which is a lock of another kind (`F_OFD_SETLK`), so that those above do not know of
/// it, and does not wait: `InUse` when another opening of the file has a mark that this one cannot
/// go with. To mark it `Alone` takes a file that is open to write.
[[nodiscard]] ELocked MarkFile(const Descriptor& file, EFileLock kind) noexcept;
void UnmarkFile(const Descriptor& file) noexcept;
/// Whether another opening of the file has marked it; also false when that cannot be told.
[[nodiscard]] bool IsMarkedByOthers(const Descriptor& file) noexcept;

} // namespace platform
