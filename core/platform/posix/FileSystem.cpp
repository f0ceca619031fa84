#include "core/platform/FileSystem.h"

#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/FilePattern.h"
#include "core/platform/posix/NativePath.h"
#include "core/platform/posix/OpenFile.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

// Not `std::filesystem`: its paths take memory, which most of these functions must not need, and
// refuse the lone surrogates that stand for bytes of names that are no UTF-8.
//
// Each answer tells a file that is missing from one that cannot be looked at, and a list that broke
// off from one that came to its end: what counts as missing is made anew, and an import of half a
// folder would look like success.
namespace platform {

namespace {

constexpr WideView kWild = u"*?";

struct DirectoryCloser {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

bool IsNativeDirectory(const char* path)
{
    struct stat status = {};
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// What a look that failed tells.
EPresence PresenceAfter(int error)
{
    return IsMissing(error) ? EPresence::Missing : EPresence::Unknown;
}

// What stands under the native `name` in `directory`.
EPresence Describe(int directory, const char* name, FoundFile& file)
{
    struct stat status = {};
    if (::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return PresenceAfter(errno);
    const bool isLink = S_ISLNK(status.st_mode);
    file.isReadOnly = !isLink && (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    struct stat target = {};
    if (isLink && ::fstatat(directory, name, &target, 0) == 0)
        status = target;
    file.isDirectory = S_ISDIR(status.st_mode);
    file.isSystem = !isLink && !file.isDirectory && !S_ISREG(status.st_mode);
    return EPresence::There;
}

} // namespace

EPresence FindFiles(const WChar* pattern, const std::function<bool(const FoundFile&)>& visit)
{
    const WideView whole(pattern);
    const std::size_t nameBegin = whole.find_last_of(u"/\\") + 1; // 0 when there is no separator
    const WideText folder(whole.substr(0, nameBegin));
    const WideView wanted = whole.substr(nameBegin);
    FoundFile file;
    if (wanted.empty())
        return EPresence::Missing;
    // A name is asked for, not searched for: the folder may be large, or not be readable.
    if (wanted.find_first_of(kWild) == WideView::npos) {
        file.path = whole;
        const EPresence presence = Describe(AT_FDCWD, NativePath(pattern), file);
        if (presence == EPresence::There)
            visit(file);
        return presence;
    }
    const FilePattern wild(wanted);
    const Directory directory(::opendir(folder.empty() ? "." : NativePath(folder.c_str())));
    if (!directory)
        return PresenceAfter(errno);
    EPresence found = EPresence::Missing;
    bool isWhole = true;
    errno = 0; // tells the end of the list from a failure
    for (; const dirent* const entry = ::readdir(directory.get()); errno = 0) {
        const WideText name = FromNativePath(entry->d_name);
        if (!wild.Matches(name))
            continue;
        const EPresence presence = Describe(::dirfd(directory.get()), entry->d_name, file);
        isWhole = isWhole && presence != EPresence::Unknown;
        if (presence != EPresence::There)
            continue;
        found = EPresence::There;
        file.path = folder + name;
        if (!visit(file))
            return found;
    }
    return isWhole && errno == 0 ? found : EPresence::Unknown;
}

std::optional<std::uint64_t> FileSize(const WChar* path) noexcept
{
    const Descriptor file = OpenFile(NativePath(path), O_RDONLY);
    struct stat status = {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool IsDirectory(const WChar* path) noexcept
{
    return IsNativeDirectory(NativePath(path));
}

bool PathExists(const WChar* path) noexcept
{
    struct stat status = {};
    return ::lstat(NativePath(path), &status) == 0;
}

EPresence Presence(const WChar* path) noexcept
{
    struct stat status = {};
    if (::stat(NativePath(path), &status) == 0)
        return EPresence::There;
    return PresenceAfter(errno);
}

bool RemoveFile(const WChar* path) noexcept
{
    return ::unlink(NativePath(path)) == 0;
}

WideText FullPath(const WChar* path)
{
    char folder[PATH_MAX];
    if (*path == u'/' || *path == u'\\' || ::getcwd(folder, sizeof folder) == nullptr)
        return path;
    return FromNativePath(folder) + u'/' + path;
}

bool MakeDirectories(const WChar* path) noexcept
{
    NativePath native(path);
    char* const text = native.Text();
    if (*text != '/')
        return false;
    for (char* end = std::strchr(text + 1, '/'); end != nullptr; end = std::strchr(end + 1, '/')) {
        if (std::strspn(end, "/") == std::strlen(end))
            break; // only separators follow: this is the directory itself
        *end = '\0';
        const bool isThere = ::mkdir(text, 0777) == 0 || errno == EEXIST || IsNativeDirectory(text);
        *end = '/';
        if (!isThere)
            return false;
    }
    return ::mkdir(text, 0777) == 0;
}

std::optional<WideText> ShortPath(const WChar* path)
{
    if (!PathExists(path))
        return std::nullopt;
    return path;
}

} // namespace platform
