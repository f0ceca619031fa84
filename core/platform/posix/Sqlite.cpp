#include "core/platform/posix/Sqlite.h"

#include "core/platform/Wait.h"
#include "core/platform/posix/SqlitePages.h"

#include <sqlite3.h>

// A thin cover: each function is a call or two of SQLite's, with owners for what has to be closed.
// Failures are `false` and null, as everywhere below the seam; SQLite's codes are looked at only
// where the answer matters, which is when another process has a lock.
namespace platform::sqlite {

namespace {

// Whether to try again while another process has a lock. SQLite's own waits (`busy_timeout`) grow
// up to 100 ms, and a process that writes on and on would leave them no gap to meet.
int WaitForLock(void*, int attempt) noexcept
{
    static thread_local Wait wait(kPatienceMs); // the one that is under way
    if (attempt == 0)
        wait = Wait(kPatienceMs);
    if (wait.IsOver())
        return 0;
    ::sqlite3_sleep(1);
    return 1;
}

} // namespace

void DatabaseCloser::operator()(sqlite3* database) const noexcept
{
    ::sqlite3_close(database);
}

void StatementCloser::operator()(sqlite3_stmt* statement) const noexcept
{
    ::sqlite3_finalize(statement);
}

Database Open(const char* path)
{
    // SQLite's own mutexes are left out: the caller's lock does.
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    sqlite3* opened = nullptr;
    const int result = ::sqlite3_open_v2(path, &opened, flags, nullptr);
    Database database(opened); // there may be one to close after a failure, too
    if (result != SQLITE_OK)
        return nullptr;
    ::sqlite3_busy_handler(opened, &WaitForLock, nullptr);
    RefuseImpossibleRows(opened);
    return database;
}

Statement Prepare(sqlite3* database, const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    ::sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return Statement(statement);
}

bool Execute(sqlite3* database, const char* sql)
{
    return ::sqlite3_exec(database, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool IsBusy(sqlite3* database) noexcept
{
    return ::sqlite3_errcode(database) == SQLITE_BUSY;
}

bool HasFailed(sqlite3* database) noexcept
{
    const int code = ::sqlite3_errcode(database);
    return code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE && code != SQLITE_BUSY;
}

bool IsMoved(sqlite3* database) noexcept
{
    int isMoved = 0;
    return ::sqlite3_file_control(database, nullptr, SQLITE_FCNTL_HAS_MOVED, &isMoved) !=
               SQLITE_OK ||
           isMoved != 0;
}

bool IsReadOnly(sqlite3* database) noexcept
{
    return ::sqlite3_db_readonly(database, "main") != 0;
}

const void* LogIndex(sqlite3* database)
{
    // Without a log the system would make an index for none.
    const Statement mode = Prepare(database, "PRAGMA journal_mode");
    if (mode == nullptr || ::sqlite3_step(mode.get()) != SQLITE_ROW ||
        ::sqlite3_stricmp(reinterpret_cast<const char*>(::sqlite3_column_text(mode.get(), 0)),
                          "wal") != 0)
        return nullptr;
    sqlite3_file* file = nullptr;
    if (::sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
        file == nullptr || file->pMethods == nullptr || file->pMethods->iVersion < 2)
        return nullptr;
    constexpr int pieceSize = 32768; // as SQLite maps it
    volatile void* index = nullptr;
    const int result = file->pMethods->xShmMap(file, 0, pieceSize, 0, &index);
    return result == SQLITE_OK ? const_cast<const void*>(index) : nullptr;
}

Run::Run(const Statement& statement) noexcept
    : m_statement(statement.get())
{}

Run::~Run()
{
    if (m_statement == nullptr)
        return; // there was no memory for it, and `sqlite3_clear_bindings` does not ask
    ::sqlite3_reset(m_statement);
    ::sqlite3_clear_bindings(m_statement);
}

Run& Run::With(std::int64_t number) noexcept
{
    m_isBound &= ::sqlite3_bind_int64(m_statement, ++m_parameter, number) == SQLITE_OK;
    return *this;
}

Run& Run::With(const void* data, std::size_t size) noexcept
{
    // A null pointer would bind NULL, which no column takes.
    m_isBound &= ::sqlite3_bind_blob64(m_statement, ++m_parameter, size != 0 ? data : "", size,
                                       SQLITE_STATIC) == SQLITE_OK;
    return *this;
}

Run& Run::With(WideView units) noexcept
{
    return With(units.data(), units.size() * sizeof(WChar));
}

bool Run::HasRow() noexcept
{
    return Step() == SQLITE_ROW;
}

bool Run::IsDone() noexcept
{
    return Step() == SQLITE_DONE;
}

std::int64_t Run::Number(int column) const noexcept
{
    return ::sqlite3_column_int64(m_statement, column);
}

std::span<const std::byte> Run::Bytes(int column) const noexcept
{
    const auto* const data =
        static_cast<const std::byte*>(::sqlite3_column_blob(m_statement, column));
    const int size = ::sqlite3_column_bytes(m_statement, column);
    return {data, data != nullptr ? static_cast<std::size_t>(size) : 0};
}

int Run::Step() noexcept
{
    return m_isBound ? ::sqlite3_step(m_statement) : SQLITE_MISUSE;
}

} // namespace platform::sqlite
