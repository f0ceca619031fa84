#include "tests/platform/posix/SystemCalls.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <sys/types.h>
#include <utility>

// The linker turns the library's calls into calls of these (`--wrap`).
extern "C" {
int __real_fsync(int file);
int __real_fchmod(int file, mode_t mode);
int __real_flock(int file, int operation);
int __real_rename(const char* from, const char* to);
ssize_t __real_read(int file, void* buffer, std::size_t size);
dirent* __real_readdir(DIR* directory);
std::size_t __real_fread(void* buffer, std::size_t size, std::size_t count, std::FILE* stream);
std::uint32_t __real__ZN8platform9TickCountEv();

int __wrap_fsync(int file)
{
    return SystemCalls::Make("fsync", [=] { return __real_fsync(file); });
}

int __wrap_fchmod(int file, mode_t mode)
{
    return SystemCalls::Make("fchmod", [=] { return __real_fchmod(file, mode); });
}

int __wrap_flock(int file, int operation)
{
    return SystemCalls::Make("flock", [=] { return __real_flock(file, operation); });
}

int __wrap_rename(const char* from, const char* to)
{
    return SystemCalls::Make("rename", [=] { return __real_rename(from, to); });
}

ssize_t __wrap_read(int file, void* buffer, std::size_t size)
{
    SystemCalls::AboutToRead();
    return SystemCalls::Fails("read") ? -1 : __real_read(file, buffer, size);
}

dirent* __wrap_readdir(DIR* directory)
{
    return SystemCalls::Fails("readdir") ? nullptr : __real_readdir(directory);
}

std::size_t __wrap_fread(void* buffer, std::size_t size, std::size_t count, std::FILE* stream)
{
    return SystemCalls::Fails("fread") ? 0 : __real_fread(buffer, size, count, stream);
}

// platform::TickCount
std::uint32_t __wrap__ZN8platform9TickCountEv()
{
    return SystemCalls::TickCount();
}
}

int SystemCalls::Make(const char* name, const std::function<int()>& call)
{
    if (s_current != nullptr)
        s_current->m_made += std::string(name) + ' ';
    return Fails(name) ? -1 : call();
}

bool SystemCalls::Fails(const char* name)
{
    if (s_current == nullptr || s_current->m_failing != name || s_current->m_before-- != 0)
        return false;
    s_current->m_failing.clear();
    errno = s_current->m_error;
    return true;
}

void SystemCalls::AboutToRead()
{
    if (s_current != nullptr && s_current->m_beforeRead)
        std::exchange(s_current->m_beforeRead, nullptr)();
}

std::uint32_t SystemCalls::TickCount()
{
    return s_current != nullptr ? 1000 * ++s_current->m_seconds : __real__ZN8platform9TickCountEv();
}
