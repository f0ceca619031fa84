#include "core/platform/posix/RegistryDatabase.h"

#include "core/platform/Clock.h"
#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/FileLock.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <list>
#include <mutex>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
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

namespace platform {

namespace {

constexpr int kFormatVersion = 1;
constexpr std::int64_t kRoot = 0;
constexpr int kPatienceMs = 2000; // how long a lock of another process is waited for

constexpr const char* kCreate =
    "CREATE TABLE IF NOT EXISTS registry_key ("
    " id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL,"
    " UNIQUE (parent, folded));"
    "CREATE TABLE IF NOT EXISTS registry_value ("
    " key INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, PRIMARY KEY (key, folded)) WITHOUT ROWID;"
    "PRAGMA user_version = 1";

// One for all databases, so that none is in use when the process forks.
constinit std::mutex g_lock;

std::uint32_t g_waitStart = 0; // of a wait for another process; guarded by g_lock

// Whether to try again while another process has a lock. Waits of SQLite's own grow, and a process
// that writes on and on would leave them no gap to meet.
int WaitForLock(void*, int attempt) noexcept
{
    if (attempt == 0)
        g_waitStart = TickCount();
    if (TickCount() - g_waitStart >= std::uint32_t{kPatienceMs})
        return 0;
    ::sqlite3_sleep(1);
    return 1;
}

struct DatabaseCloser {
    void operator()(sqlite3* database) const noexcept { ::sqlite3_close(database); }
};
struct StatementCloser {
    void operator()(sqlite3_stmt* statement) const noexcept { ::sqlite3_finalize(statement); }
};
using DatabaseHandle = std::unique_ptr<sqlite3, DatabaseCloser>;
using Statement = std::unique_ptr<sqlite3_stmt, StatementCloser>;

Statement Prepare(sqlite3* database, const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    ::sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return Statement(statement);
}

// One run of a statement, which is ready for the next when this ends. What is bound is borrowed.
class Run {
public:
    explicit Run(const Statement& statement) noexcept
        : m_statement(statement.get())
    {}
    ~Run()
    {
        if (m_statement == nullptr)
            return; // there was no memory for it, and `sqlite3_clear_bindings` does not ask
        ::sqlite3_reset(m_statement);
        ::sqlite3_clear_bindings(m_statement);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    Run& With(std::int64_t number) noexcept
    {
        m_isBound &= ::sqlite3_bind_int64(m_statement, ++m_parameter, number) == SQLITE_OK;
        return *this;
    }
    Run& With(const void* data, std::size_t size) noexcept
    {
        m_isBound &= ::sqlite3_bind_blob64(m_statement, ++m_parameter, size != 0 ? data : "", size,
                                           SQLITE_STATIC) == SQLITE_OK;
        return *this;
    }
    Run& With(WideView units) noexcept { return With(units.data(), units.size() * sizeof(WChar)); }

    [[nodiscard]] bool HasRow() noexcept { return Step() == SQLITE_ROW; }
    [[nodiscard]] bool IsDone() noexcept { return Step() == SQLITE_DONE; }
    [[nodiscard]] std::int64_t Number(int column) const noexcept
    {
        return ::sqlite3_column_int64(m_statement, column);
    }
    /// Good until the run ends.
    [[nodiscard]] std::span<const std::byte> Bytes(int column) const noexcept
    {
        const auto* const data =
            static_cast<const std::byte*>(::sqlite3_column_blob(m_statement, column));
        const int size = ::sqlite3_column_bytes(m_statement, column);
        return {data, data != nullptr ? static_cast<std::size_t>(size) : 0};
    }

private:
    int Step() noexcept { return m_isBound ? ::sqlite3_step(m_statement) : SQLITE_MISUSE; }

    sqlite3_stmt* m_statement; // borrowed
    int m_parameter = 0;       // the last one bound
    bool m_isBound = true;
};

bool Execute(sqlite3* database, const char* sql)
{
    return ::sqlite3_exec(database, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// A log that all processes map needs a file system of this machine. Over FUSE one may be on either.
bool IsLocal(const std::string& location)
{
    constexpr std::uint32_t remote[] = {
        0x6969,     0x517B,     0xFF534D42, 0xFE534D42, // NFS, SMB, CIFS, SMB 2
        0x5346414F, 0x6B414653, 0x73757245, 0x01021997, // AFS, its other form, Coda, 9P
        0x00C36400, 0x0BD00BD0, 0x47504653, 0x65735546, // Ceph, Lustre, GPFS, FUSE
    };
    struct statfs status = {};
    return ::statfs(location.c_str(), &status) == 0 &&
           std::ranges::find(remote, static_cast<std::uint32_t>(status.f_type)) == std::end(remote);
}

// Has the database keep its changes in a log (write-ahead), so that one process may write while
// others read, and nobody waits for the disk. On a remote file system it keeps a journal.
bool ChooseJournal(sqlite3* database, bool isLocal)
{
    if (!isLocal)
        return Execute(database, "PRAGMA journal_mode = DELETE");
    // The change to a log fails at once when another process is about it, too.
    const std::uint32_t start = TickCount();
    while (!Execute(database, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL")) {
        if (::sqlite3_errcode(database) != SQLITE_BUSY ||
            TickCount() - start >= std::uint32_t{kPatienceMs})
            return false;
        ::sqlite3_sleep(1);
    }
    return true;
}

// Makes the tables of a new database; false for one of another format.
bool CheckFormat(sqlite3* database)
{
    const Statement version = Prepare(database, "PRAGMA user_version");
    const auto readVersion = [&version] {
        Run run(version);
        return run.HasRow() ? run.Number(0) : -1;
    };
    const std::int64_t found = readVersion();
    if (found != 0)
        return found == kFormatVersion;
    if (!Execute(database, "BEGIN IMMEDIATE"))
        return false;
    const std::int64_t current = readVersion();
    if (current == 0 && Execute(database, kCreate) && Execute(database, "COMMIT"))
        return true;
    Execute(database, "ROLLBACK");
    return current == kFormatVersion;
}

void MakeFolders(const std::string& path)
{
    for (std::size_t end = path.find('/', 1); end != path.npos; end = path.find('/', end + 1))
        ::mkdir(path.substr(0, end).c_str(), 0700);
}

// None when the system fails to tell, which is not the same as no file.
std::optional<RegistryDatabase::FileId> FileAt(const std::string& location)
{
    using FileId = RegistryDatabase::FileId;
    struct statx status = {};
    if (::statx(AT_FDCWD, location.c_str(), 0, STATX_INO | STATX_BTIME, &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? std::optional(FileId{}) : std::nullopt;
    return FileId{.device = makedev(status.stx_dev_major, status.stx_dev_minor),
                  .inode = status.stx_ino,
                  .birthSeconds = status.stx_btime.tv_sec,
                  .birthNanoseconds = status.stx_btime.tv_nsec};
}

// Makes an empty file where there is none, if it can; false when another process is too long at it,
// or it cannot be told whether there is one.
// The log of one that was deleted goes first: what another process still has open of it would count
// as the new file's. Under the folder's lock it is never the log of a file that was made meanwhile.
bool MakeFile(const std::string& location, const std::string& folder)
{
    if (const auto file = FileAt(location); !file || file->inode != 0)
        return file.has_value();
    const Descriptor lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (const ELocked locked = LockFile(lock, EFileLock::Alone, kPatienceMs);
        locked != ELocked::Yes)
        return locked != ELocked::InUse;
    if (const auto file = FileAt(location); !file || file->inode != 0)
        return file.has_value();
    for (const char* ending : {"-wal", "-shm"})
        ::unlink((location + ending).c_str());
    const Descriptor made(::open(location.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
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

DatabaseHandle OpenDatabase(const std::string& location)
{
    MakeFolders(location);
    const std::string folder = location.substr(0, location.rfind('/') + 1);
    const bool isLocal = IsLocal(folder);
    if (isLocal && !MakeFile(location, folder))
        return nullptr;
    ShareRights(location);
    sqlite3* opened = nullptr;
    const int result = ::sqlite3_open_v2(
        location.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
        nullptr);
    DatabaseHandle database(opened);
    if (result != SQLITE_OK)
        return nullptr;
    ::sqlite3_busy_handler(opened, &WaitForLock, nullptr);
    const bool isReady = Execute(opened, "PRAGMA encoding = 'UTF-16le';"
                                         "PRAGMA trusted_schema = OFF;"
                                         "PRAGMA cell_size_check = ON") &&
                         ChooseJournal(opened, isLocal) && CheckFormat(opened);
    return isReady ? std::move(database) : nullptr;
}

// Whether the path leads to another file than the one that was opened, or to none.
bool IsMoved(sqlite3* database)
{
    int isMoved = 0;
    return ::sqlite3_file_control(database, nullptr, SQLITE_FCNTL_HAS_MOVED, &isMoved) !=
               SQLITE_OK ||
           isMoved != 0;
}

// Never destroyed, as keys may be used until the very end.
std::list<RegistryDatabase>& Databases()
{
    static auto& databases = *std::make_unique<std::list<RegistryDatabase>>().release();
    return databases;
}

} // namespace

struct RegistryDatabase::Connection {
    Connection(DatabaseHandle opened, const FileId& openedFile)
        : database(std::move(opened))
        , file(openedFile)
    {}

    [[nodiscard]] bool IsReady() const noexcept
    {
        return begin && commit && rollback && findKey && addKey && readValue && writeValue;
    }
    [[nodiscard]] Statement Prepared(const char* sql) const { return Prepare(database.get(), sql); }

    DatabaseHandle database; // outlives its statements
    FileId file;
    bool leavesGaps = false; // after each write, for other processes
    Statement begin = Prepared("BEGIN IMMEDIATE");
    Statement commit = Prepared("COMMIT");
    Statement rollback = Prepared("ROLLBACK");
    Statement findKey = Prepared("SELECT id FROM registry_key WHERE parent = ? AND folded = ?");
    Statement addKey =
        Prepared("INSERT INTO registry_key (parent, folded, name) VALUES (?, ?, ?) RETURNING id");
    Statement readValue =
        Prepared("SELECT type, data FROM registry_value WHERE key = ? AND folded = ?");
    Statement writeValue = Prepared("INSERT INTO registry_value (key, folded, name, type, data)"
                                    " VALUES (?, ?, ?, ?, ?) ON CONFLICT (key, folded)"
                                    " DO UPDATE SET type = excluded.type, data = excluded.data");

    // Takes back what was not committed.
    class Transaction {
    public:
        explicit Transaction(Connection& connection) noexcept
            : m_connection(connection)
            , m_isOpen(Run(connection.begin).IsDone())
        {}
        ~Transaction()
        {
            if (m_isOpen)
                static_cast<void>(Run(m_connection.rollback).IsDone());
        }
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        [[nodiscard]] bool IsOpen() const noexcept { return m_isOpen; }
        [[nodiscard]] bool Commit() noexcept
        {
            const bool isDone = Run(m_connection.commit).IsDone();
            m_isOpen = !isDone;
            if (isDone && m_connection.leavesGaps)
                ::sqlite3_sleep(2);
            return isDone;
        }

    private:
        Connection& m_connection;
        bool m_isOpen;
    };
};

RegistryDatabase& RegistryDatabase::At(const std::string& location)
{
    static const struct Closing {
        Closing() { ::pthread_atfork(&BeforeFork, &AfterFork, &AfterFork); }
        ~Closing()
        {
            const std::lock_guard lock(g_lock);
            CloseAll();
        }
    } closing;

    const std::lock_guard lock(g_lock);
    std::list<RegistryDatabase>& all = Databases();
    const auto found = std::ranges::find(all, location, &RegistryDatabase::m_location);
    return found != all.end() ? *found : all.emplace_back(location);
}

RegistryDatabase::RegistryDatabase(std::string location)
    : m_location(std::move(location))
{}

RegistryDatabase::~RegistryDatabase() = default;

std::optional<RegistryDatabase::Key> RegistryDatabase::OpenKey(const Key* parent,
                                                               std::span<const RegistryName> names)
{
    const std::lock_guard lock(g_lock);
    if (parent != nullptr ? !Has(*parent) : !IsOpen(FileAt(m_location)))
        return std::nullopt;
    const FileId file = m_connection->file;
    std::int64_t key = Descend(parent != nullptr ? parent->number : kRoot, names);
    if (names.empty())
        return Key{file, key};
    const bool isMade = CanWrite(file) && Commit([&] {
                            key =
                                Descend(key, names); // another process may have made some meanwhile
                            for (const RegistryName& name : names) {
                                Run run(m_connection->addKey);
                                if (!run.With(key).With(name.folded).With(name.written).HasRow())
                                    return false;
                                key = run.Number(0);
                            }
                            return true;
                        });
    return isMade ? std::optional(Key{file, key}) : std::nullopt;
}

bool RegistryDatabase::ReadText(const Key& key, WideView foldedName, WideText& text)
{
    const std::lock_guard lock(g_lock);
    // What is open is read without a look at the location, which takes half as long as the read.
    const bool isOpen = m_connection && m_connection->file == key.file;
    if (!isOpen && !Has(key))
        return false;
    Run run(m_connection->readValue);
    if (!run.With(key.number).With(foldedName).HasRow())
        return false;
    const auto type = static_cast<ERegistryType>(run.Number(0));
    if (type != ERegistryType::Text && type != ERegistryType::ExpandableText)
        return false;
    const std::span<const std::byte> bytes = run.Bytes(1);
    text.resize(bytes.size() / sizeof(WChar));
    if (!text.empty())
        std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WChar));
    return true;
}

bool RegistryDatabase::WriteValue(const Key& key, const RegistryName& name, ERegistryType type,
                                  const void* data, std::size_t size)
{
    const std::lock_guard lock(g_lock);
    return Has(key) && CanWrite(key.file) && Commit([&] {
               return Run(m_connection->writeValue)
                   .With(key.number)
                   .With(name.folded)
                   .With(name.written)
                   .With(static_cast<std::int64_t>(type))
                   .With(data, size)
                   .IsDone();
           });
}

void RegistryDatabase::CloseAll() noexcept
{
    for (RegistryDatabase& database : Databases())
        database.m_connection.reset();
}

void RegistryDatabase::BeforeFork() noexcept
{
    g_lock.lock();
    CloseAll();
}

void RegistryDatabase::AfterFork() noexcept
{
    g_lock.unlock();
}

// Whether there is a connection, to `file` if it is still at the location, else to the one that is.
bool RegistryDatabase::IsOpen(const std::optional<FileId>& file)
{
    if (!file)
        return false;
    if (m_connection && m_connection->file == *file)
        return true;
    m_connection.reset();
    DatabaseHandle database = OpenDatabase(m_location);
    const std::optional<FileId> opened = database ? FileAt(m_location) : std::nullopt;
    if (!opened || IsMoved(database.get()))
        return false;
    auto connection = std::make_unique<Connection>(std::move(database), *opened);
    // A journal keeps the lock for as long as the disk takes. Who writes on and on would have it
    // all the time.
    connection->leavesGaps = !IsLocal(m_location);
    if (connection->IsReady())
        m_connection = std::move(connection);
    return m_connection != nullptr;
}

// Whether the connection, to `file`, takes writes. SQLite goes back to reading alone for good when
// it fails to open a file for both; that may have passed.
bool RegistryDatabase::CanWrite(const FileId& file)
{
    const auto isReadOnly = [this] {
        return ::sqlite3_db_readonly(m_connection->database.get(), "main") != 0;
    };
    if (!isReadOnly())
        return true;
    m_connection.reset();
    return IsOpen(file) && m_connection->file == file && !isReadOnly();
}

// Whether the file of the key is at the location, and open. A file that was deleted would take what
// is written and keep it from everybody.
bool RegistryDatabase::Has(const Key& key)
{
    const std::optional<FileId> file = FileAt(m_location);
    return file == key.file && IsOpen(file) && m_connection->file == key.file;
}

// Has `work` done whole, or not at all. A connection that failed goes: it may keep a lock for good
// that it could not give back. Not one that only had to wait for others.
template <class Work>
bool RegistryDatabase::Commit(Work work)
{
    bool isDone = false, isBusy = false;
    {
        Connection::Transaction transaction(*m_connection);
        isDone = transaction.IsOpen() && work() && transaction.Commit();
        isBusy = ::sqlite3_errcode(m_connection->database.get()) == SQLITE_BUSY;
    }
    if (!isDone && !isBusy)
        m_connection.reset();
    return isDone;
}

// Follows `names` as far as there are keys, and takes those off.
std::int64_t RegistryDatabase::Descend(std::int64_t key, std::span<const RegistryName>& names)
{
    while (!names.empty()) {
        Run run(m_connection->findKey);
        if (!run.With(key).With(names.front().folded).HasRow())
            break;
        key = run.Number(0);
        names = names.subspan(1);
    }
    return key;
}

} // namespace platform
