#pragma once

#include <filesystem>

/// A file that is kept with the tests: what the library wrote is compared with it.
inline std::filesystem::path GoldenFile(const char* name)
{
    return std::filesystem::path(QD_GOLDEN_FOLDER) / name;
}
