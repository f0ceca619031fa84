#include "core/platform/FileSystem.h"

#include "core/platform/win32/Handle.h"

#include <windows.h>
#include <memory>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>

// The system's own functions; what is done besides is to tell a missing file from one that cannot
// be looked at, and a list that broke off from one that came to its end.
namespace platform {

namespace {

struct SearchCloser {
    void operator()(void* search) const noexcept { ::FindClose(search); }
};
using Search = std::unique_ptr<void, SearchCloser>;

// What a look that failed tells.
EPresence PresenceAfter(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? EPresence::Missing
                                                                          : EPresence::Unknown;
}

// What a pattern that could not be listed tells; one that no name can have matches nothing.
EPresence PresenceAfterFind(DWORD error)
{
    switch (error) {
    case ERROR_NO_MORE_FILES:
    case ERROR_INVALID_NAME:
    case ERROR_DIRECTORY: return EPresence::Missing;
    default: return PresenceAfter(error);
    }
}

FoundFile Describe(const WIN32_FIND_DATAW& data, WideView folder)
{
    const auto has = [&](DWORD attribute) { return (data.dwFileAttributes & attribute) != 0; };
    return {.path = WideText(folder) + data.cFileName,
            .isReadOnly = has(FILE_ATTRIBUTE_READONLY),
            .isSystem = has(FILE_ATTRIBUTE_SYSTEM),
            .isDirectory = has(FILE_ATTRIBUTE_DIRECTORY),
            .isOffline = has(FILE_ATTRIBUTE_OFFLINE)};
}

} // namespace

EPresence FindFiles(const WChar* pattern, const std::function<bool(const FoundFile&)>& visit)
{
    const WideView whole(pattern);
    const WideView folder = whole.substr(0, whole.find_last_of(L"/\\:") + 1);
    // The system takes these for wild, too, and no name holds them.
    if (whole.substr(folder.size()).find_first_of(L"<>\"") != WideView::npos)
        return EPresence::Missing;
    WIN32_FIND_DATAW data = {};
    void* const opened = ::FindFirstFileW(pattern, &data);
    if (opened == INVALID_HANDLE_VALUE)
        return PresenceAfterFind(::GetLastError());
    const Search search(opened);
    do {
        if (!visit(Describe(data, folder)))
            return EPresence::There;
    } while (::FindNextFileW(search.get(), &data));
    return ::GetLastError() == ERROR_NO_MORE_FILES ? EPresence::There : EPresence::Unknown;
}

std::optional<std::uint64_t> FileSize(const WChar* path) noexcept
{
    const Handle file(::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size = {};
    if (!file.IsOpen() || !::GetFileSizeEx(file.Get(), &size))
        return std::nullopt;
    return static_cast<std::uint64_t>(size.QuadPart);
}

bool IsDirectory(const WChar* path) noexcept
{
    // FILE_FLAG_BACKUP_SEMANTICS: without it the system opens no folder.
    const Handle file(::CreateFileW(path, FILE_READ_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION information = {};
    return file.IsOpen() && ::GetFileInformationByHandle(file.Get(), &information) &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool PathExists(const WChar* path) noexcept
{
    return ::PathFileExistsW(path) != FALSE;
}

EPresence Presence(const WChar* path) noexcept
{
    // Shared in every way, so that a file which others have open is there, too; of its attributes
    // alone, which the system tells also where the content is forbidden.
    const Handle file(::CreateFileW(path, FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (file.IsOpen())
        return EPresence::There;
    return PresenceAfter(::GetLastError());
}

bool RemoveFile(const WChar* path) noexcept
{
    return ::DeleteFileW(path) != FALSE;
}

WideText FullPath(const WChar* path)
{
    WideText fullPath(::GetFullPathNameW(path, 0, nullptr, nullptr), L'\0');
    const auto room = static_cast<DWORD>(fullPath.size());
    const DWORD length = ::GetFullPathNameW(path, room, fullPath.data(), nullptr);
    if (length == 0 || length >= room) // another thread changed the current folder
        return path;
    fullPath.resize(length);
    return fullPath;
}

bool MakeDirectories(const WChar* path) noexcept
{
    return ::SHCreateDirectoryExW(nullptr, path, nullptr) == ERROR_SUCCESS;
}

std::optional<WideText> ShortPath(const WChar* path)
{
    // Above MAX_PATH the system takes paths only with this prefix.
    WideText longPath(path);
    if (longPath.size() >= MAX_PATH)
        longPath.insert(0, L"\\\\?\\");
    WideText shortPath(MAX_PATH + 1, L'\0');
    while (true) {
        const auto room = static_cast<DWORD>(shortPath.size());
        const DWORD length = ::GetShortPathNameW(longPath.c_str(), shortPath.data(), room);
        if (length == 0)
            return std::nullopt;
        shortPath.resize(length); // of the text, or the room that it needs with its 0
        if (length < room)
            return shortPath;
    }
}

} // namespace platform
