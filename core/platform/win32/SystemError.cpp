#include "core/platform/SystemError.h"

#include <windows.h>
#include <memory>

namespace platform {

namespace {

constexpr int kDiskQuotaExceeded = 1295; // not every version of the headers names it

struct LocalDeleter {
    void operator()(WChar* text) const noexcept { ::LocalFree(text); }
};

} // namespace

int LastErrorCode() noexcept
{
    return static_cast<int>(::GetLastError());
}

void SetLastErrorCode(int code) noexcept
{
    ::SetLastError(static_cast<DWORD>(code));
}

EFailure FailureOf(int code) noexcept
{
    switch (code) {
    case ERROR_SUCCESS: return EFailure::None;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME: return EFailure::Missing;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_PRIVILEGE_NOT_HELD: return EFailure::Denied;
    case ERROR_HANDLE_DISK_FULL:
    case ERROR_DISK_FULL:
    case kDiskQuotaExceeded:
    case ERROR_FILE_TOO_LARGE: return EFailure::NoRoom;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: return EFailure::NoMemory;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_BUSY: return EFailure::InUse;
    default: return EFailure::Other;
    }
}

int CodeOf(EFailure failure) noexcept
{
    switch (failure) {
    case EFailure::None: return ERROR_SUCCESS;
    case EFailure::Missing: return ERROR_FILE_NOT_FOUND;
    case EFailure::Denied: return ERROR_ACCESS_DENIED;
    case EFailure::NoRoom: return ERROR_DISK_FULL;
    case EFailure::NoMemory: return ERROR_NOT_ENOUGH_MEMORY;
    case EFailure::InUse: return ERROR_BUSY;
    case EFailure::Other: break;
    }
    return ERROR_GEN_FAILURE;
}

WideText ErrorText(int code)
{
    constexpr DWORD flags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
    WChar* text = nullptr;
    // The system takes the address of a pointer where it otherwise takes a buffer.
    const DWORD length = ::FormatMessageW(flags, nullptr, static_cast<DWORD>(code),
                                          MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                          reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    const std::unique_ptr<WChar, LocalDeleter> owner(text);
    return length != 0 ? WideText(text, length) : WideText();
}

} // namespace platform
