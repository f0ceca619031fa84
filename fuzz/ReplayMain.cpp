// Stands in for libFuzzer: runs a target once on each file that the arguments name, and on each
// file of a folder that they name. File names are ASCII.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::string> FilesOf(std::string_view name)
{
    using Path = std::filesystem::path;
    const Path path = Path::string_type(name.begin(), name.end());
    if (!std::filesystem::is_directory(path))
        return {std::string(name)};
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        const Path::string_type& file = entry.path().native();
        files.emplace_back(file.begin(), file.end());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool Replay(const std::string& file)
{
    std::FILE* const stream = std::fopen(file.c_str(), "rb");
    if (!stream)
        return false;
    std::vector<std::uint8_t> bytes;
    for (int byte = std::fgetc(stream); byte != EOF; byte = std::fgetc(stream))
        bytes.push_back(static_cast<std::uint8_t>(byte));
    std::fclose(stream);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

} // namespace

int main(int count, char** arguments)
{
    int replayed = 0;
    for (int index = 1; index < count; ++index) {
        for (const std::string& file : FilesOf(arguments[index])) {
            if (!Replay(file)) {
                std::fprintf(stderr, "cannot read %s\n", file.c_str());
                return 1;
            }
            ++replayed;
        }
    }
    std::printf("replayed %d files\n", replayed);
    return replayed == 0;
}
