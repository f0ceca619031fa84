#pragma once

#include "core/base/WString.h"

#include <filesystem>
#include <string>
#include <unistd.h>

/// A file of this process among the temporary ones, gone at its end.
class BenchFile {
public:
    explicit BenchFile(const std::string& name)
        : m_path(std::filesystem::temp_directory_path() /
                 ("qd-bench-" + std::to_string(::getpid()) + name))
    {}
    BenchFile(const BenchFile&) = delete;
    BenchFile& operator=(const BenchFile&) = delete;
    ~BenchFile() { std::filesystem::remove(m_path); }

    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }
    [[nodiscard]] WString Wide() const { return m_path.string<WChar>().c_str(); }
    [[nodiscard]] std::string Narrow() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};
