#pragma once

#include "core/base/SP.h"
#include "core/tree/BAttribute.h"

#include <cstdint>
#include <utility>

/// The attributes of a node in their order, owned; entries may be null.
///
/// One pointer: null, the only attribute, or a block with several. Entries are found and removed by
/// their place, as a node has few of them.
///
/// When memory runs out, `Reserve` and `Append` throw and leave the list as it was; removing always
/// succeeds.
class AttributeList {
public:
    AttributeList() noexcept = default;
    AttributeList(const AttributeList& other);
    AttributeList(AttributeList&& other) noexcept
        : m_held(std::exchange(other.m_held, 0))
    {}
    AttributeList& operator=(AttributeList other) noexcept
    {
        std::swap(m_held, other.m_held);
        return *this;
    }
    ~AttributeList()
    {
        if (m_held != 0)
            Drop(m_held);
    }

    /// No attribute, and no room for any.
    [[nodiscard]] bool IsNull() const noexcept { return m_held == 0; }
    [[nodiscard]] int Count() const noexcept;
    /// `index` must be in range.
    [[nodiscard]] BAttribute* At(int index) const noexcept;
    /// Where `attribute` stands first; `Count()` when it does not.
    [[nodiscard]] int Find(const BAttribute* attribute) const noexcept;

    void Reserve(int capacity);
    void Append(BAttribute* attribute);
    /// Hands the attribute out, so that it dies when the list is as it should be. `index` must be
    /// in range.
    SP<BAttribute> RemoveAt(int index) noexcept;

private:
    struct Block;

    [[nodiscard]] bool IsBlock() const noexcept;
    [[nodiscard]] Block* AsBlock() const noexcept;
    [[nodiscard]] BAttribute* AsOnly() const noexcept;
    // What is held, by its value: a list whose address is told stands in memory.
    static void Drop(std::uintptr_t held) noexcept;

    std::uintptr_t m_held = 0; // the address of the one or, with kBlockBit, the other
};
