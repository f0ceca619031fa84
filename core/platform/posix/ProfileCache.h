#pragma once

#include "core/platform/OwnerCount.h"
#include "core/platform/posix/ProfileFile.h"

#include <list>
#include <mutex>

namespace platform {

/// The profiles that were used last, for the whole process. All but `Instance` and `Lock` take that
/// lock being held.
class ProfileCache {
public:
    // Never destroyed: objects that go when the process ends may still read settings.
    static ProfileCache& Instance()
    {
        static ProfileCache& instance = *new ProfileCache;
        return instance;
    }

    [[nodiscard]] std::unique_lock<std::mutex> Lock()
    {
        return IsOnlyThread() ? std::unique_lock<std::mutex>() : std::unique_lock(m_lock);
    }

    /// The profile as the file has it now, good until the lock is given back; `state` tells why it
    /// is null.
    ProfileFile* Get(WideView path, ProfileFile::ELoad& state)
    {
        // Most programs read one profile, key by key.
        if (!m_files.empty() && HasSameUnits(m_files.front().Path(), path) &&
            m_files.front().IsCurrent())
            return &m_files.front();
        return GetOther(path, state);
    }

    /// The same, taken out, as a list of one: who changes it and fails lets it go, so that no
    /// change stays that the file does not have. One that is missing is empty.
    std::list<ProfileFile> Take(WideView path, ProfileFile::ELoad& state);

    /// Takes what `Take` gave, and lets the one go that was used longest ago.
    void Keep(std::list<ProfileFile>& taken);

private:
    ProfileCache();
    ProfileFile* GetOther(WideView path, ProfileFile::ELoad& state);

    static std::mutex m_lock;
    std::list<ProfileFile> m_files; // the latest first; guarded by m_lock
};

} // namespace platform
