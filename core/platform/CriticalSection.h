#pragma once

#include "core/platform/Export.h"
#include "core/platform/Types.h"

#include <cstddef>

namespace platform {

/// A critical section as a field of a class in a public header: a lock that its thread may take
/// again, and that must be free when it is destroyed. Entered with SectionGuard.
class QD_CORE_API CriticalSection {
public:
    CriticalSection() noexcept;
    /// A free section of its own: what guards one object does not guard its copy.
    CriticalSection(const CriticalSection& other) noexcept;
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned.
    CriticalSection& operator=(const CriticalSection&) noexcept { return *this; }
    ~CriticalSection();

    /// What the platform's functions take; good for the life of this object.
    [[nodiscard]] CRITICAL_SECTION* Get() const noexcept;

private:
    static constexpr std::size_t kSize = 40;

    alignas(8) mutable std::byte m_storage[kSize]; // a CRITICAL_SECTION
};

/// Waits until no other thread is inside `section`. Each entry asks for a leave of its own.
void EnterSection(CRITICAL_SECTION& section);
void LeaveSection(CRITICAL_SECTION& section);

/// Is inside `section` for the length of a block. Unlike BCriticalSection it is no counted object,
/// so that nobody draws a number of an object for each look at a guarded field.
class SectionGuard {
public:
    explicit SectionGuard(CRITICAL_SECTION* section)
        : m_section(*section)
    {
        EnterSection(m_section);
    }
    SectionGuard(const SectionGuard&) = delete;
    SectionGuard& operator=(const SectionGuard&) = delete;
    ~SectionGuard() { LeaveSection(m_section); }

private:
    CRITICAL_SECTION& m_section;
};

} // namespace platform
