#include "core/archive/BArchive.h"
#include "core/archive/Encoding.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeBeside.h"

#include <new>
#include <span>
#include <type_traits>
#include <typeinfo>
#include <utility>

// A node's payload, version 2 (the primitives are in BArchive.cpp):
//
//   object        reference
//   children      4-byte count, a reference each
//   attributes    4-byte count, a reference each
//   narrow text   BString: the text in the ANSI code page
//   parent        reference; written for older programs, ignored on reading
//   flags         1 byte: bit 0 active, bit 1 locked
//   text          WString; from version 1 on, before that the narrow text is the text
//   annotations   4-byte count, a reference each; from version 2 on
//
// A reference may lead to a record that is not read yet, so reading takes two steps: `Read` keeps
// the indices, and `UpdateAssociations` turns them into objects. They are kept in memory of the
// archive, as a node with lists for them would carry these all its life.

namespace {

constexpr int kPayloadVersion = 2;
constexpr char kActiveFlag = 1;
constexpr char kLockedFlag = 2;

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

// Null for an object that is no node.
BNode* AsNode(BSmartObj* object)
{
    if (object != nullptr && typeid(*object) == typeid(BNode)) // nearly always, and much cheaper
        return static_cast<BNode*>(object);
    return dynamic_cast<BNode*>(object);
}

std::uint64_t ReadReference(BArchive& archive)
{
    void* index = nullptr;
    archive >> index;
    return reinterpret_cast<std::uintptr_t>(index);
}

std::span<const std::uint64_t> ReadReferences(BArchive& archive)
{
    int count = 0;
    archive >> count;
    if (count < 0)
        count = 0;
    if (static_cast<std::uint64_t>(count) >
        archive.BytesLeft() / NArchive::ReferenceSize(archive.Version()))
        throw ArchiveFormatFault;
    const auto size = static_cast<std::size_t>(count);
    // As many as the record holds, so that a file does not ask for memory that it does not fill.
    auto* const indices =
        static_cast<std::uint64_t*>(archive.Scratch(size * sizeof(std::uint64_t)));
    for (std::size_t i = 0; i < size; ++i) {
        indices[i] = ReadReference(archive);
        archive.TakeOutLater(indices[i]);
    }
    return {indices, size};
}

} // namespace

// The indices in a node's record, from `Read` until they are objects. They live in the archive's
// scratch memory.
struct BNode::Loading {
    std::uint64_t object = 0;
    std::span<const std::uint64_t> children;
    std::span<const std::uint64_t> attributes;
    std::span<const std::uint64_t> annotations;
};

void BNode::WriteData(BArchive& archive) const
{
    const Beside none;
    const Beside& beside = m_beside ? *m_beside : none;
    archive << m_object.Get();
    WriteReferences(archive, m_children);
    WriteReferences(archive, beside.attributes);
    archive << Converted<BString>(m_text);
    archive << static_cast<const BSmartObj*>(m_parent);
    archive << static_cast<char>((m_isActive ? kActiveFlag : 0) | (m_isLocked ? kLockedFlag : 0));
    archive << m_text;
    WriteReferences(archive, beside.annotations);
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
    static_assert(std::is_trivially_destructible_v<Loading>, "the archive destroys nothing there");
    auto* const loading = new (archive.Scratch(sizeof(Loading))) Loading;
    loading->object = ReadReference(archive);
    archive.TakeOutLater(loading->object);
    loading->children = ReadReferences(archive);
    loading->attributes = ReadReferences(archive);
    const bool isNarrow = nodeVersion < 1;
    BString narrowText;
    if (isNarrow)
        archive >> narrowText;
    else
        archive.SkipText();
    static_cast<void>(ReadReference(archive)); // the parent: the list that names the node decides
    char flags = kActiveFlag;
    archive >> flags;
    m_isActive = (flags & kActiveFlag) != 0;
    m_isLocked = (flags & kLockedFlag) != 0;
    if (isNarrow)
        m_text = Converted<WString>(narrowText);
    else
        archive >> m_text;
    if (nodeVersion >= kPayloadVersion)
        loading->annotations = ReadReferences(archive);
    m_loading = loading;
}

// A child that is above this node, or in a list already, is left out and the node refuses itself.
// So whatever a file declares, what comes out of the child lists are trees. Objects and annotations
// may lead back here, also those that a derived class with a payload of its own sets afterwards:
// the archive has them let go if the application does not get them.
void BNode::UpdateAssociations(BArchive& archive)
{
    archive.OnRefusal(*this, [](BSmartObj& node) { static_cast<BNode&>(node).LetGo(); });
    const Loading* const loading = std::exchange(m_loading, nullptr);
    if (loading == nullptr)
        return;
    const auto query = [&archive](std::uint64_t index) {
        return archive.QueryObject(archive.IndexToPtr(index));
    };
    m_object = query(loading->object);
    for (const std::uint64_t index : loading->children) {
        BNode* const child = AsNode(query(index).Get());
        if (child != nullptr && MayAdopt(*child)) {
            Append(child);
            continue;
        }
        m_isSound = m_isSound && child == nullptr;
        m_children.Append(nullptr);
    }
    for (const std::uint64_t index : loading->attributes) {
        const SP<BSmartObj> object = query(index);
        MakeBeside().attributes.AddTail(dynamic_cast<BAttribute*>(object.Get()));
    }
    for (const std::uint64_t index : loading->annotations)
        MakeBeside().annotations.Append(query(index));
}

void BNode::LetGo()
{
    const SP<BSmartObj> object = std::move(m_object);
    const ChildList children = TakeChildren();
    if (!m_beside)
        return;
    ++m_beside->changes;
    const auto attributes = std::move(m_beside->attributes);
    const auto annotations = std::move(m_beside->annotations);
}

bool BNode::VerifyObj()
{
    return m_isSound;
}

int BNode::Version() const
{
    return kPayloadVersion;
}
