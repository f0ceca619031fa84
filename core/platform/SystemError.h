#pragma once

#include "core/platform/WideText.h"

namespace platform {

/// The calling thread's last error (`GetLastError`, `errno`), to be read before anything else can
/// change it; 0 for none.
[[nodiscard]] int LastErrorCode() noexcept;
void SetLastErrorCode(int code) noexcept;

/// Keeps the last error while what has failed is cleaned up, which may fail or succeed itself.
class LastErrorStays {
public:
    LastErrorStays() noexcept = default;
    LastErrorStays(const LastErrorStays&) = delete;
    LastErrorStays& operator=(const LastErrorStays&) = delete;
    ~LastErrorStays() { SetLastErrorCode(m_code); }

private:
    int m_code = LastErrorCode();
};

/// What a caller can do something about.
enum class EFailure {
    None,
    Missing, // no such file or folder
    Denied,  // no right to it, or it can only be read
    NoRoom,  // on the disk, or within a quota or a limit
    NoMemory,
    InUse, // by another process
    Other,
};
[[nodiscard]] EFailure FailureOf(int code) noexcept;

/// A code for a failure that the system has not told itself.
[[nodiscard]] int CodeOf(EFailure failure) noexcept;

/// The system's text for an error; empty when it has none.
[[nodiscard]] WideText ErrorText(int code);
[[nodiscard]] inline WideText LastErrorText()
{
    return ErrorText(LastErrorCode());
}

} // namespace platform
