#include "core/platform/posix/RegistryConnection.h"

#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/FileLock.h"
#include "core/platform/posix/OpenFile.h"
#include "core/platform/posix/RegistryJournal.h"

#include <sqlite3.h>

#include <cassert>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

// The file, version 1. Names and texts are UTF-16 as the registry has them, in blobs, which keep
// every unit; as the database's encoding is the same, CAST(name AS TEXT) shows them to people.
//
//     registry_key    id      0 is the user's root, which has no row
//                     parent  id of the key that it stands in
//                     folded  the name in upper case, by which it is found
//                     name    as first written
//     registry_value  key     id of the key that it stands in
//                     folded, name
//                     type    1 text, 2 expandable text, 3 bytes, 4 number of 32 bits
//                     data    a text with its terminating 0, a number's bytes lowest first
//
// A database, as any number of processes use it at once and a write must be whole or not be. Every
// write is a transaction that begins with the lock (one statement that writes, or `BEGIN
// IMMEDIATE`): one that read first and asked for the lock then would fail at once if somebody else
// wrote in between.
//
// A write puts whole pages and their sums into the log, so the pages of a new file are half as
// large as SQLite makes them: a write then takes a tenth less. With a quarter a text of a hundred
// units and its name would go into two pages, which takes longer again.
namespace platform {

using sqlite::Database;
using sqlite::Execute;
using sqlite::Run;
using sqlite::Statement;

namespace {

constexpr int kFormatVersion = 1;

// As SQLite keeps them, letter by letter.
constexpr const char* kKeyTable =
    "CREATE TABLE registry_key ("
    " id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL,"
    " UNIQUE (parent, folded))";
constexpr const char* kValueTable =
    "CREATE TABLE registry_value ("
    " key INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, PRIMARY KEY (key, folded)) WITHOUT ROWID";

// Whether the tables are these and nothing hangs on them. Another check, a trigger, an index of an
// expression or a view in their place would be executed by each read or write, and need never end.
// Further tables and views are never looked at. What a row says of itself beside its SQL counts for
// nothing, as SQLite goes by the SQL.
bool HasOurTables(sqlite3* database)
{
    using namespace std::string_literals;
    const std::string sql = "SELECT total(sql IN ('"s + kKeyTable + "', '" + kValueTable +
                            "')), total(sql NOT LIKE 'CREATE TABLE %'"
                            " AND sql NOT LIKE 'CREATE VIEW %') FROM sqlite_master";
    const Statement tables = sqlite::Prepare(database, sql.c_str());
    Run run(tables);
    return run.HasRow() && run.Number(0) == 2 && run.Number(1) == 0;
}

// Makes the tables of a new database; false for one of another format.
bool CheckFormat(sqlite3* database)
{
    const Statement version = sqlite::Prepare(database, "PRAGMA user_version");
    const auto readVersion = [&version] {
        Run run(version);
        return run.HasRow() ? run.Number(0) : -1;
    };
    const std::int64_t found = readVersion();
    if (found != 0)
        return found == kFormatVersion && HasOurTables(database);
    if (!Execute(database, "BEGIN IMMEDIATE"))
        return false;
    const std::int64_t current = readVersion(); // another process may have made them meanwhile
    const std::string create =
        std::string(kKeyTable) + ";" + kValueTable + ";PRAGMA user_version = 1";
    if (current == 0 && Execute(database, create.c_str()) && Execute(database, "COMMIT"))
        return true;
    static_cast<void>(Execute(database, "ROLLBACK"));
    return current == kFormatVersion && HasOurTables(database);
}

void MakeFolders(const std::string& path)
{
    for (std::size_t end = path.find('/', 1); end != path.npos; end = path.find('/', end + 1))
        ::mkdir(path.substr(0, end).c_str(), 0700);
}

// Makes an empty file where there is none, if it can; false when another process is too long at it,
// or it cannot be told whether there is one.
// The log of one that was deleted goes first: what another process still has open of it would count
// as the new file's. Under the folder's lock it is never the log of a file that was made meanwhile.
bool MakeFile(const std::string& location, const std::string& folder)
{
    if (const auto file = FileAt(location); !file || file->IsFile())
        return file.has_value();
    const Descriptor lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (const ELocked locked = LockFile(lock, EFileLock::Alone, sqlite::kPatienceMs);
        locked != ELocked::Yes)
        return locked != ELocked::InUse; // SQLite makes the file then
    if (const auto file = FileAt(location); !file || file->IsFile())
        return file.has_value();
    for (const char* ending : {"-wal", "-shm"})
        ::unlink((location + ending).c_str());
    const Descriptor made = OpenApart(location.c_str(), O_RDWR | O_CREAT, 0644);
    return true;
}

// The log and its index got the rights of the file when they were made. Those may have allowed
// reading alone, and others may have been given since. Fails for who does not own them.
void ShareRights(const std::string& location)
{
    struct stat status = {};
    if (::access(location.c_str(), W_OK) != 0 || ::stat(location.c_str(), &status) != 0)
        return;
    for (const char* ending : {"-wal", "-shm"})
        ::chmod((location + ending).c_str(), status.st_mode & 0777);
}

Database OpenDatabase(const std::string& location)
{
    MakeFolders(location);
    const std::string folder = location.substr(0, location.rfind('/') + 1);
    const EJournal journal = JournalFor(folder); // the file may be missing
    if (journal == EJournal::Log && !MakeFile(location, folder))
        return nullptr;
    ShareRights(location);
    Database database = sqlite::Open(location.c_str());
    // A write takes the whole page of its value, and most values are short: so pages are small.
    // The file is the user's, but what stands in it need not be: nothing of it is executed, and a
    // damaged page is noticed where it is read.
    const bool isReady = database &&
                         Execute(database.get(), "PRAGMA page_size = 1024;"
                                                 "PRAGMA encoding = 'UTF-16le';"
                                                 "PRAGMA trusted_schema = OFF;"
                                                 "PRAGMA cell_size_check = ON") &&
                         UseJournal(database.get(), journal) && CheckFormat(database.get());
    return isReady ? std::move(database) : nullptr;
}

} // namespace

std::unique_ptr<RegistryConnection> RegistryConnection::Open(const std::string& location)
{
    Database database = OpenDatabase(location);
    const std::optional<FileIdentity> file = database ? FileAt(location) : std::nullopt;
    if (!file || sqlite::IsMoved(database.get()))
        return nullptr;
    // With old pages the lock is held for as long as the disk takes. Who writes on and on would
    // have it all the time.
    const bool leavesGaps = JournalFor(location) == EJournal::OldPages;
    std::unique_ptr<RegistryConnection> connection(
        new RegistryConnection(std::move(database), *file, leavesGaps));
    return connection->IsReady() ? std::move(connection) : nullptr;
}

RegistryConnection::RegistryConnection(Database database, const FileIdentity& file, bool leavesGaps)
    : m_database(std::move(database))
    , m_file(file)
    , m_leavesGaps(leavesGaps)
    , m_begin(Prepared("BEGIN IMMEDIATE"))
    , m_commit(Prepared("COMMIT"))
    , m_rollback(Prepared("ROLLBACK"))
    , m_findKey(Prepared("SELECT id FROM registry_key WHERE parent = ? AND folded = ?"))
    , m_addKey(Prepared("INSERT INTO registry_key (parent, folded, name) VALUES (?, ?, ?)"))
    , m_readValue(Prepared("SELECT type, data FROM registry_value WHERE key = ? AND folded = ?"))
    , m_writeValue(Prepared("INSERT INTO registry_value (key, folded, name, type, data)"
                            " VALUES (?, ?, ?, ?, ?) ON CONFLICT (key, folded)"
                            " DO UPDATE SET type = excluded.type, data = excluded.data"))
    , m_cache(sqlite::LogIndex(m_database.get()))
{}

std::optional<std::int64_t> RegistryConnection::FindKey(std::int64_t parent, WideView foldedName)
{
    Run run(m_findKey);
    return run.With(parent).With(foldedName).HasRow() ? std::optional(run.Number(0)) : std::nullopt;
}

bool RegistryConnection::ReadText(std::int64_t key, WideView foldedName, WideText& text)
{
    if (const WideText* const known = m_cache.Find(key, foldedName)) {
        text = *known;
        return true;
    }
    Run run(m_readValue);
    if (!run.With(key).With(foldedName).HasRow())
        return false;
    const auto type = static_cast<ERegistryType>(run.Number(0));
    if (type != ERegistryType::Text && type != ERegistryType::ExpandableText)
        return false;
    const std::span<const std::byte> bytes = run.Bytes(1);
    text.resize(bytes.size() / sizeof(WChar));
    if (!text.empty())
        std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WChar));
    m_cache.Keep(key, foldedName, text);
    return true;
}

