#pragma once

#include "core/base/WString.h"

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <new>
#include <signal.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// What Death.cpp and Crowd.cpp share: processes over files in a folder of theirs, and what they
/// tell each other. Linux only; the program itself has a single thread, so it may fork.

/// A folder for a run, removed at its end.
class SoakFolder {
public:
    explicit SoakFolder(const std::string& name)
        : m_path(std::filesystem::temp_directory_path() /
                 ("qd-" + name + '-' + std::to_string(::getpid())))
    {
        std::filesystem::create_directories(m_path);
    }
    ~SoakFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    SoakFolder(const SoakFolder&) = delete;
    SoakFolder& operator=(const SoakFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

inline WString Wide(const std::filesystem::path& path)
{
    return WString(path.u16string().c_str());
}

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

/// The drafts of unfinished saves in a folder and those in it.
inline int DraftCount(const std::filesystem::path& folder)
{
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        count += name.starts_with(".qd") && name.ends_with(".tmp") ? 1 : 0;
    }
    return count;
}
