#pragma once

#include "core/base/SP.h"
#include "core/base/WString.h"

#include <cstddef>
#include <iterator>
#include <memory>

class BNode;
class TakenSlots;

/// The children of a node in their order, owned; entries may be null.
///
/// Appending, inserting, removing, and finding a child by its place or its text do not depend on
/// how many there are, or only as the logarithm. From a child to the next one leads a link in the
/// node, which passes null entries over. An empty list is one null pointer; a child costs 8 to 12
/// bytes.
///
/// When memory runs out, `Reserve`, `Append` and `InsertBehindFirst` throw and leave the list as it
/// was; removing always succeeds. What only reads may run on many threads at once.
class ChildList {
    struct Block;
    struct Extras;

public:
    /// Steps through the entries, null ones included.
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = SP<BNode>;
        using difference_type = std::ptrdiff_t;
        using pointer = const SP<BNode>*;
        using reference = const SP<BNode>&;

        Iterator() noexcept = default;
        reference operator*() const noexcept;
        Iterator& operator++() noexcept;
        friend bool operator==(const Iterator&, const Iterator&) noexcept = default;

    private:
        friend class ChildList;
        Iterator(const Block* block, int slot) noexcept
            : m_block(block)
            , m_slot(slot)
        {}

        const Block* m_block = nullptr;
        int m_slot = 0;
    };

    ChildList() noexcept = default;
    ChildList(ChildList&& other) noexcept = default;
    ChildList& operator=(ChildList&& other) noexcept = default;
    ~ChildList() = default;

    [[nodiscard]] bool IsEmpty() const noexcept { return m_block == nullptr; }
    [[nodiscard]] int Count() const noexcept;
    [[nodiscard]] Iterator begin() const noexcept;
    [[nodiscard]] Iterator end() const noexcept;
    /// The entry at `index`; null when that is out of range.
    [[nodiscard]] BNode* At(int index) const noexcept;
    /// The first entry that is not null; null when there is none.
    [[nodiscard]] BNode* First() const noexcept;
    /// The first child that is called so without regard to case; null when there is none.
    [[nodiscard]] BNode* Find(const WChar* text) const;

    /// Makes room for as many further children at the end.
    void Reserve(int further);
    void Append(SP<BNode> child);
    /// The list must not be empty.
    void InsertBehindFirst(SP<BNode> child);
    /// Hands the child out, so that it dies when the list is as it should be.
    SP<BNode> Remove(BNode& child) noexcept;
    /// The same for any entry; `index` must be in range.
    SP<BNode> RemoveAt(int index) noexcept;
    /// Takes their parent and their sister from all children, which stay here. The list must not be
    /// empty.
    void MakeOrphans() noexcept;
    /// Texts of children are changed here, so that they are found by them.
    void Rename(BNode& child, WString text) noexcept;

private:
    struct BlockDeleter {
        void operator()(Block* block) const noexcept;
    };
    using BlockOwner = std::unique_ptr<Block, BlockDeleter>;

    [[nodiscard]] int SlotOf(int index) const noexcept;
    [[nodiscard]] std::unique_ptr<TakenSlots> PlacesOfNodes() const;
    void AppendNull();
    void Rebuild(int freeInFront, int freeBehind);
    void Shrink() noexcept;
    void Put(int slot, SP<BNode> child) noexcept;
    void Link(BNode& child) noexcept;
    void Unlink(BNode& child) noexcept;
    SP<BNode> Take(int slot) noexcept;
    void MakeHole(int slot) noexcept;
    void CloseGap(int slot) noexcept;
    template <class Change>
    void ChangeIndex(Change change) noexcept;

    BlockOwner m_block; // null while the list is empty
};
