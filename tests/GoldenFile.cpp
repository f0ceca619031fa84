#include "tests/FileBytes.h"

std::filesystem::path GoldenFile(const char* name)
{
    return std::filesystem::path(QD_GOLDEN_FOLDER) / name;
}
