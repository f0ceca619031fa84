#include "core/sync/BCriticalSection.h"

#include "core/platform/CriticalSection.h"

BCriticalSection::BCriticalSection(CRITICAL_SECTION* section)
    : m_section(section)
{
    platform::EnterSection(*m_section);
}

BCriticalSection::~BCriticalSection()
{
    platform::LeaveSection(*m_section);
}
