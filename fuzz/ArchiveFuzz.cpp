// The input is an archive's file of the document class "Doc".

#include "core/archive/BArchive.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Objects = std::vector<SP<BSmartObj>>; // by number; null where none could be read

std::string NameOf(std::uint64_t number, const char* prefix)
{
    return prefix + std::string(BSmartObj::Id(number).CStr());
}

Objects Load(const WString& path, const char* prefix)
{
    BArchive archive(path, BArchive::ModeRead, "class Doc", 0);
    Objects objects;
    for (std::uint64_t number = 0; number < 32; ++number)
        objects.push_back(archive.TakeOut(NameOf(number, prefix).c_str()));
    return objects;
}

std::string Save(const Objects& objects, const TemporaryFolder& folder)
{
    {
        BArchive archive(folder.Path("saved"), BArchive::ModeWrite, "class Doc", 0);
        for (std::uint64_t number = 0; number < objects.size(); ++number)
            archive.Insert(objects[number].Get(), NameOf(number, "label").c_str());
        if (!archive.Flush())
            std::abort();
    }
    return FileBytes(folder / "saved");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    WriteFileBytes(folder / "input", std::string(data, data + size));
    const std::string saved = Save(Load(folder.Path("input"), ""), folder);
    if (Save(Load(folder.Path("saved"), "label"), folder) != saved)
        std::abort();
    return 0;
}
