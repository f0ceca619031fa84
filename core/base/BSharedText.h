#pragma once

#include "core/platform/Export.h"
#include "core/platform/OwnerCount.h"
#include "core/platform/WChar.h"

#include <algorithm>
#include <atomic>
#include <bit>
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
    /// The length of a text whose block does not know it.
    [[nodiscard]] static std::size_t Measure(const WChar* text) noexcept;
    [[nodiscard]] static std::size_t Measure(const char* text) noexcept;
};

/// The one field of a `WString` or `BString`: a pointer to a text block that copies share by count.
///
/// Null is the empty text. The text ends at its first 0. A block knows its length until a pointer
/// for writing is handed out, through which anybody may put a 0 at any time: such a block is
/// measured from then on, until another one takes its place.
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
            platform::AddOwner(m_block->references);
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
        // Most texts have one owner, and that one needs no locked instruction: only an owner can
        // add another.
        if (m_block && (IsPrivate() || platform::DropOwner(m_block->references)))
            BTextHeap::Free(m_block);
    }

    /// A private block for `capacity` characters and the terminating 0, holding the empty text;
    /// null when memory runs out.
    [[nodiscard]] static BSharedText WithCapacity(std::size_t capacity) noexcept
    {
        BSharedText made;
        if (made.SetCapacity(capacity))
            made.End(0);
        return made;
    }

    [[nodiscard]] bool IsNull() const noexcept { return !m_block; }
    [[nodiscard]] bool IsEmpty() const noexcept { return !m_block || !*m_block->text; }
    /// Whether there is a block that nobody shares, so that it may be written to.
    [[nodiscard]] bool IsPrivate() const noexcept
    {
        return m_block && std::atomic_ref(m_block->references).load(std::memory_order_acquire) == 1;
    }

    /// Whether the characters are the same ones.
    [[nodiscard]] bool IsSame(const BSharedText& other) const noexcept
    {
        if (m_block == other.m_block)
            return true;
        if (!m_block || !other.m_block || ((m_block->sizes | other.m_block->sizes) & kUnmeasured))
            return AreSame({Text(), Length()}, {other.Text(), other.Length()});
        return AreSame(
            {m_block->text, static_cast<std::size_t>(m_block->sizes >> kLengthShift)},
            {other.m_block->text, static_cast<std::size_t>(other.m_block->sizes >> kLengthShift)});
    }

    /// The text, never null; good until this object changes.
    [[nodiscard]] const Char* Text() const noexcept { return m_block ? m_block->text : m_empty; }
    /// How many characters stand before the first 0.
    [[nodiscard]] std::size_t Length() const noexcept
    {
        if (!m_block)
            return 0;
        if (m_block->sizes & kUnmeasured)
            return BTextHeap::Measure(m_block->text);
        const auto length = static_cast<std::size_t>(m_block->sizes >> kLengthShift);
        assert(Text()[length] == 0 && (length == 0 || Text()[length - 1] != 0));
        return length;
    }
    /// The text for writing by who then calls `End`. There must be a private block.
    [[nodiscard]] Char* Writable() noexcept
    {
        assert(IsPrivate());
        return m_block->text;
    }
    /// Ends the text of a private block behind its first `length` characters, none of which is 0.
    void End(std::size_t length) noexcept
    {
        assert(length <= Capacity());
        Writable()[length] = 0;
        if (!(m_block->sizes & kUnmeasured))
            m_block->sizes = std::uint64_t{length} << kLengthShift | Capacity();
    }
    /// Adds a character, which is not 0, behind a private text that knows its length, where more
    /// than it and the terminating 0 finds room; false when that is not so.
    bool PushInRoom(Char character) noexcept
    {
        if (!m_block)
            return false;
        const std::uint64_t sizes = m_block->sizes;
        const std::uint64_t length = sizes >> kLengthShift; // too large where it is not known
        if (length + 1 >= (sizes & kMostKnown) || character == 0 || !IsPrivate())
            return false;
        Char* const end = Writable() + length;
        end[0] = character;
        end[1] = 0;
        m_block->sizes = sizes + (std::uint64_t{1} << kLengthShift);
        return true;
    }
    /// Overwrites a character of a private block.
    void Set(std::size_t position, Char character) noexcept
    {
        assert(position < Capacity());
        Writable()[position] = character;
        const std::uint64_t sizes = m_block->sizes;
        if (sizes & kUnmeasured)
            return;
        if (position >= sizes >> kLengthShift)
            Forget(); // the text may be longer from now on
        else if (character == 0)
            End(position);
    }
    /// Others than this class may write into the private block from now on.
    void Forget() noexcept { m_block->sizes = Capacity() | kUnmeasured; }
    /// Characters that fit into the block, the terminating 0 not counted.
    [[nodiscard]] std::size_t Capacity() const noexcept
    {
        if (!m_block)
            return 0;
        const std::uint64_t sizes = m_block->sizes;
        return static_cast<std::size_t>(sizes & (sizes & kUnmeasured ? ~kUnmeasured : kMostKnown));
    }

    /// Gives a private block, or none at all, another capacity; the characters that fit stay, and
    /// the caller calls `End`.
    bool SetCapacity(std::size_t capacity) noexcept
    {
        assert(IsNull() || IsPrivate());
        constexpr std::size_t head = sizeof(Block); // holds the terminating 0, too
        constexpr std::size_t most = (std::numeric_limits<std::ptrdiff_t>::max)() / 2;
        if (capacity > most / sizeof(Char))
            return false;
        void* const block = BTextHeap::Resize(m_block, head + RoomFor(capacity) * sizeof(Char));
        if (!block)
            return false;
        m_block = static_cast<Block*>(block);
        m_block->sizes = capacity <= kMostKnown ? capacity : capacity | kUnmeasured;
        m_block->references = 1;
        return true;
    }

    /// Raises the capacity of a private block in place. False when it has no room, or none is known
    /// of.
    bool Extend(std::size_t capacity) noexcept
    {
        assert(IsPrivate() && capacity >= Capacity());
        if (capacity > kMostKnown || RoomFor(capacity) != RoomFor(Capacity()))
            return false;
        m_block->sizes += capacity - Capacity();
        return true;
    }

    /// Replaces the text by `pieces`, one after the other, in a new block. They may lie in the old
    /// one.
    bool Assemble(std::size_t capacity, std::initializer_list<View> pieces) noexcept
    {
        BSharedText made;
        if (!made.SetCapacity(capacity))
            return false;
        Char* end = made.Writable();
        for (const View piece : pieces)
            end = std::copy(piece.begin(), piece.end(), end);
        made.End(static_cast<std::size_t>(end - made.Text()));
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
        std::copy(rest.begin(), rest.end(), Writable() + position);
        End(length - count);
        return true;
    }

    /// Writes `piece` behind the first `used` characters of a private block, or none, and counts it
    /// in. Room grows by half, so that a text made of many pieces takes linear time. `End` is left
    /// to the caller.
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
    // A block knows its length where both numbers have 31 bits; kUnmeasured alone stands above the
    // capacity of any other. So the length costs no memory, and blocks may be of any size.
    static constexpr int kLengthShift = 32;
    static constexpr std::uint64_t kMostKnown = 0x7FFFFFFF;
    static constexpr std::uint64_t kUnmeasured = std::uint64_t{1} << 63;

    struct Block {
        std::uint64_t sizes;         // capacity, terminating 0 not counted, and length
        std::int32_t references;     // objects that share it, changed as platform::AddOwner does
        Char text[4 / sizeof(Char)]; // capacity + 1 characters
    };

    // The views' own operator goes unit by unit where they are wide.
    static bool AreSame(View a, View b) noexcept
    {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

    // What is allocated for a capacity. The capacity of a text that grows does so in steps of 64,
    // too small to copy a long one each time.
    static constexpr std::size_t RoomFor(std::size_t capacity) noexcept
    {
        constexpr std::size_t small = 1024; // below it a block has no room to spare
        if (capacity < small)
            return capacity;
        const std::size_t step = std::bit_floor(capacity) / 8; // 128 or more
        // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): it does not know `bit_floor`
        return (capacity + step - 1) / step * step;
    }

    static constexpr Char m_empty[1] = {};
    Block* m_block = nullptr;
};
