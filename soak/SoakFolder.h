#pragma once

#include "core/file/StdPath.h"

#include <filesystem>
#include <random>
#include <string>

/// Where a check keeps its files; on either platform.

/// A folder for a run, removed at its end.
class SoakFolder {
public:
    explicit SoakFolder(const std::string& name)
        : m_path(std::filesystem::temp_directory_path() /
                 ("qd-" + name + '-' + std::to_string(std::random_device()())))
    {
        std::filesystem::create_directories(m_path);
    }
    ~SoakFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    SoakFolder(const SoakFolder&) = delete;
    SoakFolder& operator=(const SoakFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

inline WString Wide(const std::filesystem::path& path)
{
    return QDFromStdPath(path);
}

/// The drafts of unfinished saves in a folder and those in it.
inline int DraftCount(const std::filesystem::path& folder)
{
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        count +=
            (name.starts_with(".qd") || name.starts_with("qd")) && name.ends_with(".tmp") ? 1 : 0;
    }
    return count;
}
