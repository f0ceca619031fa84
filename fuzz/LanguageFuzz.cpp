// The input is a language file. What it held must come back when it is exported and read again.

#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace {

using Path = std::filesystem::path;

WString Name(const Path& path)
{
    return path.string<WChar>().c_str();
}

std::string Bytes(const Path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Of this process alone.
Path FileName(const std::string& suffix)
{
    static const std::string number = std::to_string(std::random_device()());
    const std::string name = "qd-fuzz-" + number + suffix;
    return std::filesystem::temp_directory_path() / Path::string_type(name.begin(), name.end());
}

void Require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Path input = FileName(".lng"), written = FileName("-again.lng");
    std::ofstream(input, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));

    BLanguageMap map, again;
    WString log;
    const int result = map.ImportMapFile(Name(input), &log, true, false);
    Require(result == kErrorNone || result == kErrorLanguageLines);
    Require(map.ExportMapFile(Name(written)) == kErrorNone);
    const int readAgain = again.ImportMapFile(Name(written), nullptr, false, false);
    // A text that stands twice is told of again.
    Require(readAgain == kErrorNone || readAgain == kErrorLanguageLines);
    Require(again.StdDefaultMap().Count() == map.StdDefaultMap().Count());
    const std::string bytes = Bytes(written);
    Require(again.ExportMapFile(Name(written)) == kErrorNone);
    Require(Bytes(written) == bytes);
    static_cast<void>(map.TranslateExt(log));
    std::filesystem::remove(input);
    std::filesystem::remove(written);
    return 0;
}
