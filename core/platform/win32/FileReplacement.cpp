#include "core/platform/FileReplacement.h"

#include "core/platform/FileStream.h"
#include "core/platform/Wait.h"
#include "core/platform/win32/Draft.h"
#include "core/platform/win32/Handle.h"

#include <windows.h>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <memory>
#include <new>
#include <string>
#include <string_view>

// As on the other platform: a draft beside the file, which gets what belongs to the file (access
// list, attributes, the date of its making) and is synchronised before it is moved over it, so that
// the file holds the old or the new content at any moment. What differs: a folder cannot be
// synchronised, so the file is synchronised once more in its place, and with it the journal of the
// file system; and a file that somebody has open cannot be moved over, so the move is tried for two
// seconds.
//
// `ReplaceFileW` would keep all that by itself, but in two steps: it moves the old file away before
// the new one comes, and who dies between them leaves none under the name. So it is only for what
// the draft cannot get, an encryption of its own for one, and at last for a file that others have
// open and let be deleted.
namespace platform {

struct FileReplacement::State {
    Draft draft;
    platform::Stream stream; // on the draft, which cannot be removed before
    std::wstring target;     // no link
    bool isBeside = false;
    bool isThere = false;
    ESync sync = ESync::Yes;
};

namespace {

bool IsMissing(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

// The file behind the links; empty when that is no file, or the system fails to tell. Not every
// file system tells the name of an open file.
std::wstring ResolveLinks(const WChar* path, DWORD attributes)
{
    const Handle file(::CreateFileW(path, FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!file.IsOpen())
        return {};
    constexpr DWORD longestPath = 0x8000;
    std::wstring resolved(longestPath, L'\0');
    const DWORD length = ::GetFinalPathNameByHandleW(file.Get(), resolved.data(), longestPath, 0);
    if (length == 0 || length >= longestPath)
        return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 ? path : std::wstring();
    resolved.resize(length);
    return resolved;
}

std::wstring FolderOf(const std::wstring& path)
{
    return path.substr(0, path.find_last_of(L"/\\:") + 1);
}

std::wstring_view NameOf(const std::wstring& path)
{
    return std::wstring_view(path).substr(path.find_last_of(L"/\\:") + 1);
}

// What cannot be written beside the file gathers here.
std::wstring TemporaryFolder()
{
    wchar_t folder[MAX_PATH + 1] = {};
    ::GetTempPathW(MAX_PATH + 1, folder);
    return folder;
}

Handle OpenTarget(const std::wstring& path)
{
    return Handle(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

Stream StreamOn(Handle file)
{
    const int descriptor =
        _open_osfhandle(reinterpret_cast<std::intptr_t>(file.Get()), _O_RDWR | _O_BINARY);
    if (descriptor < 0)
        return nullptr;
    file.Release();
    Stream stream(_fdopen(descriptor, "w+b"));
    if (!stream)
        _close(descriptor);
    return stream;
}

bool IsRefused(const std::wstring& target)
{
    const DWORD attributes = ::GetFileAttributesW(target.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return true;
    const bool isRefused = (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) != 0;
    if (isRefused)
        ::SetLastError(ERROR_ACCESS_DENIED);
    return isRefused;
}

bool SyncFile(int file)
{
    return _commit(file) == 0;
}

// All from `begin` on.
bool Copy(std::int64_t begin, std::FILE* from, std::FILE* to)
{
    if (_fseeki64(from, begin, SEEK_SET) != 0 || _fseeki64(to, begin, SEEK_SET) != 0)
        return false;
    char piece[4096];
    while (const std::size_t size = std::fread(piece, 1, sizeof piece, from)) {
        if (std::fwrite(piece, 1, size, to) != size)
            return false;
    }
    return std::ferror(from) == 0;
}

// What goes beyond the old content is written first, as long as all of that can stay: some file
// systems make a file longer without having the room.
bool WriteOver(const std::wstring& target, std::FILE* draft, bool isSynchronised)
{
    const Stream stream = StreamOn(OpenTarget(target));
    if (!stream || std::setvbuf(stream.get(), nullptr, _IONBF, 0) != 0)
        return false;
    const int file = _fileno(stream.get());
    const std::int64_t before = _filelengthi64(file), after = _filelengthi64(_fileno(draft));
    if (before < after && !Copy(before, draft, stream.get())) {
        _chsize_s(file, before);
        return false;
    }
    return Copy(0, draft, stream.get()) && (before <= after || _chsize_s(file, after) == 0) &&
           (!isSynchronised || SyncFile(file));
}

// With what says whether it inherits from its folder.
bool CopyAccessList(const std::wstring& from, const std::wstring& to)
{
    SECURITY_INFORMATION parts = DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    ::GetFileSecurityW(from.c_str(), parts, nullptr, 0, &size);
    const std::unique_ptr<std::byte[]> descriptor(new (std::nothrow) std::byte[size]);
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    if (descriptor == nullptr ||
        !::GetFileSecurityW(from.c_str(), parts, descriptor.get(), size, &size) ||
        !::GetSecurityDescriptorControl(descriptor.get(), &control, &revision))
        return false;
    parts |= (control & SE_DACL_PROTECTED) != 0 ? PROTECTED_DACL_SECURITY_INFORMATION
                                                : UNPROTECTED_DACL_SECURITY_INFORMATION;
    return ::SetFileSecurityW(to.c_str(), parts, descriptor.get()) != 0;
}

// What belongs to the file and not to its content.
bool CopyProperties(const std::wstring& from, const std::wstring& to, int draft)
{
    constexpr DWORD kept =
        FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    WIN32_FILE_ATTRIBUTE_DATA old = {};
    if (!::GetFileAttributesExW(from.c_str(), GetFileExInfoStandard, &old) ||
        (old.dwFileAttributes & FILE_ATTRIBUTE_ENCRYPTED) != 0)
        return false;
    FILE_BASIC_INFO info = {}; // zeros change nothing
    info.CreationTime.LowPart = old.ftCreationTime.dwLowDateTime;
    info.CreationTime.HighPart = static_cast<LONG>(old.ftCreationTime.dwHighDateTime);
    info.FileAttributes = FILE_ATTRIBUTE_ARCHIVE | (old.dwFileAttributes & kept);
    auto* const handle = reinterpret_cast<HANDLE>(_get_osfhandle(draft));
    return ::SetFileInformationByHandle(handle, FileBasicInfo, &info, sizeof info) &&
           CopyAccessList(from, to);
}

bool Replace(const std::wstring& target, const std::wstring& draft)
{
    return ::ReplaceFileW(target.c_str(), draft.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS,
                          nullptr, nullptr) != 0;
}

bool Move(const std::wstring& target, const std::wstring& draft)
{
    return ::MoveFileExW(draft.c_str(), target.c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

bool IsInUse(DWORD error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
}

// The move of a file. One that somebody has opened for himself meanwhile is left to the system.
bool SyncMove(const std::wstring& target)
{
    const Handle file(::CreateFileW(target.c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file.IsOpen() ? ::FlushFileBuffers(file.Get()) != 0 : IsInUse(::GetLastError());
}

// Whoever has the old file open keeps it in place, mostly for moments.
bool MoveOver(const std::wstring& target, bool isThere, bool isAlike, Draft& draft,
              bool isSynchronised)
{
    constexpr int longestMs = 2000;
    constexpr DWORD pauseMs = 20;
    // `ReplaceFileW` may fail when the old file is away already: then there is only the draft.
    const auto tryIt = [&](bool byReplacing) {
        return (byReplacing && Replace(target, draft.Path())) || Move(target, draft.Path());
    };
    Wait wait(longestMs);
    for (bool isLast = false; !tryIt(isThere && (!isAlike || isLast)); isLast = wait.IsOver()) {
        if (isLast || !IsInUse(::GetLastError()))
            return false;
        ::Sleep(pauseMs);
    }
    draft.Release();
    return !isSynchronised || SyncMove(target);
}

} // namespace

FileReplacement::FileReplacement(const WChar* path, ESync sync)
    : m_state(std::make_unique<State>())
{
    State& state = *m_state;
    state.sync = sync;
    const DWORD attributes = ::GetFileAttributesW(path);
    state.isThere = attributes != INVALID_FILE_ATTRIBUTES;
    // What the system fails to look at may be there. A link that leads nowhere is refused.
    if (!state.isThere && !IsMissing(::GetLastError()))
        return;
    state.target = state.isThere ? ResolveLinks(path, attributes) : path;
    if (state.target.empty() || (state.isThere && IsRefused(state.target)))
        return;
    Handle file = state.draft.Make(FolderOf(state.target), NameOf(state.target));
    state.isBeside = file.IsOpen();
    if (!state.isBeside && state.isThere && OpenTarget(state.target).IsOpen())
        file = state.draft.Make(TemporaryFolder(), NameOf(state.target));
    if (file.IsOpen())
        state.stream = StreamOn(std::move(file));
}

FileReplacement::~FileReplacement() = default;

std::FILE* FileReplacement::Stream() const noexcept
{
    return m_state->stream.get();
}

WideText FileReplacement::Path() const
{
    return m_state->stream ? m_state->draft.Path() : WideText();
}

bool FileReplacement::Commit() noexcept
{
    State& state = *m_state;
    std::FILE* const stream = state.stream.get();
    if (stream == nullptr || std::ferror(stream) != 0 || std::fflush(stream) != 0)
        return false;
    const bool isSynchronised = state.sync == ESync::Yes;
    const bool isAlike = !state.isBeside || !state.isThere ||
                         CopyProperties(state.target, state.draft.Path(), _fileno(stream));
    const bool isReady = state.isBeside ? !isSynchronised || SyncFile(_fileno(stream))
                                        : WriteOver(state.target, stream, isSynchronised);
    return std::fclose(state.stream.release()) == 0 && isReady &&
           (!state.isBeside ||
            MoveOver(state.target, state.isThere, isAlike, state.draft, isSynchronised));
}

} // namespace platform
