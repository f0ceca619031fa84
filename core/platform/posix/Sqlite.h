#pragma once

#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

struct sqlite3;
struct sqlite3_stmt;

/// SQLite's handles with their owners. One thread at a time uses a database and its statements.
namespace platform::sqlite {

struct DatabaseCloser {
    void operator()(sqlite3* database) const noexcept;
};
struct StatementCloser {
    void operator()(sqlite3_stmt* statement) const noexcept;
};
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;
using Statement = std::unique_ptr<sqlite3_stmt, StatementCloser>; // its database outlives it

/// How long a lock of another process is waited for.
inline constexpr int kPatienceMs = 2000;

/// Opens the file, made when it is missing, to read and write, or to read where it allows no more;
/// null when it cannot be opened. What is done with it waits for the locks of other processes. One
/// thread at a time opens databases.
[[nodiscard]] Database Open(const char* path);

/// Null when that fails, as for want of memory: a run of it then fails.
[[nodiscard]] Statement Prepare(sqlite3* database, const char* sql);

/// Executes any number of statements, up to the first that fails.
[[nodiscard]] bool Execute(sqlite3* database, const char* sql);

/// Whether the last failure was a lock of another process.
[[nodiscard]] bool IsBusy(sqlite3* database) noexcept;

/// Whether the last call failed for another reason.
[[nodiscard]] bool HasFailed(sqlite3* database) noexcept;

/// Whether the path leads to another file than the one that was opened, or to none.
[[nodiscard]] bool IsMoved(sqlite3* database) noexcept;

[[nodiscard]] bool IsReadOnly(sqlite3* database) noexcept;

/// The beginning of the log's index, in memory that the processes share: another one after each
/// write. Good until the database is closed; null without a log.
[[nodiscard]] const void* LogIndex(sqlite3* database);

/// One run of a statement, which is ready for the next when this ends. What is bound is borrowed.
class Run {
public:
    explicit Run(const Statement& statement) noexcept;
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// Binds the next parameter.
    Run& With(std::int64_t number) noexcept;
    Run& With(const void* data, std::size_t size) noexcept;
    Run& With(WideView units) noexcept;

    [[nodiscard]] bool HasRow() noexcept;
    [[nodiscard]] bool IsDone() noexcept;
    [[nodiscard]] std::int64_t Number(int column) const noexcept;
    /// Good until the run ends.
    [[nodiscard]] std::span<const std::byte> Bytes(int column) const noexcept;

private:
    [[nodiscard]] int Step() noexcept;

    sqlite3_stmt* m_statement; // borrowed
    int m_parameter = 0;       // the last one bound
    bool m_isBound = true;
};

} // namespace platform::sqlite
