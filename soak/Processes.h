#pragma once

#include "soak/SoakFolder.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <new>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// Processes over files in a folder of theirs, and what they tell each other. Linux only; the
/// program itself has a single thread, so it may fork.

/// Memory that this process and those that it forks share; zeros at first.
template <class T>
T* MakeShared(std::size_t count)
{
    void* const memory = ::mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? throw std::bad_alloc() : static_cast<T*>(memory);
}

/// A process that does `work`, and dies with this one.
inline pid_t Fork(const std::function<void()>& work)
{
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    work();
    ::_exit(0);
}

/// Kills it at once; false when it ended by itself before.
inline bool Kill(pid_t process)
{
    ::kill(process, SIGKILL);
    int status = 0;
    return ::waitpid(process, &status, 0) == process && WIFSIGNALED(status) &&
           WTERMSIG(status) == SIGKILL;
}
