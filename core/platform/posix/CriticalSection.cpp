#include "core/platform/CriticalSection.h"

#include <cassert>
#include <memory>
#include <new>
#include <pthread.h>

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
    // Beside `unlock`, which tells nothing: only the thread that is inside may leave.
    [[maybe_unused]] const int error = ::pthread_mutex_unlock(section.mutex.native_handle());
    assert(error == 0);
}

} // namespace platform
