#include "core/platform/FileReplacement.h"

#include "core/platform/FileStream.h"
#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/NativePath.h"

#include <cerrno>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

namespace platform {

struct FileReplacement::State {
    platform::Stream stream;
    std::string target;  // no link
    std::string sibling; // empty: the target is written in place
    ESync sync = ESync::Yes;
};

namespace {

Descriptor CreateSibling(const std::string& target, mode_t mode, std::string& sibling)
{
    constexpr int attempts = 100;
    std::random_device random;
    for (int i = 0; i < attempts; ++i) {
        sibling = FolderOf(target) + ".qd" + std::to_string(random()) + ".tmp";
        Descriptor file(::open(sibling.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (file.IsOpen() || errno != EEXIST)
            return file;
    }
    return {};
}

bool CopyAccessList(const std::string& from, int to)
{
    constexpr const char* name = "system.posix_acl_access";
    const ssize_t size = ::getxattr(from.c_str(), name, nullptr, 0);
    if (size <= 0)
        return true; // none
    std::string list(static_cast<std::size_t>(size), '\0');
    return ::getxattr(from.c_str(), name, list.data(), list.size()) == size &&
           ::fsetxattr(to, name, list.data(), list.size(), 0) == 0;
}

bool CopyPermissions(const std::string& from, const struct stat& original, int to)
{
    struct stat status = {};
    if (::fstat(to, &status) != 0)
        return false;
    if ((status.st_uid != original.st_uid || status.st_gid != original.st_gid) &&
        ::fchown(to, original.st_uid, original.st_gid) != 0)
        return false;
    return ::fchmod(to, original.st_mode & 07777) == 0 && CopyAccessList(from, to);
}

// An empty file beside the target with its permissions; none when there can be none.
Descriptor OpenSibling(const std::string& target, const struct stat* original, std::string& sibling)
{
    Descriptor file = CreateSibling(target, original != nullptr ? 0600 : 0666, sibling);
    if (file.IsOpen() && original != nullptr && !CopyPermissions(target, *original, file.Get())) {
        ::unlink(sibling.c_str());
        file = Descriptor();
    }
    if (!file.IsOpen())
        sibling.clear();
    return file;
}

bool IsRefused(const std::string& target, const struct stat& original)
{
    return (original.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 ||
           ::access(target.c_str(), W_OK) != 0;
}

// What is no file has nothing to synchronise.
bool SyncFile(int file)
{
    return ::fsync(file) == 0 || errno == EINVAL || errno == EROFS;
}

// The entry of a file that was moved; a folder that cannot be synchronised is left to the system.
void SyncFolder(const std::string& folder)
{
    const Descriptor file(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (file.IsOpen())
        ::fsync(file.Get());
}

} // namespace

FileReplacement::FileReplacement(const WChar* path, ESync sync)
    : m_state(std::make_unique<State>())
{
    State& state = *m_state;
    state.sync = sync;
    state.target = ResolveLinks(ToNativePath(path));
    struct stat original = {};
    const bool isThere = ::stat(state.target.c_str(), &original) == 0;
    if (isThere && IsRefused(state.target, original))
        return;
    // A link that leads nowhere would be moved over, and what is no file would become one.
    struct stat link = {};
    const bool isLink = !isThere && ::lstat(state.target.c_str(), &link) == 0;
    Descriptor file;
    if (isThere ? S_ISREG(original.st_mode) : !isLink)
        file = OpenSibling(state.target, isThere ? &original : nullptr, state.sibling);
    if (!file.IsOpen())
        file = Descriptor(
            ::open(state.target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (file.IsOpen())
        state.stream.reset(::fdopen(file.Get(), "w"));
    if (state.stream)
        file.Release();
}

FileReplacement::~FileReplacement()
{
    if (!m_state->sibling.empty())
        ::unlink(m_state->sibling.c_str());
}

std::FILE* FileReplacement::Stream() const noexcept
{
    return m_state->stream.get();
}

bool FileReplacement::Commit() noexcept
{
    State& state = *m_state;
    std::FILE* const stream = state.stream.get();
    if (stream == nullptr || std::ferror(stream) != 0 || std::fflush(stream) != 0)
        return false;
    if (state.sync == ESync::Yes && !SyncFile(::fileno(stream)))
        return false;
    if (std::fclose(state.stream.release()) != 0)
        return false;
    if (state.sibling.empty())
        return true;
    if (::rename(state.sibling.c_str(), state.target.c_str()) != 0)
        return false;
    state.sibling.clear();
    if (state.sync == ESync::Yes)
        SyncFolder(FolderOf(state.target));
    return true;
}

} // namespace platform
