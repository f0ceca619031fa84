#include "core/platform/CriticalSection.h"

#include <windows.h>
#include <cassert>
#include <new>

namespace platform {

CriticalSection::CriticalSection() noexcept
{
    static_assert(sizeof(CRITICAL_SECTION) == kSize &&
                  alignof(CRITICAL_SECTION) <= alignof(CriticalSection));
    ::InitializeCriticalSection(new (m_storage) CRITICAL_SECTION);
}

CriticalSection::CriticalSection(const CriticalSection&) noexcept
    : CriticalSection()
{}

CriticalSection::~CriticalSection()
{
    ::DeleteCriticalSection(Get());
}

CRITICAL_SECTION* CriticalSection::Get() const noexcept
{
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(m_storage));
}

void EnterSection(CRITICAL_SECTION& section)
{
    ::EnterCriticalSection(&section);
}

void LeaveSection(CRITICAL_SECTION& section)
{
    // Only the thread that is inside may leave; the system does not say when another one does.
    assert(::HandleToULong(section.OwningThread) == ::GetCurrentThreadId());
    ::LeaveCriticalSection(&section);
}

} // namespace platform
