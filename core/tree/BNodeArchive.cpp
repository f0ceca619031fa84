#include "core/archive/BArchive.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeLoading.h"

#include <new>
#include <span>
#include <typeinfo>
#include <utility>
#include <vector>

// A node's payload, version 2 (the primitives are in BArchive.cpp):
//
//   object        reference
//   children      4-byte count, a reference each
//   attributes    4-byte count, a reference each
//   narrow text   BString: the text in the ANSI code page
//   parent        reference
//   flags         1 byte: bit 0 active, bit 1 locked
//   text          WString; from version 1 on, before that the narrow text is the text
//   annotations   4-byte count, a reference each; from version 2 on

namespace {

constexpr int kPayloadVersion = 2;
constexpr char kActiveFlag = 1;
constexpr char kLockedFlag = 2;

template <typename T>
void WriteReferences(BArchive& archive, const DList<SP<T>>& list)
{
    archive << list.Count();
    for (const SP<T>& entry : list)
        archive << static_cast<const BSmartObj*>(entry.Get());
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
    const std::uint64_t referenceSize = archive.Version() <= 6 ? 4 : 8;
    int count = 0;
    archive >> count;
    if (count < 0 || static_cast<std::uint64_t>(count) > archive.BytesLeft() / referenceSize)
        throw ArchiveFormatFault;
    const auto size = static_cast<std::size_t>(count);
    auto* const indices =
        static_cast<std::uint64_t*>(archive.Scratch(size * sizeof(std::uint64_t)));
    for (std::size_t i = 0; i < size; ++i) {
        indices[i] = ReadReference(archive);
        archive.TakeOutLater(indices[i]);
    }
    return {indices, size};
}

} // namespace

void BNode::WriteData(BArchive& archive) const
{
    archive << m_object.Get();
    WriteReferences(archive, m_children);
    WriteReferences(archive, m_attributes);
    archive << m_text.AsString();
    archive << static_cast<const BSmartObj*>(m_parent);
    archive << static_cast<char>((m_isActive ? kActiveFlag : 0) | (m_isLocked ? kLockedFlag : 0));
    archive << m_text;
    WriteReferences(archive, m_annotations);
}

SP<BSmartObj> BNode::Read(BArchive& archive, int version)
{
    SP<BNode> node(new BNode);
    node->ReadData(archive, version);
    return node;
}

void BNode::ReadData(BArchive& archive, int version)
{
    auto* const loading = new (archive.Scratch(sizeof(Loading))) Loading;
    loading->object = ReadReference(archive);
    archive.TakeOutLater(loading->object);
    loading->children = ReadReferences(archive);
    loading->attributes = ReadReferences(archive);
    BString narrowText;
    if (version < 1)
        archive >> narrowText;
    else
        archive.SkipText();
    loading->parent = ReadReference(archive);
    char flags = kActiveFlag;
    archive >> flags;
    m_isActive = (flags & kActiveFlag) != 0;
    m_isLocked = (flags & kLockedFlag) != 0;
    if (version < 1)
        m_text = WString(narrowText);
    else
        archive >> m_text;
    if (version >= kPayloadVersion)
        loading->annotations = ReadReferences(archive);
    m_loading = loading;
}

// A child is taken over when it says that this node is its parent, when no list holds it yet, and
// when it does not lead to itself; an object or annotation that is a node, when it does not lead to
// itself. So whatever a file declares, what comes out are trees, and nothing keeps itself alive.
void BNode::UpdateAssociations(BArchive& archive)
{
    if (m_loading == nullptr)
        return;
    RefuseCircles(archive);
    const auto query = [&archive](std::uint64_t index) {
        return archive.QueryObject(archive.IndexToPtr(index));
    };
    const auto queryOwned = [&](std::uint64_t index) {
        SP<BSmartObj> object = query(index);
        const BNode* const node = AsNode(object.Get());
        if (node == nullptr || node->m_isSound)
            return object;
        m_isSound = false;
        return SP<BSmartObj>();
    };
    m_object = queryOwned(m_loading->object);
    delete std::exchange(m_byPosition, nullptr); // null entries join the list unseen
    for (const std::uint64_t index : m_loading->children) {
        BNode* const child = AsNode(query(index).Get());
        if (child != nullptr && Adopts(*child, archive)) {
            Link(child, m_children.Tail());
            delete std::exchange(child->m_claim, nullptr);
            continue;
        }
        m_isSound = m_isSound && child == nullptr;
        m_children.AddTail(nullptr);
    }
    for (const std::uint64_t index : m_loading->attributes) {
        const SP<BSmartObj> object = query(index);
        m_attributes.AddTail(dynamic_cast<BAttribute*>(object.Get()));
    }
    for (const std::uint64_t index : m_loading->annotations)
        m_annotations.AddTail(queryOwned(index));

    if (m_parent == nullptr && m_loading->parent != 0)
        m_claim =
            new Claim{m_loading->parent, archive.UniqueID(), ClaimedParent(archive) != nullptr};
    m_loading = nullptr;
}

// The node that is this one's parent, or that its record names as such.
BNode* BNode::ClaimedParent(BArchive& archive) const
{
    if (m_parent != nullptr)
        return m_parent;
    std::uint64_t index = 0;
    if (m_loading != nullptr)
        index = m_loading->parent;
    else if (m_claim != nullptr && m_claim->archive == archive.UniqueID())
        index = m_claim->parent;
    return AsNode(archive.QueryObject(archive.IndexToPtr(index)).Get());
}

// Follows what this node leads to through children, objects and annotations. A node that is met
// again on the way down leads to itself: it is refused, and with every such node let go no circle
// is left. Each node is followed once, so that it takes time in proportion to the references.
void BNode::RefuseCircles(BArchive& archive)
{
    struct Step {
        BNode* node;
        std::size_t next; // reference
    };
    std::vector<Step> way;
    const auto goInto = [&way](BNode* node) {
        node->m_loading->visit = Loading::OnTheWay;
        way.push_back({node, 0});
    };
    if (m_loading->visit == Loading::NotVisited)
        goInto(this);
    while (!way.empty()) {
        Step& step = way.back();
        Loading& loading = *step.node->m_loading;
        if (step.next == loading.OwnedCount()) {
            loading.visit = Loading::Done;
            way.pop_back();
            continue;
        }
        const std::uint64_t index = loading.Owned(step.next++);
        BNode* const owned = AsNode(archive.QueryObject(archive.IndexToPtr(index)).Get());
        if (owned == nullptr || owned->m_loading == nullptr)
            continue;
        if (owned->m_loading->visit == Loading::OnTheWay)
            owned->m_isSound = false;
        else if (owned->m_loading->visit == Loading::NotVisited)
            goInto(owned);
    }
}

bool BNode::Adopts(const BNode& child, BArchive& archive) const
{
    return child.m_isSound && child.m_parent == nullptr && child.ClaimedParent(archive) == this;
}

bool BNode::VerifyObj()
{
    return m_isSound && !(m_claim != nullptr && m_claim->parentIsThere);
}

int BNode::Version() const
{
    return kPayloadVersion;
}
