#include "tests/profile/TestRegistry.h"

#if __has_include(<windows.h>)
# include <windows.h>

TestRegistry::TestRegistry()
{
    m_path.Printf(QD_W("Software\\qd.core test %lu"), ::GetCurrentProcessId());
}

TestRegistry::~TestRegistry()
{
    ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path);
}
#else
# include <cstdlib>

TestRegistry::TestRegistry()
    : m_path(QD_W("Software\\qd.core test"))
{
    ::setenv("QD_REGISTRY", (m_folder / "registry.db").c_str(), 1);
}

TestRegistry::~TestRegistry()
{
    ::unsetenv("QD_REGISTRY");
}
#endif
