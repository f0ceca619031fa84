#include "tests/platform/posix/SystemCalls.h"

#include <cerrno>
#include <cstdint>
#include <sys/types.h>
#include <unistd.h>

// The linker turns the library's calls into calls of these (`--wrap`).

namespace {

struct Watch {
    std::string made, failing, endBefore, endAfter;
    int error = 0; // of what fails
    std::uint32_t seconds = 0;
};
Watch* g_watch = nullptr;

template <class Call>
int Watched(const char* name, Call call)
{
    if (g_watch == nullptr)
        return call();
    if (g_watch->endBefore == name)
        ::_exit(0);
    g_watch->made += std::string(name) + ' ';
    if (g_watch->failing == name) {
        errno = g_watch->error;
        return -1;
    }
    const int result = call();
    if (g_watch->endAfter == name)
        ::_exit(0);
    return result;
}

} // namespace

extern "C" {
int __real_fsync(int file);
int __real_fchmod(int file, mode_t mode);
int __real_rename(const char* from, const char* to);
std::uint32_t __real__ZN8platform9TickCountEv();

int __wrap_fsync(int file)
{
    return Watched("fsync", [&] { return __real_fsync(file); });
}

int __wrap_fchmod(int file, mode_t mode)
{
    return Watched("fchmod", [&] { return __real_fchmod(file, mode); });
}

int __wrap_rename(const char* from, const char* to)
{
    return Watched("rename", [&] { return __real_rename(from, to); });
}

// platform::TickCount
std::uint32_t __wrap__ZN8platform9TickCountEv()
{
    return g_watch != nullptr ? 1000 * ++g_watch->seconds : __real__ZN8platform9TickCountEv();
}
}

SystemCalls::SystemCalls()
{
    g_watch = new Watch;
}

SystemCalls::~SystemCalls()
{
    delete g_watch;
    g_watch = nullptr;
}

std::string SystemCalls::Made() const
{
    return g_watch->made;
}

void SystemCalls::Fail(const char* name, int error)
{
    g_watch->failing = name;
    g_watch->error = error;
}

void SystemCalls::EndBefore(const char* name)
{
    g_watch->endBefore = name;
}

void SystemCalls::EndAfter(const char* name)
{
    g_watch->endAfter = name;
}
