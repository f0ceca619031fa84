#include "core/archive/BArchive.h"
#include "core/archive/Encoding.h"
#include "core/platform/CodePage.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeBeside.h"
#include "core/tree/NodePayload.h"

#include <cstring>
#include <new>
#include <string>
#include <typeinfo>
#include <utility>

// A reference may lead to a record that is not read yet, so reading takes two steps: `Read` keeps
// the indices, and `UpdateAssociations` turns them into objects. They are kept in memory of the
// archive, as a node with lists for them would carry these all its life.

namespace {

using NNode::kActiveFlag;
using NNode::kLockedFlag;
using NNode::kPayloadVersion;

template <typename List>
void WriteReferences(BArchive& archive, const List& list)
{
    archive << list.Count();
    for (const auto& entry : list)
        archive << static_cast<const BSmartObj*>(entry.Get());
}

// A text that gets no memory must not be saved, or loaded, as an empty one.
template <class To, class From>
To Converted(const From& text)
{
    To converted(text);
    if (converted.IsEmpty() && !text.IsEmpty())
        throw std::bad_alloc();
    return converted;
}

// A name without a block of the heap, where it is no longer than names are.
void WriteNarrow(BArchive& archive, const WString& text)
{
    char bytes[128];
    const std::size_t size = platform::WideToAnsi(text.CStr(), text.Length(), bytes, sizeof bytes);
    if (size > sizeof bytes || (size == 0 && !text.IsEmpty()))
        archive << Converted<BString>(text);
    else
        NArchive::WriteText(archive, {bytes, size});
}

// Null for an object that is no node.
BNode* AsNode(BSmartObj* object)
{
    if (object != nullptr && typeid(*object) == typeid(BNode)) // nearly always, and much cheaper
        return static_cast<BNode*>(object);
    return dynamic_cast<BNode*>(object);
}

// What `Read` keeps of a record: numbers, seven bits a byte, the lowest first (LEB128). All nodes
// of a document have theirs at one time, and nearly all numbers in them are small.
class Packer {
public:
    void Put(std::uint64_t number)
    {
        for (; number >= kMore; number >>= kBits)
            m_bytes.push_back(static_cast<char>((number & (kMore - 1)) | kMore));
        m_bytes.push_back(static_cast<char>(number));
    }
    [[nodiscard]] const std::string& Bytes() const noexcept { return m_bytes; }

private:
    static constexpr std::uint64_t kMore = 0x80; // another byte follows
    static constexpr int kBits = 7;
    friend class Unpacker;

    std::string m_bytes;
};

class Unpacker {
public:
    explicit Unpacker(const char* bytes) noexcept
        : m_next(bytes)
    {}
    [[nodiscard]] std::uint64_t Take() noexcept
    {
        std::uint64_t number = 0;
        for (int shift = 0;; shift += Packer::kBits) {
            const auto byte = static_cast<unsigned char>(*m_next++);
            number |= (byte & (Packer::kMore - 1)) << shift;
            if (byte < Packer::kMore)
                return number;
        }
    }
    [[nodiscard]] int TakeCount() noexcept { return static_cast<int>(Take()); }

private:
    const char* m_next;
};

} // namespace

void BNode::WriteData(BArchive& archive) const
{
    const Annotations none;
    const Annotations& annotated = Annotated() != nullptr ? *Annotated() : none;
    archive << m_object.Get();
    WriteReferences(archive, m_children);
    archive << m_attributes.Count();
    for (int i = 0; i < m_attributes.Count(); ++i)
        archive << static_cast<const BSmartObj*>(m_attributes.At(i));
    WriteNarrow(archive, m_text);
    archive << static_cast<const BSmartObj*>(m_parent);
    archive << static_cast<char>((m_isActive ? kActiveFlag : 0) | (m_isLocked ? kLockedFlag : 0));
    archive << m_text;
    WriteReferences(archive, annotated.list);
}

