#pragma once

#include <sqlite3.h>

#include <cstdlib>

// What the benchmarks of settings in an SQLite database share; what fails ends the program.

inline void RunSql(sqlite3* database, const char* text)
{
    if (sqlite3_exec(database, text, nullptr, nullptr, nullptr) != SQLITE_OK)
        std::abort();
}

inline sqlite3_stmt* PrepareSql(sqlite3* database, const char* text)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, text, -1, &statement, nullptr) != SQLITE_OK)
        std::abort();
    return statement;
}
