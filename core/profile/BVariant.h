#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/BString.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/profile/VariantBytes.h"

#include <cstdint>
#include <cstdio>
#include <memory>

// The values of binary profiles and their bytes. All integers are little-endian.
//
//     code  class              value
//     1     TVariant<int>      4 bytes, signed
//     2     TVariant<BString>  a text record of bytes
//     3     TVariant<double>   8 bytes, IEEE 754
//     4     BVarMemBlock       size and its bitwise complement, 4 bytes each, then the bytes
//     5     TVariant<bool>     1 byte, 0 or 1
//     6     TVariant<WString>  a text record of UTF-16 units
//
// VariantBytes.h tells what a text record is.

/// A typed value of a binary profile, which writes itself to a file and reads itself back. Which
/// type it is, its class tells. A null stream is left alone, and nothing tells of failed writes.
class BVariant : public BSmartObj {
public:
    // The order of the virtual functions is part of the interface.

    /// Writes the type code and the value.
    virtual void Save(std::FILE* stream) const;
    /// The type code.
    [[nodiscard]] virtual std::uint32_t Type() const = 0;
    /// Reads the value as `ReadValue` does, from where the stream stands, which must be one that
    /// has a size and positions.
    virtual void LoadValue(std::FILE* stream);
    virtual void SaveValue(std::FILE* stream) const;
    /// A number that the source has not got stays as it is, a damaged text or block becomes empty.
    virtual void ReadValue(VariantSource& source) = 0;
    /// Appends what `SaveValue` writes.
    virtual void AppendValue(VariantBytes& bytes) const = 0;
};

template <class T>
class TVariant final : public BVariant {
public:
    explicit TVariant(const T& value)
        : m_value(value)
    {}

    [[nodiscard]] const T& Value() const noexcept { return m_value; }

    std::uint32_t Type() const override;
    void ReadValue(VariantSource& source) override;
    void AppendValue(VariantBytes& bytes) const override;

private:
    T m_value;
};

/// Bytes that mean something to the application alone.
class BVarMemBlock final : public BVariant {
public:
    /// Copies `size` bytes; without `data` the block is empty.
    BVarMemBlock(const void* data, unsigned int size);

    /// Null when the block is empty.
    [[nodiscard]] const void* Data() const noexcept { return m_data.get(); }
    [[nodiscard]] std::uint32_t Size() const noexcept { return m_size; }

    std::uint32_t Type() const override;
    void ReadValue(VariantSource& source) override;
    void AppendValue(VariantBytes& bytes) const override;

private:
    std::unique_ptr<char[]> m_data;
    std::uint32_t m_size;
};

/// Reads a type code and the value behind it. Null for a code that means nothing, and when there is
/// none; what follows is then not skipped. `stream` must have a size and positions: from a pipe
/// nothing is read.
[[nodiscard]] SP<BVariant> LoadVariant(std::FILE* stream);
[[nodiscard]] SP<BVariant> LoadVariant(VariantSource& source);
