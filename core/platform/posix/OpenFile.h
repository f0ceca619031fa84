#pragma once

#include "core/platform/FileStream.h"
#include "core/platform/posix/Descriptor.h"

#include <cstddef>
#include <sys/types.h>

namespace platform {

/// Another descriptor of the same opening of `file`, whose number is none of the standard streams'.
[[nodiscard]] Descriptor Duplicate(const Descriptor& file) noexcept;

/// `open`, closed when another program is started, by such a number: a process that was started
/// without these streams prints to their numbers all the same, which must not be into a document.
[[nodiscard]] Descriptor OpenApart(const char* path, int flags, mode_t mode = 0) noexcept;

/// The same, but without waiting for the other end of a pipe: one to read is empty without, and one
/// to write cannot be opened. Once open, the file waits for its reader or writer as any other.
[[nodiscard]] Descriptor OpenFile(const char* path, int flags, mode_t mode = 0) noexcept;

/// `read`, again where a signal interrupts it.
[[nodiscard]] ssize_t ReadBytes(int file, void* buffer, std::size_t size) noexcept;

/// A stream that owns `file`; null when there is none, or no memory.
[[nodiscard]] Stream StreamOn(Descriptor file, const char* mode) noexcept;

/// Whether `error`, which a look at a path left, says that nothing is there: anything else does not
/// tell, and there may be a file that is not to be replaced.
[[nodiscard]] bool IsMissing(int error) noexcept;

} // namespace platform
