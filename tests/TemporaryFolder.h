#pragma once

#include "core/base/WString.h"

#include <filesystem>
#include <random>
#include <string>

/// A folder of its own for one test, removed with what it holds at the end.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::random_device device;
        do {
            m_path =
                std::filesystem::temp_directory_path() / Native("qd-" + std::to_string(device()));
        } while (!std::filesystem::create_directory(m_path));
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] std::filesystem::path operator/(const char* name) const
    {
        return m_path / Native(name);
    }

    /// The full name of `name` in the folder, as the library takes it.
    [[nodiscard]] WString Path(const char* name) const { return ToWide(*this / name); }

    [[nodiscard]] static WString ToWide(const std::filesystem::path& path)
    {
        return WString(path.string<WChar>().c_str());
    }

private:
    // ASCII only. The standard library's own conversion does not link against the UCRT: MinGW's
    // libstdc++ was built with another mbstate_t.
    [[nodiscard]] static std::filesystem::path Native(const std::string& name)
    {
        return std::filesystem::path::string_type(name.begin(), name.end());
    }

    std::filesystem::path m_path;
};
