#pragma once

#include <filesystem>
#include <vector>

/// The program of docs/platforms.md with its arguments, the name of the program left out; its exit
/// code.
int Run(const std::vector<std::filesystem::path>& arguments);
