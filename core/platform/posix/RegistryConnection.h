#pragma once

#include "core/platform/Registry.h"
#include "core/platform/WideText.h"
#include "core/platform/posix/FileIdentity.h"
#include "core/platform/posix/RegistryCache.h"
#include "core/platform/posix/Sqlite.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace platform {

/// A name as it is written and as it is compared.
struct RegistryName {
    WideView written; // borrowed
    WideText folded;
};

/// An open database of a registry, with a statement for each thing that is done with it. Keys are
/// numbers, `kRoot` the user's root. One thread at a time; in the process that opened it.
class RegistryConnection {
public:
    static constexpr std::int64_t kRoot = 0;

    /// Opens the file at `location`, an absolute native path, made with its folders when it is
    /// missing. Null when that fails, when the file holds something else, and when another one took
    /// its place meanwhile.
    [[nodiscard]] static std::unique_ptr<RegistryConnection> Open(const std::string& location);

    [[nodiscard]] const FileIdentity& File() const noexcept { return m_file; }
    [[nodiscard]] bool IsReadOnly() const noexcept { return sqlite::IsReadOnly(m_database.get()); }
    /// Whether the last call failed because another process had a lock for too long.
    [[nodiscard]] bool IsBusy() const noexcept { return sqlite::IsBusy(m_database.get()); }
    /// Whether it failed for another reason: a page is damaged or cannot be read. The next call may
    /// take such a page for whole, so there should be none.
    [[nodiscard]] bool HasFailed() const noexcept { return sqlite::HasFailed(m_database.get()); }

    [[nodiscard]] std::optional<std::int64_t> FindKey(std::int64_t parent, WideView foldedName);
    [[nodiscard]] bool ReadText(std::int64_t key, WideView foldedName, WideText& text);
    /// In a transaction, as `AddKey`, which is taken back when they fail.
    [[nodiscard]] bool WriteValue(std::int64_t key, const RegistryName& name, ERegistryType type,
                                  const void* data, std::size_t size);
    [[nodiscard]] std::optional<std::int64_t> AddKey(std::int64_t parent, const RegistryName& name);

    /// Takes back what was not committed.
    class Transaction {
    public:
        explicit Transaction(RegistryConnection& connection) noexcept;
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        [[nodiscard]] bool IsOpen() const noexcept { return m_isOpen; }
        [[nodiscard]] bool Commit() noexcept;

    private:
        RegistryConnection& m_connection;
        bool m_isOpen;
    };

private:
    RegistryConnection(sqlite::Database database, const FileIdentity& file, bool leavesGaps);

    [[nodiscard]] bool IsReady() const noexcept;
    void LeaveGap() const noexcept;
    [[nodiscard]] sqlite::Statement Prepared(const char* sql) const;

    sqlite::Database m_database; // outlives its statements
    FileIdentity m_file;
    bool m_leavesGaps; // after each write, for other processes
    sqlite::Statement m_begin, m_commit, m_rollback;
    sqlite::Statement m_findKey, m_addKey, m_readValue, m_writeValue;
    RegistryCache m_cache;
};

} // namespace platform
