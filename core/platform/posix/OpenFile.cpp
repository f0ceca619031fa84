#include "core/platform/posix/OpenFile.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace platform {

Descriptor Duplicate(const Descriptor& file) noexcept
{
    return Descriptor(::fcntl(file.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

Descriptor OpenApart(const char* path, int flags, mode_t mode) noexcept
{
    Descriptor file(::open(path, flags | O_CLOEXEC, mode));
    return !file.IsOpen() || file.Get() > STDERR_FILENO ? std::move(file) : Duplicate(file);
}

Descriptor OpenFile(const char* path, int flags, mode_t mode) noexcept
{
    Descriptor file = OpenApart(path, flags | O_NONBLOCK, mode);
    if (file.IsOpen() && ::fcntl(file.Get(), F_SETFL, flags) != 0)
        return {};
    return file;
}

ssize_t ReadBytes(int file, void* buffer, std::size_t size) noexcept
{
    ssize_t count = 0;
    do {
        count = ::read(file, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
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
