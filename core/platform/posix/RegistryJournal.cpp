#include "core/platform/posix/RegistryJournal.h"

#include "core/platform/Clock.h"
#include "core/platform/posix/Sqlite.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <sys/statfs.h>

// A log lets one process write while others read, and with `synchronous = NORMAL` nobody waits for
// the disk: a write takes 15 to 23 microseconds rather than milliseconds. A process that dies loses
// nothing; when the power fails, the last writes may be gone, and the database is whole all the
// same, as on Windows, whose registry goes to the disk some seconds later. SQLite's other settings
// either wait for the disk at each write or may leave a database that is damaged.
//
// The log needs memory that all processes share, and hence a file system of this machine. On a
// remote one, and where nobody can tell, the database keeps the pages that a write replaces in a
// file instead, which is slow and always right.
namespace platform {

EJournal JournalFor(const std::string& location) noexcept
{
    // Over FUSE a file system may be of this machine or remote.
    constexpr std::uint32_t remote[] = {
        0x6969,     0x517B,     0xFF534D42, 0xFE534D42, // NFS, SMB, CIFS, SMB 2
        0x5346414F, 0x6B414653, 0x73757245, 0x01021997, // AFS, its other form, Coda, 9P
        0x00C36400, 0x0BD00BD0, 0x47504653, 0x65735546, // Ceph, Lustre, GPFS, FUSE
    };
    struct statfs status = {};
    const bool isLocal =
        ::statfs(location.c_str(), &status) == 0 &&
        std::ranges::find(remote, static_cast<std::uint32_t>(status.f_type)) == std::end(remote);
    return isLocal ? EJournal::Log : EJournal::OldPages;
}

bool UseJournal(sqlite3* database, EJournal journal)
{
    if (journal == EJournal::OldPages)
        return sqlite::Execute(database, "PRAGMA journal_mode = DELETE");
    // The change to a log fails at once when another process is about it, too: SQLite does not ask
    // whether to wait there.
    const std::uint32_t start = TickCount();
    while (!sqlite::Execute(database, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL")) {
        if (!sqlite::IsBusy(database) || TickCount() - start >= std::uint32_t{sqlite::kPatienceMs})
            return false;
        ::sqlite3_sleep(1);
    }
    return true;
}

} // namespace platform
