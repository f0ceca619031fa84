#pragma once

#include <functional>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

/// Another process on Linux that asks whether something is true, and ends.
inline pid_t StartProcess(const std::function<bool()>& isTrue)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(isTrue() ? 0 : 1);
    return child;
}

/// The same without the rights of the superuser, who may write everywhere.
inline pid_t StartAsNobody(const std::function<bool()>& isTrue)
{
    constexpr uid_t nobody = 65534;
    return StartProcess([&] { return (::geteuid() != 0 || ::setuid(nobody) == 0) && isTrue(); });
}

/// Whether it ended by itself and what it was asked is true.
inline bool Held(pid_t child)
{
    int status = 1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

inline bool HoldsForNobody(const std::function<bool()>& isTrue)
{
    return Held(StartAsNobody(isTrue));
}
