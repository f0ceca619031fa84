#include "core/platform/posix/OpenFile.h"

#include <cerrno>
#include <fcntl.h>

namespace platform {

Descriptor OpenFile(const char* path, int flags, mode_t mode) noexcept
{
    flags |= O_CLOEXEC;
    Descriptor file(::open(path, flags | O_NONBLOCK, mode));
    if (file.IsOpen() && ::fcntl(file.Get(), F_SETFL, flags) != 0)
        return {};
    return file;
}

Stream StreamOn(Descriptor file, const char* mode) noexcept
{
    Stream stream(file.IsOpen() ? ::fdopen(file.Get(), mode) : nullptr);
    if (stream)
        file.Release();
    return stream;
}

bool IsMissing(int error) noexcept
{
    return error == ENOENT || error == ENOTDIR;
}

} // namespace platform
