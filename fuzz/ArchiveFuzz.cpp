// The input is an archive's file of the document class "Doc".

#include "core/archive/BArchive.h"
#include "core/tree/BNode.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Objects = std::vector<SP<BSmartObj>>; // by number; null where none could be read

std::string NameOf(std::uint64_t number, const char* prefix)
{
    return prefix + std::string(BSmartObj::Id(number).CStr());
}

Objects Load(BArchive& archive, const char* prefix)
{
    Objects objects;
    for (std::uint64_t number = 0; number < 32; ++number)
        objects.push_back(archive.TakeOut(NameOf(number, prefix).c_str()));
    return objects;
}

// Breaks the circles that nodes may make through objects and annotations, as an application has to.
// A reference stands somewhere in the file, so every number there may be a rebuilt object's index.
void Clear(BArchive& archive, const Objects& objects, const std::string& bytes)
{
    const auto clear = [](const SP<BSmartObj>& object) {
        if (auto* const node = dynamic_cast<BNode*>(object.Get()))
            node->Clear();
    };
    for (const SP<BSmartObj>& object : objects)
        clear(object);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const std::size_t size : {4U, 8U}) {
            std::uint64_t index = 0;
            std::memcpy(&index, bytes.data() + at, std::min(size, bytes.size() - at));
            clear(archive.QueryObject(archive.IndexToPtr(index)));
        }
    }
}

std::string Save(const Objects& objects, const TemporaryFolder& folder, const char* name)
{
    {
        BArchive archive(folder.Path(name), BArchive::ModeWrite, "class Doc", 0);
        for (std::uint64_t number = 0; number < objects.size(); ++number)
            archive.Insert(objects[number].Get(), NameOf(number, "label").c_str());
        if (!archive.Flush())
            std::abort();
    }
    return FileBytes(folder / name);
}

// Saves all that the file `name` gives under the name `next`, and returns what stands there.
std::string Reload(const TemporaryFolder& folder, const char* name, const char* prefix,
                   const char* next)
{
    const std::string bytes = FileBytes(folder / name);
    BArchive archive(folder.Path(name), BArchive::ModeRead, "class Doc", 0);
    const Objects objects = Load(archive, prefix);
    std::string saved = Save(objects, folder, next);
    Clear(archive, objects, bytes);
    return saved;
}

} // namespace

// What was saved, loaded and saved again stays as it is. The first time a node may bring along a
// parent that nothing else leads to, so that it is not loaded again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    WriteFileBytes(folder / "input", std::string(data, data + size));
    Reload(folder, "input", "", "first");
    const std::string second = Reload(folder, "first", "label", "second");
    if (Reload(folder, "second", "label", "third") != second)
        std::abort();
    return 0;
}
