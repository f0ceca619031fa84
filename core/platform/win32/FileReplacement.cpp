#include "core/platform/FileReplacement.h"

#include "core/platform/FileStream.h"
#include "core/platform/win32/Handle.h"

#include <windows.h>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <random>
#include <string>

namespace platform {

struct FileReplacement::State {
    platform::Stream stream;
    std::wstring target;  // no link
    std::wstring sibling; // empty: the target is written in place
    bool isThere = false;
    ESync sync = ESync::Yes;
};

namespace {

// Where links lead to; `path` itself when there is nothing.
std::wstring ResolveLinks(const WChar* path)
{
    const Handle file(::CreateFileW(path, FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    constexpr DWORD longestPath = 0x8000;
    std::wstring resolved(longestPath, L'\0');
    const DWORD length =
        file.IsOpen() ? ::GetFinalPathNameByHandleW(file.Get(), resolved.data(), longestPath, 0)
                      : 0;
    if (length == 0 || length >= longestPath)
        return path;
    resolved.resize(length);
    return resolved;
}

std::wstring FolderOf(const std::wstring& path)
{
    return path.substr(0, path.find_last_of(L"/\\:") + 1);
}

Handle OpenNew(const std::wstring& path, DWORD disposition)
{
    return Handle(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, disposition,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

Handle OpenSibling(const std::wstring& target, std::wstring& sibling)
{
    constexpr int attempts = 100;
    std::random_device random;
    for (int i = 0; i < attempts; ++i) {
        sibling = FolderOf(target) + L"qd" + std::to_wstring(random()) + L".tmp";
        Handle file = OpenNew(sibling, CREATE_NEW);
        if (file.IsOpen())
            return file;
        if (::GetLastError() != ERROR_FILE_EXISTS)
            break;
    }
    sibling.clear();
    return {};
}

Stream StreamOn(Handle file)
{
    const int descriptor =
        _open_osfhandle(reinterpret_cast<std::intptr_t>(file.Get()), _O_WRONLY | _O_BINARY);
    if (descriptor < 0)
        return nullptr;
    file.Release();
    Stream stream(_fdopen(descriptor, "wb"));
    if (!stream)
        _close(descriptor);
    return stream;
}

} // namespace

FileReplacement::FileReplacement(const WChar* path, ESync sync)
    : m_state(std::make_unique<State>())
{
    State& state = *m_state;
    state.sync = sync;
    state.target = ResolveLinks(path);
    const DWORD attributes = ::GetFileAttributesW(state.target.c_str());
    state.isThere = attributes != INVALID_FILE_ATTRIBUTES;
    if (state.isThere && (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) != 0)
        return;
    Handle file = OpenSibling(state.target, state.sibling);
    if (!file.IsOpen())
        file = OpenNew(state.target, CREATE_ALWAYS);
    if (file.IsOpen())
        state.stream = StreamOn(std::move(file));
}

FileReplacement::~FileReplacement()
{
    m_state->stream.reset();
    if (!m_state->sibling.empty())
        ::DeleteFileW(m_state->sibling.c_str());
}

std::FILE* FileReplacement::Stream() const noexcept
{
    return m_state->stream.get();
}

bool FileReplacement::Commit() noexcept
{
    State& state = *m_state;
    std::FILE* const stream = state.stream.get();
    if (stream == nullptr || std::ferror(stream) != 0 || std::fflush(stream) != 0)
        return false;
    if (state.sync == ESync::Yes && _commit(_fileno(stream)) != 0)
        return false;
    if (std::fclose(state.stream.release()) != 0)
        return false;
    if (state.sibling.empty())
        return true;
    // The first keeps what belongs to the old file: its access list, its attributes, its date.
    const bool isMoved =
        (state.isThere && ::ReplaceFileW(state.target.c_str(), state.sibling.c_str(), nullptr,
                                         REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr)) ||
        ::MoveFileExW(state.sibling.c_str(), state.target.c_str(),
                      MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    if (isMoved)
        state.sibling.clear();
    return isMoved;
}

} // namespace platform
