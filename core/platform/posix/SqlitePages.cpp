#include "core/platform/posix/SqlitePages.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

// SQLite believes a row how long it is, and makes room for the numbers of all its pages before it
// looks for the second: 68 MB for 4 GiB in a file of 3 KB. Its limits come later. So each page is
// looked at when it is read from the file ("Database File Format", 1.6). Those that come out of the
// log have its sums, and whoever wrote them there had read them before.
namespace platform::sqlite {

namespace {

using Page = std::span<const std::uint8_t>;

const sqlite3_io_methods* g_system = nullptr; // of the file of a database
sqlite3_io_methods g_checking = {};           // the same but for reading

std::size_t Number16(Page page, std::size_t at) noexcept
{
    return at + 1 < page.size() ? std::size_t{page[at]} * 256 + page[at + 1] : 0;
}

// Seven bits a byte, highest first, up to the first byte below 128; all eight of the ninth.
std::uint64_t NumberAt(Page page, std::size_t at) noexcept
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < 9 && at + i < page.size(); ++i) {
        const std::uint64_t byte = page[at + i];
        if (i == 8)
            return number << 8U | byte;
        number = number << 7U | (byte & 127U);
        if (byte < 128)
            break;
    }
    return number;
}

// The most that a row claims which stands or begins on the page; 0 for a page without rows.
std::uint64_t LongestRow(Page page, std::size_t header) noexcept
{
    constexpr std::uint8_t innerIndex = 2, leafIndex = 10, leafTable = 13;
    const std::uint8_t kind = header < page.size() ? page[header] : 0;
    if (kind != innerIndex && kind != leafIndex && kind != leafTable)
        return 0;
    const std::size_t headerSize = kind == innerIndex ? 12 : 8;
    const std::size_t childSize = kind == innerIndex ? 4 : 0;
    const std::size_t count = (std::min)(Number16(page, header + 3), page.size() / 2);
    std::uint64_t longest = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t row = Number16(page, header + headerSize + 2 * i);
        longest = (std::max)(longest, NumberAt(page, row + childSize));
    }
    return longest;
}

int Read(sqlite3_file* file, void* data, int size, sqlite3_int64 at) noexcept
{
    constexpr std::size_t fileHeader = 100;
    constexpr std::uint64_t harmless = 16 << 20; // the file's size need not be asked for
    const int result = g_system->xRead(file, data, size, at);
    if (result != SQLITE_OK)
        return result;
    const Page page(static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(size));
    const std::uint64_t longest = LongestRow(page, at == 0 ? fileHeader : 0);
    if (longest <= harmless)
        return SQLITE_OK;
    sqlite3_int64 fileSize = 0; // and when it cannot be told
    g_system->xFileSize(file, &fileSize);
    return longest <= static_cast<std::uint64_t>(fileSize) ? SQLITE_OK : SQLITE_CORRUPT;
}

// No page is mapped, as an application may ask of all its databases (`sqlite3_config`): each is
// read.
int Fetch(sqlite3_file*, sqlite3_int64, int, void** page) noexcept
{
    *page = nullptr;
    return SQLITE_OK;
}

} // namespace

void RefuseImpossibleRows(sqlite3* database)
{
    sqlite3_file* file = nullptr;
    const bool isOpen =
        ::sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
        file != nullptr && file->pMethods != nullptr;
    if (isOpen && g_system == nullptr) {
        g_system = file->pMethods;
        g_checking = *g_system;
        g_checking.xRead = &Read;
        g_checking.xFetch = &Fetch;
    }
    if (isOpen && file->pMethods == g_system)
        file->pMethods = &g_checking;
}

} // namespace platform::sqlite
