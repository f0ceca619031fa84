#include "core/platform/posix/RegistryJournal.h"

#include "core/platform/Wait.h"
#include "core/platform/posix/FileIdentity.h"
#include "core/platform/posix/Sqlite.h"

#include <sqlite3.h>

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
    return IsOnThisMachine(location) ? EJournal::Log : EJournal::OldPages;
}

bool UseJournal(sqlite3* database, EJournal journal)
{
    if (journal == EJournal::OldPages)
        return sqlite::Execute(database, "PRAGMA journal_mode = DELETE");
    // The change to a log fails at once when another process is about it, too: SQLite does not ask
    // whether to wait there.
    Wait wait(sqlite::kPatienceMs);
    while (!sqlite::Execute(database, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL")) {
        if (!sqlite::IsBusy(database) || wait.IsOver())
            return false;
        ::sqlite3_sleep(1);
    }
    // It may become as large as with the pages of 4 KiB that SQLite reckons with: each time that it
    // is emptied the disk is waited for.
    return sqlite::Execute(database, "PRAGMA wal_autocheckpoint = 2000");
}

} // namespace platform
