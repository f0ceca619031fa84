#pragma once

struct sqlite3;

namespace platform::sqlite {

/// From now on a page of the database's file is taken for damaged when a row in it claims to be
/// longer than the file. One thread at a time; before anything else is done with the database.
void RefuseImpossibleRows(sqlite3* database);

} // namespace platform::sqlite
