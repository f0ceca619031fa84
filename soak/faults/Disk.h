#pragma once

#include "soak/Processes.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

/// A small file system in memory of this process's own, which can be filled. It is seen by this
/// process and its children alone, and goes with them. Where none can be mounted, also by who is
/// no root, it is a plain folder, which is never full.
class Disk {
public:
    explicit Disk(const std::string& name)
        : m_folder(name)
        , m_path(m_folder.Path() / "disk")
        , m_isMounted(std::filesystem::create_directory(m_path) && IsAlone() && Mount())
    {}
    ~Disk()
    {
        if (m_isMounted)
            ::umount2(Path().c_str(), MNT_DETACH);
    }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }
    /// A folder beside it, for what shall not fill it.
    [[nodiscard]] const std::filesystem::path& Beside() const { return m_folder.Path(); }
    [[nodiscard]] bool IsMounted() const { return m_isMounted; }

    /// Leaves no more room than that.
    void Fill(long pages)
    {
        struct statvfs status = {};
        ::statvfs(Path().c_str(), &status);
        const auto left = static_cast<off_t>(status.f_bavail) - pages;
        const int file = ::open(Ballast().c_str(), O_RDWR | O_CREAT, 0600);
        const bool isFull =
            left <= 0 || ::posix_fallocate(file, 0, left * static_cast<off_t>(status.f_bsize)) == 0;
        ::close(file);
        if (!isFull)
            std::abort();
    }
    void MakeRoom() { ::unlink(Ballast().c_str()); }

private:
    [[nodiscard]] std::filesystem::path Ballast() const { return Path() / "ballast"; }

    // Mounts of its own; who is no root becomes one in a namespace of users.
    static bool IsAlone()
    {
        const uid_t user = ::geteuid();
        const gid_t group = ::getegid();
        if (user != 0) {
            if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
                return false;
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
            std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
        } else if (::unshare(CLONE_NEWNS) != 0) {
            return false;
        }
        return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    [[nodiscard]] bool Mount() const
    {
        return ::mount("none", Path().c_str(), "tmpfs", 0, "size=8m") == 0;
    }

    SoakFolder m_folder;
    std::filesystem::path m_path;
    bool m_isMounted;
};
