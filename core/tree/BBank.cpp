#include "core/tree/BBank.h"

#include "core/platform/WideText.h"
#include "core/tree/BNodeItr.h"

#include <algorithm>
#include <utility>
#include <vector>

// Paths and the nodes that they name.
//
// A bank keeps no table of paths: a node that gets another text or place would change the paths of
// all that is below it. It goes down from the root by names instead, and each node's list finds the
// next one. The names that a bank makes are narrower than texts of nodes, which may be anything, so
// that paths can stand in files and scripts; what `Path` tells of other texts may be no path to
// `Container`.

namespace {

using platform::WideText;
using platform::WideView;

constexpr WChar kDelimiter = BBank::DELIM;
constexpr const WChar* kRootPath = QD_W("//");

bool IsRootPath(const WChar* path)
{
    return WideView(path) == kRootPath;
}

bool IsNameUnit(WChar unit)
{
    const auto isIn = [unit](WChar first, WChar last) { return unit >= first && unit <= last; };
    return isIn('a', 'z') || isIn('A', 'Z') || isIn('0', '9') || unit == '_' || unit == '-' ||
           unit == '.';
}

bool IsName(WideView name)
{
    return !name.empty() && std::all_of(name.begin(), name.end(), IsNameUnit);
}

// The names of a path, one after the other; none for the root, for "/" and for an empty path.
class Names {
public:
    explicit Names(const WChar* path)
        : m_rest(*path == kDelimiter ? path + 1 : path)
    {
        if (*m_rest == 0 || IsRootPath(path))
            m_rest = nullptr;
    }

    explicit operator bool() const { return m_rest != nullptr; }

    WideView Next()
    {
        const WChar* end = m_rest;
        while (*end != 0 && *end != kDelimiter)
            ++end;
        return {std::exchange(m_rest, *end != 0 ? end + 1 : nullptr), end};
    }

private:
    const WChar* m_rest; // null when there are no more
};

WString PathBelow(const BNode* top, const BNode* node)
{
    if (node == top)
        return kRootPath;
    // Upwards, as a node knows its parent, and then turned round.
    std::vector<WString> names;
    for (; node != top; node = node->Parent())
        names.push_back(node->GetText());
    WideText path;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        (path += kDelimiter) += name->CStr();
    return path.c_str();
}

// The path of the first node in `bank` for whose object `isIt` is true. It goes through the tree,
// as objects do not know their nodes, of which they may have several.
template <typename Predicate>
WString PathOfFirst(const BBank& bank, Predicate isIt)
{
    for (BNodeItr itr(bank.Root().Get(), BNodeItr::All); itr; ++itr) {
        const BSmartObj* object = itr.Current()->GetObj();
        if (object != nullptr && isIt(*object))
            return bank.Path(itr.Current());
    }
    return {};
}

} // namespace

BBank::BBank(SP<BNode> root)
    : m_root(std::move(root))
{}

BBank::BBank(const BBank& other) = default;
BBank& BBank::operator=(const BBank& other) = default;
BBank::~BBank() = default;

WString BBank::Path(const BNode* node) const
{
    // Not by its parents alone: the node may be of another tree, or above the bank's root.
    return m_root && m_root->Includes(node) ? PathBelow(m_root.Get(), node) : WString();
}

WString BBank::PathOfObject(BSmartObj* object) const
{
    return PathOfFirst(*this,
                       [object](const BSmartObj& candidate) { return &candidate == object; });
}

WString BBank::PathOfObject(long uniqueId) const
{
    return PathOfFirst(
        *this, [uniqueId](const BSmartObj& candidate) { return candidate.UniqueID() == uniqueId; });
}

bool BBank::CheckName(const WString& name)
{
    return IsName(name.CStr());
}

bool BBank::PathSyntaxError(const WChar* path)
{
    if (path == nullptr || *path == 0)
        return true;
    Names names(path);
    while (names) {
        if (!IsName(names.Next()))
            return true;
    }
    return false;
}

bool BBank::ExistsContainer(const WChar* path, SP<BNode>& node) const
{
    node = Find(path);
    return static_cast<bool>(node);
}

bool BBank::ExistsContainer(const WChar* path) const
{
    return Find(path) != nullptr;
}

BNode* BBank::Find(const WChar* path) const
{
    if (path == nullptr || !m_root)
        return nullptr;
    return IsRootPath(path) ? m_root.Get() : m_root->Child(path);
}

BNode* BBank::Container(const WChar* path)
{
    if (path == nullptr || !m_root)
        return nullptr;
    Names names(path);
    if (!names)
        return IsRootPath(path) ? m_root.Get() : nullptr;
    // Held meanwhile: receivers of what is reported may take the nodes out of the tree.
    SP<BNode> node = m_root;
    WideText name;
    while (node && names) {
        name = names.Next();
        node = GetOrCreateChild(*node, name.c_str());
    }
    return HandOut(node);
}

SP<BNode> BBank::GetOrCreateChild(BNode& parent, const WChar* name)
{
    if (!IsName(name))
        return nullptr;
    // Without regard to case, so a path never makes a second node that it could not lead to.
    if (BNode* const present = parent.Child(name))
        return present;
    const SP<BNode> child(new BNode);
    child->SetText(name);
    return parent.AddChild(child.Get(), -1) ? child : nullptr;
}

// A receiver may have taken the node out of the tree, or given the bank another one: only what this
// bank's root holds outlives the caller's pointer.
BNode* BBank::HandOut(const SP<BNode>& node) const
{
    return m_root && m_root->Includes(node.Get()) ? node.Get() : nullptr;
}

BNode* BBank::Node(const WChar* path)
{
    const SP<BNode> present = Find(path);
    if (!present)
        return Container(path);
    if (present->GetObj() != nullptr)
        return present.Get();
    const SP<BNode> child(new BNode);
    child->SetText(present->ChildTextSuggestion(WString()));
    return present->AddChild(child.Get(), -1) ? HandOut(child) : nullptr;
}

WString BBank::PATH(const BNode* node)
{
    if (node == nullptr)
        return {};
    const BNode* top = node;
    while (top->Parent() != nullptr)
        top = top->Parent();
    return PathBelow(top, node);
}

WString BBank::ConcatPath(WString base, WString rel)
{
    if (PathSyntaxError(base) || PathSyntaxError(rel) || IsRootPath(rel))
        return {};
    WString path = IsRootPath(base) ? WString() : base;
    if (rel[0] != kDelimiter)
        path += kDelimiter;
    return path + rel;
}

bool BBank::ParentPath(const WChar* path, WString& parent)
{
    if (path == nullptr || *path == 0 || IsRootPath(path))
        return false;
    const std::size_t last = WideView(path).rfind(kDelimiter);
    if (last == WideView::npos || last == 0)
        parent = kRootPath;
    else
        parent = WideText(path, last).c_str();
    return true;
}

bool BBank::IsGrandParent(WString upper, WString lower)
{
    Names above(upper);
    Names below(lower);
    if (!above && !IsRootPath(upper))
        return false;
    while (above) {
        if (!below)
            return false;
        // Compared as nodes are found by their names.
        const WString name = WideText(above.Next()).c_str();
        if (!name.IEqual(WideText(below.Next()).c_str()))
            return false;
    }
    return static_cast<bool>(below);
}
