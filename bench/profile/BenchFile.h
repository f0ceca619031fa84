#pragma once

#include "core/base/WString.h"

#include <filesystem>
#include <string>

/// A file among the temporary ones, gone at its end.
class BenchFile {
public:
    explicit BenchFile(const char* name)
        : m_path(std::filesystem::temp_directory_path() / name)
    {}
    BenchFile(const BenchFile&) = delete;
    BenchFile& operator=(const BenchFile&) = delete;
    ~BenchFile() { std::filesystem::remove(m_path); }

    [[nodiscard]] WString Wide() const { return m_path.string<WChar>().c_str(); }
    [[nodiscard]] std::string Narrow() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};
