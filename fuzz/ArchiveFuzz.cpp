// The input is an archive's file of the document class "Doc", with nodes, bit arrays and objects of
// an application's classes.

#include "core/archive/BArchive.h"
#include "core/base/ClassRegistry.h"
#include "core/geometry/BFColor.h"
#include "core/tree/BNode.h"

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

// An application's classes, whose names go into files. They stand in no namespace, as no class of
// an application does that was ever saved.

using Objects = std::vector<SP<BSmartObj>>; // by number; null where none could be read

constexpr int kItemVersion = 2;

// A count of things that take `size` bytes each in the record.
static std::uint64_t ReadCount(BArchive& archive, std::uint64_t size)
{
    int count = 0;
    archive >> count;
    if (count < 0 || static_cast<std::uint64_t>(count) > archive.BytesLeft() / size)
        throw ArchiveFormatFault;
    return static_cast<std::uint64_t>(count);
}

// What an application keeps beside the library's classes: a value of each type that there is, a
// list of references, and bytes as they stand. Version 1 had no colour.
struct Content {
    void Write(BArchive& archive, const Objects& objects) const
    {
        archive << narrow << wide << number << real << letter << unit << large << colour;
        archive << static_cast<int>(objects.size());
        for (const SP<BSmartObj>& object : objects)
            archive << object.Get();
        archive << static_cast<int>(bytes.size());
        archive.WriteMemoryBlock(bytes.data(), bytes.size());
    }

    void Read(BArchive& archive, int version)
    {
        archive >> narrow >> wide >> number >> real >> letter >> unit >> large;
        if (version >= kItemVersion)
            archive >> colour;
        for (std::uint64_t count = ReadCount(archive, sizeof(std::uint32_t)); count > 0; --count) {
            void* index = nullptr;
            archive >> index;
            indices.push_back(index);
            archive.TakeOutLater(reinterpret_cast<std::uintptr_t>(index));
        }
        bytes.resize(ReadCount(archive, 1));
        Require(archive.ReadMemoryBlock(bytes.data(), bytes.size()));
    }

    [[nodiscard]] Objects Resolve(BArchive& archive)
    {
        Objects objects;
        for (void* index : indices)
            objects.push_back(archive.QueryObject(index));
        indices.clear();
        return objects;
    }

    BString narrow;
    WString wide;
    int number = 0;
    double real = 0;
    char letter = 0;
    unsigned short unit = 0;
    std::int64_t large = 0;
    BFColor colour;
    std::vector<char> bytes;
    std::vector<void*> indices; // until associations are updated
};

// An object of its own, and an attribute of nodes. A number of -666 is what it cannot stand for.
class Item : public BAttribute {
public:
    WString Name() const override { return m_content.wide; }
    void WriteData(BArchive& archive) const override { m_content.Write(archive, m_links); }
    void UpdateAssociations(BArchive& archive) override
    {
        archive.OnRefusal(*this, [](BSmartObj& item) { dynamic_cast<Item&>(item).Clear(); });
        m_links = m_content.Resolve(archive);
    }
    bool VerifyObj() override { return m_content.number != -666; }
    int Version() const override { return kItemVersion; }
    void Clear() { const Objects links = std::exchange(m_links, {}); }

    static SP<BSmartObj> Read(BArchive& archive, int version)
    {
        const SP<Item> item(new Item);
        item->m_content.Read(archive, version);
        return item;
    }

private:
    Content m_content;
    Objects m_links;
};

// A node with a payload of its own behind that of its base. What it refers to becomes annotations.
class Part : public BNode {
public:
    void WriteData(BArchive& archive) const override
    {
        BNode::WriteData(archive);
        m_content.Write(archive, {});
    }
    void UpdateAssociations(BArchive& archive) override
    {
        BNode::UpdateAssociations(archive);
        for (const SP<BSmartObj>& object : m_content.Resolve(archive))
            AddAnnotation(object.Get());
    }
    int Version() const override { return kItemVersion; }

    static SP<BSmartObj> Read(BArchive& archive, int version)
    {
        const SP<Part> part(new Part);
        part->ReadData(archive);
        part->m_content.Read(archive, version);
        return part;
    }

private:
    Content m_content;
};

