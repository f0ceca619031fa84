// The input is the database of a registry, or else the SQL that makes one: schemas and rows that
// nobody comes to by changing bytes.
//
// A value that was written is read again.

#include "core/platform/WideText.h"
#include "core/platform/posix/RegistryDatabase.h"

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace {

using platform::RegistryDatabase;
using platform::RegistryName;
using platform::WideText;

// Gives up what takes long, as the target's own part of the work is none of the library's.
std::string DatabaseOf(const std::string& sql)
{
    sqlite3* database = nullptr;
    Require(sqlite3_open(":memory:", &database) == SQLITE_OK);
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, 10'000);
    sqlite3_progress_handler(
        database, 10'000, [](void*) { return 1; }, nullptr);
    sqlite3_exec(database, "PRAGMA page_size = 512", nullptr, nullptr, nullptr);
    sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
    sqlite3_int64 size = 0;
    unsigned char* const bytes = sqlite3_serialize(database, "main", &size, 0);
    const std::string result(bytes, bytes + size);
    sqlite3_free(bytes);
    sqlite3_close(database);
    return result;
}

void Use(const std::string& file)
{
    RegistryDatabase database(file);
    const RegistryName names[] = {{QD_W("Software"), QD_W("SOFTWARE")},
                                  {QD_W("Name"), QD_W("NAME")}};
    const std::optional<RegistryDatabase::Key> key = database.OpenKey(nullptr, names);
    if (!key)
        return;
    WideText text;
    for (const WChar* name : {QD_W("TEXT"), QD_W("NUMBER"), QD_W("BYTES")}) {
        if (database.ReadText(*key, name, text))
            Require(database.ReadText(*key, name, text)); // perhaps out of the cache
    }
    constexpr WChar kText[] = QD_W("new");
    if (!database.WriteValue(*key, {QD_W("Text"), QD_W("TEXT")}, platform::ERegistryType::Text,
                             kText, sizeof kText))
        return;
    Require(database.ReadText(*key, QD_W("TEXT"), text));
    Require(text == WideText(kText, std::size(kText)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    const HeapBound bound(size);
    std::string input(data, data + size);
    if (!input.starts_with("SQLite format 3"))
        input = DatabaseOf(input);
    if (!IsNew(input))
        return 0;
    const std::string file = (folder / "registry.db").string();
    for (const char* ending : {"", "-wal", "-shm", "-journal"})
        std::filesystem::remove(file + ending);
    WriteFileBytes(file, input);
    Use(file);
    return 0;
}
