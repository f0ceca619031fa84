#include "core/platform/SystemError.h"

#include <cerrno>
#include <cuchar>
#include <system_error>

namespace platform {

namespace {

/// From the encoding of the process's locale, in which the system speaks.
WideText ToWide(const std::string& text)
{
    WideText wide;
    std::mbstate_t state{};
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        WChar unit;
        const std::size_t used =
            std::mbrtoc16(&unit, at, static_cast<std::size_t>(end - at), &state);
        if (used == static_cast<std::size_t>(-1) || used == static_cast<std::size_t>(-2))
            break;
        wide += unit;
        if (used != static_cast<std::size_t>(-3)) // the second half of a pair takes no bytes
            at += used;
    }
    return wide;
}

} // namespace

int LastErrorCode() noexcept
{
    return errno;
}

void SetLastErrorCode(int code) noexcept
{
    errno = code;
}

EFailure FailureOf(int code) noexcept
{
    switch (code) {
    case 0: return EFailure::None;
    case ENOENT:
    case ENOTDIR: return EFailure::Missing;
    case EACCES:
    case EPERM:
    case EROFS: return EFailure::Denied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return EFailure::NoRoom;
    case ENOMEM: return EFailure::NoMemory;
    case EAGAIN:
    case EBUSY:
    case ETXTBSY: return EFailure::InUse;
    default: return EFailure::Other;
    }
}

int CodeOf(EFailure failure) noexcept
{
    switch (failure) {
    case EFailure::None: return 0;
    case EFailure::Missing: return ENOENT;
    case EFailure::Denied: return EACCES;
    case EFailure::NoRoom: return ENOSPC;
    case EFailure::NoMemory: return ENOMEM;
    case EFailure::InUse: return EBUSY;
    case EFailure::Other: break;
    }
    return EIO;
}

WideText ErrorText(int code)
{
    return ToWide(std::system_category().message(code));
}

} // namespace platform
