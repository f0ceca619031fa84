#include "soak/OtherProcess.h"

#include "soak/Processes.h"

#include <cstdlib>

OtherProcess::OtherProcess(const std::function<void()>& work, const std::string&)
    : m_process(Fork(work))
{}

bool OtherProcess::Kill()
{
    return ::Kill(static_cast<pid_t>(m_process));
}

void KeepRegistryIn(const std::filesystem::path& folder)
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
}
