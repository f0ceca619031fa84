#pragma once

#include "core/platform/Export.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string_view>
#include <utility>

/// The memory of text blocks: out of line, so that a block is freed by the runtime that made it.
struct QD_CORE_API BTextHeap {
    /// As `realloc`: null when memory runs out, and `block` is then as it was.
    [[nodiscard]] static void* Resize(void* block, std::size_t size) noexcept;
    static void Free(void* block) noexcept;
};

/// The one field of a `WString` or `BString`: a pointer to a text block that copies share by count.
///
/// Null is the empty text. The block does not know its length: the text ends at its first 0.
/// Two objects may share a block on different threads; one object is for one thread at a time.
/// Whoever writes makes the block private first. What needs memory and gets none changes nothing.
template <class Char>
class BSharedText {
public:
    using View = std::basic_string_view<Char>;

    BSharedText() noexcept = default;
    BSharedText(const BSharedText& other) noexcept
        : m_block(other.m_block)
    {
        if (m_block)
            Count().fetch_add(1, std::memory_order_relaxed);
    }
    BSharedText(BSharedText&& other) noexcept
        : m_block(std::exchange(other.m_block, nullptr))
    {}
    BSharedText& operator=(BSharedText other) noexcept
    {
        std::swap(m_block, other.m_block);
        return *this;
    }
    ~BSharedText()
    {
        if (m_block && (IsPrivate() || Count().fetch_sub(1, std::memory_order_acq_rel) == 1))
            BTextHeap::Free(m_block);
    }

    /// A private block for `capacity` characters and the terminating 0, holding the empty text;
    /// null when memory runs out.
    [[nodiscard]] static BSharedText WithCapacity(std::size_t capacity) noexcept
    {
        BSharedText made;
        if (made.SetCapacity(capacity))
            *made.m_block->text = 0;
        return made;
    }

    [[nodiscard]] bool IsNull() const noexcept { return !m_block; }
    [[nodiscard]] bool IsEmpty() const noexcept { return !m_block || !*m_block->text; }
    /// Whether there is a block that nobody shares, so that it may be written to.
    [[nodiscard]] bool IsPrivate() const noexcept
    {
        return m_block && Count().load(std::memory_order_acquire) == 1;
    }
    [[nodiscard]] bool SharesWith(const BSharedText& other) const noexcept
    {
        return m_block == other.m_block;
    }

    /// The text, never null; good until this object changes.
    [[nodiscard]] const Char* Text() const noexcept { return m_block ? m_block->text : m_empty; }
    /// The same for writing. There must be a private block.
    [[nodiscard]] Char* Writable() noexcept
    {
        assert(IsPrivate());
        return m_block->text;
    }
    /// Characters that fit into the block, the terminating 0 not counted.
    [[nodiscard]] std::size_t Capacity() const noexcept
    {
        return m_block ? static_cast<std::size_t>(m_block->capacity) : 0;
    }

    /// Gives a private block, or none at all, another capacity; the characters that fit stay, and
    /// the caller sees to the terminating 0.
    bool SetCapacity(std::size_t capacity) noexcept
    {
        assert(IsNull() || IsPrivate());
        constexpr std::size_t head = sizeof(Block); // holds the terminating 0, too
        constexpr std::size_t most = (std::numeric_limits<std::ptrdiff_t>::max)() - head;
        if (capacity > most / sizeof(Char))
            return false;
        void* const block = BTextHeap::Resize(m_block, head + capacity * sizeof(Char));
        if (!block)
            return false;
        m_block = static_cast<Block*>(block);
        m_block->capacity = capacity;
        m_block->references = 1;
        return true;
    }

    /// Replaces the text by `pieces`, one after the other, in a new block. They may lie in the old
    /// one.
    bool Assemble(std::size_t capacity, std::initializer_list<View> pieces) noexcept
    {
        BSharedText made = WithCapacity(capacity);
        if (made.IsNull())
            return false;
        Char* end = made.Writable();
        for (const View piece : pieces)
            end = std::copy(piece.begin(), piece.end(), end);
        *end = 0;
        *this = std::move(made);
        return true;
    }

    /// Replaces the text by `text` in a block of that length, or null when it is empty.
    bool Assign(View text) noexcept
    {
        if (!text.empty())
            return Assemble(text.size(), {text});
        *this = BSharedText();
        return true;
    }

    /// Removes `count` characters at `position` from a text of `length` characters, which holds
    /// them.
    bool Erase(std::size_t length, std::size_t position, std::size_t count) noexcept
    {
        assert(position <= length && count <= length - position);
        if (count == 0)
            return true;
        const View text(Text(), length);
        const View rest = text.substr(position + count);
        if (!IsPrivate())
            return Assemble(length, {text.substr(0, position), rest});
        *std::copy(rest.begin(), rest.end(), Writable() + position) = 0;
        return true;
    }

    /// Writes `piece` behind the first `used` characters of a private block, or none, and counts it
    /// in. Room grows by half, so that a text made of many pieces takes linear time. No 0 is
    /// written.
    bool Push(std::size_t& used, View piece) noexcept
    {
        const std::size_t needed = used + piece.size();
        if ((!m_block || needed > Capacity()) && !SetCapacity(needed + needed / 2))
            return false;
        std::copy(piece.begin(), piece.end(), Writable() + used);
        used = needed;
        return true;
    }

private:
    struct Block {
        std::uint64_t capacity;      // characters that fit, the terminating 0 not counted
        std::int32_t references;     // objects that share it; through Count() once there is one
        Char text[4 / sizeof(Char)]; // capacity + 1 characters
    };

    std::atomic_ref<std::int32_t> Count() const noexcept
    {
        return std::atomic_ref<std::int32_t>(m_block->references);
    }

    static constexpr Char m_empty[1] = {};
    Block* m_block = nullptr;
};