// What is written is looked for before it counts, and so is a key: where the names in a damaged
// page are out of order it may stand where nobody finds it. That takes half a microsecond.
bool RegistryConnection::WriteValue(std::int64_t key, const RegistryName& name, ERegistryType type,
                                    const void* data, std::size_t size)
{
    const bool isWritten = Run(m_writeValue)
                               .With(key)
                               .With(name.folded)
                               .With(name.written)
                               .With(static_cast<std::int64_t>(type))
                               .With(data, size)
                               .IsDone();
    Run found(m_readValue);
    return isWritten && found.With(key).With(name.folded).HasRow() && found.Bytes(1).size() == size;
}

std::optional<std::int64_t> RegistryConnection::AddKey(std::int64_t parent,
                                                       const RegistryName& name)
{
    const bool isAdded = Run(m_addKey).With(parent).With(name.folded).With(name.written).IsDone();
    return isAdded ? FindKey(parent, name.folded) : std::nullopt;
}

RegistryConnection::Transaction::Transaction(RegistryConnection& connection) noexcept
    : m_connection(connection)
    , m_isOpen(Run(connection.m_begin).IsDone())
{}

RegistryConnection::Transaction::~Transaction()
{
    if (m_isOpen)
        static_cast<void>(Run(m_connection.m_rollback).IsDone());
}

bool RegistryConnection::Transaction::Commit() noexcept
{
    assert(m_isOpen);
    const bool isDone = Run(m_connection.m_commit).IsDone();
    m_isOpen = !isDone;
    if (isDone)
        m_connection.LeaveGap();
    return isDone;
}

bool RegistryConnection::IsReady() const noexcept
{
    return m_begin && m_commit && m_rollback && m_findKey && m_addKey && m_readValue &&
           m_writeValue;
}

void RegistryConnection::LeaveGap() const noexcept
{
    if (m_leavesGaps)
        ::sqlite3_sleep(2);
}

Statement RegistryConnection::Prepared(const char* sql) const
{
    return sqlite::Prepare(m_database.get(), sql);
}

} // namespace platform