SP<BSmartObj> BNode::Read(BArchive& archive, int version)
{
    SP<BNode> node(new BNode);
    node->ReadDataOfVersion(archive, version);
    return node;
}

void BNode::ReadData(BArchive& archive)
{
    ReadDataOfVersion(archive, kPayloadVersion);
}

void BNode::ReadDataOfVersion(BArchive& archive, int nodeVersion)
{
    // Has the objects read, and keeps their indices.
    struct Target {
        BNode& node;
        BArchive& archive;
        Packer loading;

        void Object(std::uint64_t index)
        {
            loading.Put(index);
            archive.TakeOutLater(index);
        }
        void List(int, std::uint32_t count) { loading.Put(count); }
        void Entry(std::uint64_t index) { Object(index); }
        void Flags(char flags)
        {
            node.m_isActive = (flags & kActiveFlag) != 0;
            node.m_isLocked = (flags & kLockedFlag) != 0;
        }
        void NarrowText(BArchive& source)
        {
            BString narrowText;
            source >> narrowText;
            node.m_text = Converted<WString>(narrowText);
        }
        void Text(BArchive& source) { source >> node.m_text; }
    };
    Target target{*this, archive, {}};
    NNode::ReadPayload(archive, nodeVersion, target);
    const std::string& bytes = target.loading.Bytes();
    SetLoading(
        static_cast<char*>(std::memcpy(archive.Scratch(bytes.size()), bytes.data(), bytes.size())));
}

// A child that is above this node, or in a list already, is left out and the node refuses itself.
// So whatever a file declares, what comes out of the child lists are trees. A root that was found
// above once is left out wherever else it is named, as thousands may name it that stand thousands
// of levels below it. Objects and annotations may lead back here, also those that a derived class
// with a payload of its own sets afterwards: the archive has them let go if the application does
// not get them.
void BNode::UpdateAssociations(BArchive& archive)
{
    archive.OnRefusal(*this, [](BSmartObj& node) { static_cast<BNode&>(node).LetGo(); });
    const char* const bytes = TakeLoading();
    if (bytes == nullptr)
        return;
    Unpacker loading(bytes);
    const auto next = [&] { return archive.QueryObject(archive.IndexToPtr(loading.Take())); };
    m_object = next();
    int count = loading.TakeCount();
    m_children.Reserve(count);
    for (; count > 0; --count) {
        BNode* const child = AsNode(next().Get());
        if (child != nullptr && !child->m_isBelowItself && MayAdopt(*child)) {
            Append(*child);
            continue;
        }
        if (child != nullptr) {
            m_isSound = false;
            child->m_isBelowItself = child->m_parent == nullptr;
        }
        m_children.Append(nullptr);
    }
    count = loading.TakeCount();
    m_attributes.Reserve(m_attributes.Count() + count);
    for (; count > 0; --count)
        m_attributes.Append(dynamic_cast<BAttribute*>(next().Get()));
    for (count = loading.TakeCount(); count > 0; --count)
        MakeAnnotations().list.Append(next());
}

void BNode::SetLoading(const char* loading) noexcept
{
    if (Annotations* const annotations = Annotated()) {
        annotations->loading = loading;
        return;
    }
    m_loading = loading;
    m_isLoading = true;
}

const char* BNode::TakeLoading() noexcept
{
    if (!m_isLoading)
        return m_annotations != nullptr ? std::exchange(m_annotations->loading, nullptr) : nullptr;
    m_isLoading = false;
    const char* const loading = m_loading;
    m_annotations = nullptr;
    return loading;
}

void BNode::LetGo()
{
    const SP<BSmartObj> object = std::move(m_object);
    const ChildList children = TakeChildren();
    const AttributeList attributes = std::move(m_attributes);
    AnnotationList annotations;
    if (Annotations* const annotated = Annotated()) {
        ++annotated->changes;
        annotations = std::move(annotated->list);
    }
}

bool BNode::VerifyObj()
{
    return m_isSound;
}

int BNode::Version() const
{
    return kPayloadVersion;
}
