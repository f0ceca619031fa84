#pragma once

#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/tree/BNode.h"

/// Addresses the nodes below a root by paths of their texts, as files are addressed by path, and
/// makes the nodes that a path names.
///
///     BBank bank(document);
///     BNode* scan = bank.Container(QD_W("/Parts/Housing/Scan1")); // made as far as it is missing
///     WString path = bank.Path(scan);                             // "/Parts/Housing/Scan1"
///
/// The root is "//". Any other path is one or more names with "/" between them, and one more "/" in
/// front if you like. A name is one or more of the digits, the ASCII letters and "_", "-", ".".
/// Nodes are found as `BNode::Child` finds them, without regard to case, and at the same cost.
///
/// Copies share the root. Nodes that are handed out as plain pointers are not counted and are good
/// as long as the tree holds them; a node that a receiver of the reports takes out of the bank's
/// tree while it is made is not handed out. Refusals are told by false, null or an empty path; only
/// making nodes throws `std::bad_alloc`. One thread at a time changes a tree through its banks.
class QD_CORE_API BBank {
public:
    /// Stands between the names of a path.
    enum : WChar { DELIM = QD_W('/') };

    /// The tree stays the caller's as well; with a null root nothing is found or made.
    explicit BBank(SP<BNode> root);
    BBank(const BBank& other);
    BBank& operator=(const BBank& other);

    // Virtual operations: their order is part of the interface.

    virtual ~BBank();
    /// The path from this bank's root to `node`; empty for null and for a node that is not there.
    [[nodiscard]] virtual WString Path(const BNode* node) const;
    /// The path of the first node, from the top down and the first child first, that has `object`
    /// as its associated object; empty for null and when there is none.
    [[nodiscard]] virtual WString PathOfObject(BSmartObj* object) const;
    /// The same for the object whose `UniqueID()` is `uniqueId`.
    [[nodiscard]] virtual WString PathOfObject(long uniqueId) const;

    [[nodiscard]] SP<BNode> Root() const { return m_root; }

    [[nodiscard]] static bool CheckName(const WString& name);
    /// True for null and for what is no path. "/" alone is none, but passes.
    [[nodiscard]] static bool PathSyntaxError(const WChar* path);

    /// Whether a node is found; `node` is then that node, otherwise null.
    [[nodiscard]] bool ExistsContainer(const WChar* path, SP<BNode>& node) const;
    [[nodiscard]] bool ExistsContainer(const WChar* path) const;
    /// The node at `path`, made with all nodes above it that are missing. Null when a name is not
    /// valid; the nodes that the names before it ask for are then there.
    BNode* Container(const WChar* path);
    /// A node to be filled: `Container(path)` when nothing is there, and a new child of the node
    /// that is, called as its `ChildTextSuggestion` for no text has it: "001" for the first.
    /// Intended: a node that has an object is returned itself, so that a second call finds what the
    /// first one's caller filled.
    BNode* Node(const WChar* path);

    /// The path from the topmost node to `node`, whatever its texts; empty for null.
    [[nodiscard]] static WString PATH(const BNode* node);
    /// `rel` below `base`; empty when one of them is no path, and when `rel` is the root.
    [[nodiscard]] static WString ConcatPath(WString base, WString rel);
    /// `parent` is the path of the node above, "//" at the top. False, and `parent` stays, for the
    /// root, for null and for an empty path.
    static bool ParentPath(const WChar* path, WString& parent);
    /// Whether the path `upper` leads to a node above that of `lower`. Names, which need not be
    /// valid, are compared as texts of nodes are.
    [[nodiscard]] static bool IsGrandParent(WString upper, WString lower);

private:
    [[nodiscard]] BNode* Find(const WChar* path) const;
    [[nodiscard]] static SP<BNode> GetOrCreateChild(BNode& parent, const WChar* name);
    [[nodiscard]] BNode* HandOut(const SP<BNode>& node) const;

    SP<BNode> m_root;
};