// An object that takes another one out while it is read, as long as there is one.
class Eager : public BSmartObj {
public:
    void WriteData(BArchive& archive) const override { archive << m_number << m_next.Get(); }
    void UpdateAssociations(BArchive& archive) override
    {
        archive.OnRefusal(*this, [](BSmartObj& eager) { static_cast<Eager&>(eager).Clear(); });
    }
    void Clear() { const SP<BSmartObj> next = std::move(m_next); }

    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        const SP<Eager> eager(new Eager);
        void* index = nullptr;
        archive >> eager->m_number >> index;
        eager->m_next = archive.TakeOut(Id(reinterpret_cast<std::uintptr_t>(index)));
        return eager;
    }

private:
    int m_number = 0;
    SP<BSmartObj> m_next;
};

namespace {

const bool g_registered = [] {
    RegisterArchiveCallback("class Item", &Item::Read);
    RegisterArchiveCallback("class Part", &Part::Read);
    RegisterArchiveCallback("class Eager", &Eager::Read);
    return true;
}();

constexpr int kTaken = 8;

// Those under the numbers 1 and up, with what stands before them.
Objects Load(BArchive& archive, const std::string& prefix)
{
    Objects objects;
    for (int number = 1; number <= kTaken; ++number)
        objects.push_back(archive.TakeOut((prefix + static_cast<char>('0' + number)).c_str()));
    return objects;
}

// Breaks the circles that objects may make, as an application has to. Whatever was rebuilt has its
// index text somewhere in the file: tag "S", 4-byte length, the index in hexadecimal.
void Clear(BArchive& archive, std::string_view bytes)
{
    constexpr std::size_t kDigits = 5; // behind the tag and the length
    for (std::size_t at = bytes.find('S'); at < bytes.size(); at = bytes.find('S', at + 1)) {
        const std::string_view text = bytes.substr((std::min)(at + kDigits, bytes.size()));
        std::uint64_t index = 0;
        const char* const end = text.data() + (std::min)(text.size(), std::size_t{16});
        if (std::from_chars(text.data(), end, index, 16).ec != std::errc())
            continue;
        const SP<BSmartObj> object = archive.QueryObject(archive.IndexToPtr(index));
        if (auto* const node = dynamic_cast<BNode*>(object.Get()))
            node->Clear();
        else if (auto* const item = dynamic_cast<Item*>(object.Get()))
            item->Clear();
        else if (auto* const eager = dynamic_cast<Eager*>(object.Get()))
            eager->Clear();
    }
}

std::string Save(const Objects& objects, const TemporaryFolder& folder, const char* name)
{
    {
        BArchive archive(folder.Path(name), BArchive::ModeWrite, "class Doc", 0);
        for (std::size_t i = 0; i < objects.size(); ++i)
            archive.Insert(objects[i].Get(), ("label" + std::to_string(i + 1)).c_str());
        Require(archive.Flush());
    }
    return FileBytes(folder / name);
}

// Saves all that the file `name` gives under the name `next`, and returns what stands there.
std::string Reload(const TemporaryFolder& folder, const std::string& bytes, const char* name,
                   const char* prefix, const char* next)
{
    BArchive archive(folder.Path(name), BArchive::ModeRead, "class Doc", 0);
    const Objects objects = Load(archive, prefix);
    static_cast<void>(archive.VerifyObjects());
    static_cast<void>(archive.Problem().Text());
    std::string saved = Save(objects, folder, next);
    Clear(archive, bytes);
    return saved;
}

} // namespace

// What was saved, loaded and saved again stays as it is. The first time a node may bring along a
// parent that nothing else leads to, so that it is not loaded again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    const HeapBound bound(size);
    const std::string input(data, data + size);
    WriteFileBytes(folder / "input", input);
    const std::string first = Reload(folder, input, "input", "", "first");
    if (!IsNew(first))
        return 0;
    const std::string second = Reload(folder, first, "first", "label", "second");
    Require(second == first || Reload(folder, second, "second", "label", "third") == second);
    return 0;
}
