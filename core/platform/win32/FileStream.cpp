#include "core/platform/FileStream.h"

#include "core/platform/AppendedLines.h"
#include "core/platform/Wait.h"
#include "core/platform/win32/Handle.h"
#include "core/platform/win32/InvalidParameters.h"

#include <windows.h>
#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <io.h>
#include <share.h>
#include <utility>

// The runtime library's streams. Three things are done about them: a mode that it does not know
// must fail rather than end the process; who opens a text to append reads its mark first, in an
// opening of its own, so that others must be kept out for both; and who moves a file to its name
// has it open for a moment under the new one, where the runtime library's streams bear no one who
// may delete their file. So whoever opens a file that is saved meanwhile would be refused now and
// then.
namespace platform {

namespace {

bool IsReading(const WChar* mode)
{
    return mode[std::wcsspn(mode, L" ")] == L'r' && !std::wcschr(mode, L'+');
}

// Whether a stream can be opened as soon as somebody has moved or deleted the file: one who lets it
// be deleted is not refused.
bool IsPassing(const WChar* path, bool isReading)
{
    const Handle file(::CreateFileW(path, GENERIC_READ | (isReading ? 0 : GENERIC_WRITE),
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file.IsOpen() || ::GetLastError() != ERROR_SHARING_VIOLATION;
}

} // namespace

Stream OpenStream(const WChar* path, const WChar* mode) noexcept
{
    constexpr int longestMs = 2000;
    const InvalidParametersFail modeMayBeInvalid;
    for (Wait wait(longestMs);;) {
        ::SetLastError(ERROR_SUCCESS);
        Stream stream(_wfopen(path, mode));
        const DWORD error = ::GetLastError();
        if (stream || error != ERROR_SHARING_VIOLATION || wait.IsOver() ||
            !IsPassing(path, IsReading(mode))) {
            ::SetLastError(error);
            return stream;
        }
        ::Sleep(1);
    }
}

namespace {

// The runtime library opens a text file twice to append to it, once to read its mark. Where another
// stream ends between the two, the mark is taken for missing. So those who open take turns, and
// open when no other stream is there.
class Turn {
public:
    Turn()
        : m_mutex(::CreateMutexW(nullptr, FALSE, L"Local\\qd.core.OpenStreamAlone"))
    {
        if (m_mutex.IsOpen())
            ::WaitForSingleObject(m_mutex.Get(), INFINITE);
    }
    ~Turn()
    {
        if (m_mutex.IsOpen())
            ::ReleaseMutex(m_mutex.Get());
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    Handle m_mutex;
};

bool IsInUse(const WChar* path, bool isReading)
{
    const Handle file(::CreateFileW(path, GENERIC_READ, isReading ? FILE_SHARE_READ : 0, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return !file.IsOpen() && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

} // namespace

Stream OpenStreamAlone(const WChar* path, const WChar* mode, int waitMs) noexcept
{
    // Sharing as `_wfopen_s` has it, said aloud: not every version of the runtime library keeps it.
    const bool isReading = IsReading(mode);
    const int sharing = isReading ? _SH_DENYWR : _SH_DENYRW;
    const InvalidParametersFail modeMayBeInvalid;
    for (Wait wait(waitMs);;) {
        {
            const Turn turn;
            if (!IsInUse(path, isReading)) {
                ::SetLastError(ERROR_SUCCESS);
                Stream stream(_wfsopen(path, mode, sharing));
                // Who takes no turn may have come between.
                if (stream || ::GetLastError() != ERROR_SHARING_VIOLATION)
                    return stream;
            }
        }
        if (wait.IsOver())
            return nullptr;
        ::Sleep(1);
    }
}

bool AppendLines(const WChar* path, int waitMs, const std::function<const WChar*()>& next)
{
    const bool isTorn = EndsInHalfUnit(path); // the stream that appends does not tell
    Stream stream = OpenStreamAlone(path, L"at,ccs=UNICODE", waitMs);
    if (!stream)
        return false;
    std::int64_t before = _filelengthi64(_fileno(stream.get()));
    // Keeps others out until what a failure leaves is cut off.
    const int kept = before < 0 ? -1 : _dup(_fileno(stream.get()));
    if (kept < 0)
        return false;
    const bool isCut = !isTorn || before % 2 == 0 || _chsize_s(kept, --before) == 0;
    const bool isWritten = isCut && WriteLines(std::move(stream), next);
    const LastErrorStays stays;
    if (!isWritten)
        static_cast<void>(_chsize_s(kept, before));
    _close(kept);
    return isWritten;
}

bool ReadText(std::FILE* stream, WChar* buffer, int room) noexcept
{
    return std::fgetws(buffer, room, stream) != nullptr;
}

bool WriteText(std::FILE* stream, const WChar* text) noexcept
{
    // The failure is WEOF, which is no negative number here.
    const int result = std::fputws(text, stream);
    return result >= 0 && result != WEOF;
}

std::optional<std::uint64_t> FileSize(std::FILE* stream) noexcept
{
    const std::int64_t size = _filelengthi64(_fileno(stream));
    return size < 0 ? std::nullopt : std::optional(static_cast<std::uint64_t>(size));
}

bool Seek(std::FILE* stream, std::uint64_t position) noexcept
{
    return position <= INT64_MAX &&
           _fseeki64(stream, static_cast<std::int64_t>(position), SEEK_SET) == 0;
}

bool Truncate(std::FILE* stream, std::uint64_t size) noexcept
{
    return Seek(stream, size) && _chsize_s(_fileno(stream), static_cast<std::int64_t>(size)) == 0;
}

} // namespace platform
