#include "tests/profile/TestRegistry.h"

#include "tests/TemporaryFolder.h"

#include <cstdlib>

struct TestRegistry::State {
    TemporaryFolder folder;
};

TestRegistry::TestRegistry()
    : m_state(std::make_unique<State>())
    , m_path(QD_W("Software\\qd.core test"))
{
    ::setenv("QD_REGISTRY", (m_state->folder / "registry.db").c_str(), 1);
}

TestRegistry::~TestRegistry()
{
    ::unsetenv("QD_REGISTRY");
}
