#include "tests/profile/TestRegistry.h"

#include <windows.h>

TestRegistry::TestRegistry()
{
    m_path.Printf(QD_W("Software\\qd.core test %lu"), ::GetCurrentProcessId());
}

TestRegistry::~TestRegistry()
{
    ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path);
}
