#include "core/platform/CriticalSection.h"

#include <windows.h>
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
    ::LeaveCriticalSection(&section);
}

} // namespace platform
