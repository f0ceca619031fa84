#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

/// Another process that works on until it is killed.
class OtherProcess {
public:
    /// It does `work`; where a process cannot go on in two, this program is started anew with
    /// `arguments` behind its name, which have to come to the same.
    OtherProcess(const std::function<void()>& work, const std::string& arguments);
    /// Kills it at once; false when it ended by itself before.
    bool Kill();

private:
    std::intptr_t m_process;
};

/// From now on the registry of this process lies in `folder`, where it is a file at all.
void KeepRegistryIn(const std::filesystem::path& folder);
