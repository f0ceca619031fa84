#pragma once

#include <filesystem>

/// A file that is kept with the tests: what the library wrote is compared with it.
std::filesystem::path GoldenFile(const char* name);
