#include "tests/profile/TestRegistry.h"

#include <cstdlib>

TestRegistry::TestRegistry()
    : m_path(QD_W("Software\\qd.core test"))
{
    ::setenv("QD_REGISTRY", (m_folder / "registry.db").c_str(), 1);
}

TestRegistry::~TestRegistry()
{
    ::unsetenv("QD_REGISTRY");
}
