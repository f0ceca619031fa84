// The input is a master language file, whose second half is the translated file. What was merged
// has the master's keys, and is the master of the same translation.

#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace {

struct Folder {
    explicit Folder(const TemporaryFolder& all, const char* name)
        : path(all / name)
    {
        std::filesystem::create_directory(path);
    }
    [[nodiscard]] WString Name() const { return TemporaryFolder::ToWide(path); }
    [[nodiscard]] std::filesystem::path File() const { return path / "x.lng"; }

    std::filesystem::path path;
};

std::uint64_t CountOfKeys(const Folder& folder)
{
    BLanguageMap map;
    static_cast<void>(
        map.ImportMapFile(TemporaryFolder::ToWide(folder.File()), nullptr, true, false));
    return map.StdDefaultMap().Count();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder all;
    static const Folder master(all, "master"), translation(all, "translation"),
        output(all, "output");
    const HeapBound bound(size);
    const std::string input(data, data + size);
    const std::size_t half = size / 4 * 2;
    WriteFileBytes(master.File(), input);
    const std::string translated = input.substr(0, 2 < half ? 2 : 0) + input.substr(half);
    WriteFileBytes(translation.File(), translated);

    int added = 0, addedAgain = 0;
    const auto merge = [](const Folder& from, int& count) {
        return BLanguageMap::MergeMapFile(from.Name(), translation.Name(), output.Name(),
                                          QD_W("x.lng"), count) == kErrorNone;
    };
    Require(merge(master, added) && CountOfKeys(output) == CountOfKeys(master));
    const std::string merged = FileBytes(output.File());
    if (!IsNew(merged + translated + std::to_string(added)))
        return 0;
    Require(merge(output, addedAgain) && addedAgain == added && FileBytes(output.File()) == merged);
    return 0;
}
