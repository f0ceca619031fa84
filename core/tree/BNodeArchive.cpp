#include "core/archive/BArchive.h"
#include "core/archive/Encoding.h"
#include "core/platform/CodePage.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeBeside.h"
#include "core/tree/NodePayload.h"

#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

// A reference may lead to a record that is not read yet, so reading takes two steps: `Read` keeps
// the indices, and `UpdateAssociations` turns them into objects. They are kept in memory of the
// archive, as a node with lists for them would carry these all its life.

namespace {

using NNode::kActiveFlag;
using NNode::kLockedFlag;
using NNode::kPayloadVersion;

// A text that gets no memory must not be saved, or loaded, as an empty one.
template <class To, class From>
To Converted(const From& text)
{
    To converted(text);
    if (converted.IsEmpty() && !text.IsEmpty())
        throw std::bad_alloc();
    return converted;
}

// A text in the ANSI code page, without a block of the heap where it is no longer than names are.
class NarrowText {
public:
    explicit NarrowText(const WString& text)
        : m_size(platform::WideToAnsi(text.CStr(), text.Length(), m_bytes, sizeof m_bytes))
    {
        if (m_size > sizeof m_bytes || (m_size == 0 && !text.IsEmpty()))
            m_long = Converted<BString>(text);
    }
    [[nodiscard]] std::string_view View() const noexcept
    {
        return m_long.IsEmpty() ? std::string_view(m_bytes, m_size)
                                : std::string_view(m_long.CStr(), m_long.Length());
    }

private:
    char m_bytes[128];
    std::size_t m_size;
    BString m_long;
};

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
    using NArchive::FieldWriter;
    const Annotations* const annotated = Annotated();
    const int children = m_children.Count();
    const int attributes = m_attributes.Count();
    const int annotations = annotated != nullptr ? annotated->list.Count() : 0;
    const NarrowText narrow(m_text);
    const platform::WideView text(m_text.CStr(), m_text.Length());
    const char flags =
        static_cast<char>((m_isActive ? kActiveFlag : 0) | (m_isLocked ? kLockedFlag : 0));
    const std::uint64_t reference = NArchive::ReferenceSize(archive.Version());
    const std::uint64_t references = std::uint64_t{2} + static_cast<std::uint64_t>(children) +
                                     static_cast<std::uint64_t>(attributes) +
                                     static_cast<std::uint64_t>(annotations);
    FieldWriter fields(archive, references * reference + FieldWriter::SizeOf(narrow.View()) +
                                    FieldWriter::SizeOf(text) + 3 * sizeof(int) + sizeof flags);
    fields.PutReference(m_object.Get(), reference);
    fields.Put(children);
    for (const SP<BNode>& child : m_children)
        fields.PutReference(child.Get(), reference);
    fields.Put(attributes);
    for (int i = 0; i < attributes; ++i)
        fields.PutReference(m_attributes.At(i), reference);
    fields.PutText(narrow.View());
    fields.PutReference(m_parent, reference);
    fields.Put(flags);
    fields.PutText(text);
    fields.Put(annotations);
    if (annotated != nullptr) {
        for (const SP<BSmartObj>& annotation : annotated->list)
            fields.PutReference(annotation.Get(), reference);
    }
    fields.End();
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
