#include "core/platform/posix/Draft.h"

#include "core/platform/DraftName.h"
#include "core/platform/Random.h"
#include "core/platform/posix/FileIdentity.h"
#include "core/platform/posix/FileLock.h"
#include "core/platform/posix/OpenFile.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

// A process that dies leaves its draft, and the next one that saves the same file takes it away. It
// must never take one whose owner lives, so an owner holds a lock on its draft, which the kernel
// gives back when the owner is gone, however it went; one that is stopped keeps it. Where a draft
// is, who holds the lock alone decides:
//
//     owner      makes the file (O_EXCL), locks it, looks whether it still has the name: between
//                the two steps somebody may have taken it for an abandoned one. Holds the lock
//                until the draft is moved or removed
//     remover    opens the file, locks it, looks whether it still has the name: it may have been
//                moved over the target, or removed, since it was opened. Removes it under the lock
//
// So nobody but who holds the lock takes away the name, and two removers, or one and a new owner,
// are never about the same file. The lock is one of the open file (OFD), which belongs to the
// descriptor rather than to the process, so that threads are told apart; and not `flock`, which is
// what streams are opened alone with: a remover that holds what has just become the target must
// keep nobody from opening it.
//
// The names follow from the file's, so that a few looks tell what was left. A file of another name
// may share them (see DraftHash), which does no harm: its owner holds it, too.
//
// All that asks for locks that everybody sees who sees the file. On remote file systems, which may
// know another host's locks or not, drafts have random names, so that no host takes them for its
// own, and those of the dead stay.
namespace platform {

namespace {

// None when the system does not tell.
std::optional<bool> HasName(const Descriptor& file, const std::string& path) noexcept
{
    struct stat opened = {}, named = {};
    if (::lstat(path.c_str(), &named) != 0)
        return IsMissing(errno) ? std::optional(false) : std::nullopt;
    if (::fstat(file.Get(), &opened) != 0)
        return std::nullopt;
    return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino &&
           S_ISREG(opened.st_mode);
}

Descriptor MakeFile(const std::string& path, mode_t mode) noexcept
{
    return OpenApart(path.c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
}

enum class EMade { Yes, NameIsTaken, Refused };

EMade MakeHeld(const std::string& path, mode_t mode, Descriptor& file) noexcept
{
    Descriptor made = MakeFile(path, mode);
    if (!made.IsOpen())
        return errno == EEXIST ? EMade::NameIsTaken : EMade::Refused;
    const ELocked held = MarkFile(made, EFileLock::Alone);
    if (held == ELocked::Failed && HasName(made, path) == true)
        ::unlink(path.c_str());
    if (held == ELocked::Failed)
        return EMade::Refused;
    if (held == ELocked::InUse || HasName(made, path) == false)
        return EMade::NameIsTaken; // by one that removes it
    file = std::move(made);
    return EMade::Yes;
}

void RemoveIfAbandoned(const std::string& path) noexcept
{
    const Descriptor file = OpenApart(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK);
    if (file.IsOpen() && MarkFile(file, EFileLock::Alone) == ELocked::Yes &&
        HasName(file, path) == true)
        ::unlink(path.c_str());
}

} // namespace

bool Draft::Make(const std::string& folder, std::string_view fileName, mode_t mode)
{
    return (IsOnThisMachine(folder.empty() ? "." : folder) && MakeNamed(folder, fileName, mode)) ||
           MakeRandom(folder, mode);
}

bool Draft::MoveTo(const std::string& target) noexcept
{
    if (IsLost()) {
        errno = ESTALE;
        return false;
    }
    if (::rename(m_path.c_str(), target.c_str()) != 0)
        return false;
    // Closing would not do: a process that was forked meanwhile has the lock, too.
    UnmarkFile(m_file);
    m_file = Descriptor();
    return true;
}

void Draft::Remove() noexcept
{
    if (!IsThere())
        return;
    if (!IsLost())
        ::unlink(m_path.c_str());
    m_file = Descriptor();
}

// Where a file system keeps its locks from another machine, after all, that may have taken the
// name: what stands there then is another draft, perhaps half of one. A random name nobody takes.
bool Draft::IsLost() const noexcept
{
    return m_isNamed && HasName(m_file, m_path) == false;
}

// Under the first free one of the file's names; none of them has an abandoned draft then.
bool Draft::MakeNamed(const std::string& folder, std::string_view fileName, mode_t mode)
{
    std::string path = folder + ".qd" + std::to_string(DraftHash(fileName)) + '_';
    const std::size_t start = path.size();
    const Descriptor place( // for many looks at the same folder
        ::open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < kDraftNames; ++i) {
        path.resize(start);
        path.append(std::to_string(i)).append(".tmp");
        if (IsThere()) {
            if (::faccessat(place.Get(), path.c_str() + folder.size(), F_OK, 0) == 0)
                RemoveIfAbandoned(path);
            continue;
        }
        m_path = path;
        EMade made = MakeHeld(path, mode, m_file);
        if (made == EMade::NameIsTaken) {
            RemoveIfAbandoned(path);
            made = MakeHeld(path, mode, m_file);
        }
        if (made == EMade::Refused)
            return false;
        m_isNamed = made == EMade::Yes;
    }
    return IsThere();
}

bool Draft::MakeRandom(const std::string& folder, mode_t mode)
{
    constexpr int attempts = 100;
    std::uint32_t number = 0; // from here on, also where the system has no random one
    static_cast<void>(FillRandom(&number, sizeof number));
    m_isNamed = false;
    for (int i = 0; i < attempts; ++i) {
        m_path = folder + ".qd" + std::to_string(number++) + ".tmp";
        m_file = MakeFile(m_path, mode);
        if (IsThere() || errno != EEXIST)
            break;
    }
    return IsThere();
}

} // namespace platform
