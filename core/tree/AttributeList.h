#pragma once

#include "core/base/SP.h"
#include "core/tree/BAttribute.h"

#include <memory>

/// The attributes of a node in their order, owned; entries may be null.
///
/// An empty list is one null pointer, others are one piece of memory. Entries are found and removed
/// by their place, as a node has few of them.
///
/// When memory runs out, `Reserve` and `Append` throw and leave the list as it was; removing always
/// succeeds.
class AttributeList {
public:
    AttributeList() noexcept = default;
    AttributeList(const AttributeList& other);
    AttributeList(AttributeList&& other) noexcept = default;
    AttributeList& operator=(AttributeList other) noexcept;
    ~AttributeList() = default;

    [[nodiscard]] bool IsEmpty() const noexcept { return m_block == nullptr; }
    [[nodiscard]] int Count() const noexcept;
    [[nodiscard]] const SP<BAttribute>* begin() const noexcept;
    [[nodiscard]] const SP<BAttribute>* end() const noexcept;

    void Reserve(int capacity);
    void Append(SP<BAttribute> attribute);
    /// Hands the attribute out, so that it dies when the list is as it should be. `index` must be
    /// in range.
    SP<BAttribute> RemoveAt(int index) noexcept;

private:
    struct Block;
    struct BlockDeleter {
        void operator()(Block* block) const noexcept;
    };

    std::unique_ptr<Block, BlockDeleter> m_block; // null while the list is empty
};
