#pragma once

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

/// A number as it stands in a file.
template <class T>
std::string BytesOf(T number)
{
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

inline std::string FileBytes(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string bytes(file ? static_cast<std::size_t>(file.tellg()) : 0, '\0');
    file.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

inline void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// Bytes 0 to 127 as a file of UTF-16 has them, behind a mark.
inline std::string Utf16(std::string_view text, std::string_view mark = "\xFF\xFE")
{
    std::string bytes(mark);
    for (const char character : text)
        bytes.append({character, '\0'});
    return bytes;
}

/// A file that is kept with the tests: what the library wrote is compared with it.
std::filesystem::path GoldenFile(const char* name);
