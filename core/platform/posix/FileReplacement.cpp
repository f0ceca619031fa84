#include "core/platform/FileReplacement.h"

#include "core/platform/FileStream.h"
#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/Draft.h"
#include "core/platform/posix/NativePath.h"
#include "core/platform/posix/OpenFile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

// Never write over the only copy. The new content is written to a draft beside the file, then
//
//     fsync of the draft    its bytes are on the disk before any name leads to them: file systems
//                           may write a rename first, and a power failure would leave an empty file
//     rename                the name leads to the old content or to the new one, at any moment
//     fsync of the folder   the rename itself is on the disk when `Commit` answers true
//
// The draft stands in the same folder, as a rename does not cross file systems. It gets owner,
// rights and access list of the old file before the rename: afterwards would be too late for
// whoever opens it in between, and one that cannot have them is not used. Savers of one file have
// drafts of their own, and take away those of savers that died (see Draft.cpp).
//
// Only where there can be no draft beside the file, or it cannot be moved, is the old content
// written over, from a complete draft elsewhere and with its room reserved: a full disk is known
// before the first byte is lost.
namespace platform {

struct FileReplacement::State {
    Draft draft;
    platform::Stream stream; // on the draft
    std::string target;      // no link
    std::string folder;      // of the target
    bool isBeside = false;
    ESync sync = ESync::Yes;
};

namespace {

// What cannot be written beside the file gathers here. The variable may be of a session that is
// over.
std::string TemporaryFolder()
{
    const char* const folder = std::getenv("TMPDIR");
    const bool isUsable = folder != nullptr && *folder == '/' && ::access(folder, W_OK | X_OK) == 0;
    return std::string(isUsable ? folder : "/tmp") + '/';
}

std::string_view NameOf(const std::string& path)
{
    return std::string_view(path).substr(path.rfind('/') + 1);
}

bool CopyAccessList(const std::string& from, int to)
{
    constexpr const char* name = "system.posix_acl_access";
    const auto isNone = [](ssize_t size) {
        return size == 0 || (size < 0 && (errno == ENODATA || errno == EOPNOTSUPP));
    };
    const ssize_t size = ::getxattr(from.c_str(), name, nullptr, 0);
    if (isNone(size)) // the folder may have one for new files
        return isNone(::fgetxattr(to, name, nullptr, 0)) || ::fremovexattr(to, name) == 0;
    if (size < 0)
        return false;
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
    // The list first: what it has from the folder would count with the rights of the group.
    return CopyAccessList(from, to) && ::fchmod(to, original.st_mode & 07777) == 0;
}

// Makes the draft beside the target, with its permissions; false when there can be none.
bool MakeSibling(Draft& draft, const std::string& folder, const std::string& target,
                 const struct stat* original)
{
    if (!draft.Make(folder, NameOf(target), original != nullptr ? 0600 : 0666))
        return false;
    if (original == nullptr || CopyPermissions(target, *original, draft.File().Get()))
        return true;
    draft.Remove();
    return false;
}

bool IsRefused(const std::string& target, const struct stat& original)
{
    const bool isReadOnly = (original.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    if (isReadOnly)
        errno = EACCES;
    return isReadOnly || ::access(target.c_str(), W_OK) != 0;
}

// What is no file (EINVAL, as a pipe) or cannot be written (EROFS) has nothing to synchronise.
bool SyncFile(int file)
{
    return ::fsync(file) == 0 || errno == EINVAL || errno == EROFS;
}

// The entry of a file that was moved; a folder that may not be read is left to the system.
bool SyncFolder(const std::string& folder)
{
    const Descriptor file(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return file.IsOpen() ? SyncFile(file.Get()) : errno == EACCES;
}

// Room for the new content, before any of the old one goes. What is no file and file systems that
// cannot tell take what comes.
bool Reserve(int file, off_t size)
{
    return size == 0 || ::fallocate(file, 0, 0, size) == 0 || errno == EOPNOTSUPP ||
           errno == ENOSYS || errno == EINVAL || errno == ENODEV || errno == ESPIPE;
}

bool Copy(std::FILE* from, std::FILE* to)
{
    std::rewind(from);
    char piece[4096];
    while (const std::size_t size = std::fread(piece, 1, sizeof piece, from)) {
        if (std::fwrite(piece, 1, size, to) != size)
            return false;
    }
    return std::ferror(from) == 0 && std::fflush(to) == 0;
}

bool WriteOver(const std::string& target, std::FILE* draft, bool isSynchronised)
{
    // A pipe that nobody reads is refused here.
    const Stream stream = StreamOn(OpenFile(target.c_str(), O_WRONLY), "w");
    struct stat before = {}, after = {};
    if (!stream || ::fstat(::fileno(draft), &after) != 0)
        return false;
    const int file = ::fileno(stream.get());
    if (::fstat(file, &before) != 0)
        return false;
    const auto cutTo = [&](off_t size) { return ::ftruncate(file, size) == 0; };
    if (!Reserve(file, after.st_size)) {
        cutTo(before.st_size); // some room may have been there
        return false;
    }
    return Copy(draft, stream.get()) && (before.st_size <= after.st_size || cutTo(after.st_size)) &&
           (!isSynchronised || SyncFile(file));
}

// A file that is mounted alone, as containers have them, has to stay.
bool HasToStay(int error)
{
    return error == EBUSY || error == EXDEV;
}

bool MoveOver(const std::string& target, const std::string& folder, Draft& draft,
              bool isSynchronised)
{
    if (!draft.MoveTo(target)) {
        const Stream stream(HasToStay(errno) ? std::fopen(draft.Path().c_str(), "re") : nullptr);
        return stream && WriteOver(target, stream.get(), isSynchronised);
    }
    return !isSynchronised || SyncFolder(folder);
}

} // namespace

FileReplacement::FileReplacement(const WChar* path, ESync sync)
    : m_state(std::make_unique<State>())
{
    State& state = *m_state;
    state.sync = sync;
    std::optional<std::string> target = ResolveLinks(ToNativePath(path));
    if (!target)
        return;
    state.target = std::move(*target);
    state.folder = FolderOf(state.target);
    struct stat original = {};
    const bool isThere = ::stat(state.target.c_str(), &original) == 0;
    // What the system fails to look at may be there.
    if (isThere ? IsRefused(state.target, original) : !IsMissing(errno))
        return;
    Draft& draft = state.draft;
    state.isBeside = (!isThere || S_ISREG(original.st_mode)) && // what is no file would become one
                     MakeSibling(draft, state.folder, state.target, isThere ? &original : nullptr);
    if (isThere && S_ISDIR(original.st_mode)) {
        errno = EISDIR;
        return;
    }
    if (state.isBeside || (isThere && draft.Make(TemporaryFolder(), NameOf(state.target), 0600)))
        state.stream = StreamOn(Duplicate(draft.File()), "w+");
}

FileReplacement::~FileReplacement() = default;

std::FILE* FileReplacement::Stream() const noexcept
{
    return m_state->stream.get();
}

WideText FileReplacement::Path() const
{
    return m_state->stream ? FromNativePath(m_state->draft.Path()) : WideText();
}

bool FileReplacement::Commit() noexcept
{
    State& state = *m_state;
    std::FILE* const stream = state.stream.get();
    if (stream == nullptr || std::ferror(stream) != 0 || std::fflush(stream) != 0)
        return false;
    const bool isSynchronised = state.sync == ESync::Yes;
    const bool isReady = state.isBeside ? !isSynchronised || SyncFile(::fileno(stream))
                                        : WriteOver(state.target, stream, isSynchronised);
    // Closed in any case, and before the move: it may be the first to tell of a failed write. The
    // draft stays open, and so held, until it is moved.
    return std::fclose(state.stream.release()) == 0 && isReady &&
           (!state.isBeside || MoveOver(state.target, state.folder, state.draft, isSynchronised));
}

} // namespace platform
