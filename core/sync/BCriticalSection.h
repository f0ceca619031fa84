#pragma once

#include "core/base/BSmartObj.h"
#include "core/platform/Export.h"
#include "core/platform/Types.h"

/// Holds a critical section for the length of a block. The section belongs to someone else, who
/// initialises it before and deletes it after; its thread may enter it again.
///
///     const BCriticalSection guard(&section);
///
/// A guard must not be copied.
class QD_CORE_API BCriticalSection : public BSmartObj {
public:
    /// Enters `section`, waiting as long as needed.
    explicit BCriticalSection(CRITICAL_SECTION* section);
    /// Intended: a copy knows the section but does not enter it, so that the section is left once
    /// more than it was entered when both are gone, which is asserted.
    BCriticalSection(const BCriticalSection& other) noexcept = default;
    BCriticalSection& operator=(const BCriticalSection& other) noexcept = default;
    /// Leaves the section.
    ~BCriticalSection() override;

private:
    CRITICAL_SECTION* m_section;
};
