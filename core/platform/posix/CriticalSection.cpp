#include "core/platform/CriticalSection.h"

#include <memory>
#include <new>

namespace platform {

CriticalSection::CriticalSection() noexcept
{
    static_assert(sizeof(CRITICAL_SECTION) <= kSize &&
                  alignof(CRITICAL_SECTION) <= alignof(CriticalSection));
    new (m_storage) CRITICAL_SECTION;
}

CriticalSection::CriticalSection(const CriticalSection&) noexcept
    : CriticalSection()
{}

CriticalSection::~CriticalSection()
{
    std::destroy_at(Get());
}

CRITICAL_SECTION* CriticalSection::Get() const noexcept
{
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(m_storage));
}

void EnterSection(CRITICAL_SECTION& section)
{
    section.mutex.lock();
}

void LeaveSection(CRITICAL_SECTION& section)
{
    section.mutex.unlock();
}

} // namespace platform
