#include "core/platform/posix/ProfileCache.h"

#include "core/platform/Thread.h"

#include <algorithm>
#include <cassert>

namespace platform {

constinit std::mutex ProfileCache::m_lock;

ProfileCache::ProfileCache()
{
    HoldAtFork<m_lock>();
}

ProfileFile* ProfileCache::GetOther(WideView path, ProfileFile::ELoad& state)
{
    std::list<ProfileFile> taken = Take(path, state);
    if (state != ProfileFile::ELoad::Loaded)
        return nullptr;
    Keep(taken);
    return &m_files.front();
}

std::list<ProfileFile> ProfileCache::Take(WideView path, ProfileFile::ELoad& state)
{
    std::list<ProfileFile> taken;
    const auto found = std::ranges::find(m_files, path, &ProfileFile::Path);
    if (found != m_files.end())
        taken.splice(taken.begin(), m_files, found);
    else
        taken.emplace_front(path);
    state = taken.front().Refresh();
    return taken;
}

void ProfileCache::Keep(std::list<ProfileFile>& taken)
{
    assert(taken.size() == 1);
    constexpr std::size_t most = 8; // an application has few, and a search for one is short
    m_files.splice(m_files.begin(), taken);
    if (m_files.size() > most)
        m_files.pop_back();
}

} // namespace platform
