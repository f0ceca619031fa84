#pragma once

#include "core/platform/posix/Descriptor.h"

#include <string>

namespace platform {

/// Keeps the others who update a profile waiting, threads and processes alike, while it lives.
class ProfileLock {
public:
    /// Waits up to 10 seconds for the others.
    explicit ProfileLock(const std::string& nativePath);
    ~ProfileLock();
    ProfileLock(const ProfileLock&) = delete;
    ProfileLock& operator=(const ProfileLock&) = delete;

    /// False when the others did not let go, and when nothing could be locked.
    [[nodiscard]] bool IsHeld() const noexcept { return m_isHeld; }

private:
    Descriptor m_file;
    bool m_isHeld = false;
};

} // namespace platform
