#pragma once

#include <string>

struct sqlite3;

namespace platform {

/// How a registry's database keeps what is not yet in it.
enum class EJournal {
    Log,      // new pages, in a log beside it (write-ahead)
    OldPages, // what a write replaces, in a file that goes when the write is done
};

/// The one for a database at `location`, a native path, or in it when that is a folder.
[[nodiscard]] EJournal JournalFor(const std::string& location) noexcept;

/// False when the database does not take it.
[[nodiscard]] bool UseJournal(sqlite3* database, EJournal journal);

} // namespace platform
