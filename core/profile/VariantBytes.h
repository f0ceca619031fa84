#pragma once

#include "core/base/BString.h"
#include "core/base/BlockReader.h"
#include "core/base/WString.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

// A text record is the length in characters and its bitwise complement, 4 bytes each, then the
// characters and a 0 character.

/// The bytes of a binary profile on their way to its file.
class VariantBytes {
public:
    void Append(const void* bytes, std::size_t size)
    {
        if (size > m_capacity - m_size)
            Grow(size);
        if (size != 0)
            std::memcpy(m_bytes.get() + m_size, bytes, size);
        m_size += size;
    }
    void Append(std::uint32_t word) { Append(&word, sizeof word); }
    /// A text record.
    void AppendText(const BString& text);
    void AppendText(const WString& text);

    /// Writes the bytes to a stream and starts anew; false when they were not written.
    [[nodiscard]] bool MoveTo(std::FILE* stream) noexcept;

    [[nodiscard]] const char* Data() const noexcept { return m_bytes.get(); }
    [[nodiscard]] std::size_t Size() const noexcept { return m_size; }

private:
    /// Makes room for `size` bytes more.
    void Grow(std::size_t size);

    std::unique_ptr<char[]> m_bytes;
    std::size_t m_capacity = 0;
    std::size_t m_size = 0;
};

/// Where values are read from: a file, in large blocks. What the file declares is compared with
/// what is left of it before anything is allocated. A failed read leaves the source wherever it
/// ended. Throws `std::bad_alloc`.
class VariantSource {
public:
    /// `reader` stays the caller's and outlives this.
    explicit VariantSource(BlockReader& reader) noexcept
        : m_reader(reader)
    {}

    [[nodiscard]] bool Read(void* out, std::uint64_t size)
    {
        const bool isRead = m_reader.Read(out, size);
        m_isCut = m_isCut || !isRead;
        return isRead;
    }
    /// Whether anything was not there as a whole.
    [[nodiscard]] bool IsCut() const noexcept { return m_isCut; }
    /// Reads a text record; false when there is none, and when its text is cut short or does not
    /// end with a 0. The text is then empty, or what it was.
    [[nodiscard]] bool ReadText(BString& text);
    [[nodiscard]] bool ReadText(WString& text);
    /// Whether `size` bytes are left; goes to the end when they are not.
    [[nodiscard]] bool Has(std::uint64_t size);

private:
    BlockReader& m_reader;
    bool m_isCut = false;
};
