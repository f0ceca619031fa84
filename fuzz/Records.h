#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A file as its fields, for mutators that change one of them and leave the file whole: bytes that
// are changed blindly mostly give a file whose reader gives up at once.

/// A piece of a record. `bytes` is what it holds, without what tells its length, and what that
/// tells is `lie` more than the truth.
struct Field {
    enum class EKind {
        Number,     // `width` bytes
        Bytes,      // up to the end of the record
        Size,       // a number of `width` bytes: the size of all that follows in the record
        TaggedText, // tag "S", 4-byte length, bytes
        List,       // 4-byte count, so many times `width` bytes
        Text,       // 4-byte length in units of `width` bytes, its complement, the units, a 0 unit
        Block,      // 4-byte size, its complement, bytes
    };

    EKind kind;
    std::size_t width = 1;
    std::string bytes = {};
    std::int64_t lie = 0;
};
using Record = std::vector<Field>;
using Records = std::vector<Record>;

/// Takes fields off the front of a file; what is not there makes `isWhole` false and is empty.
class FieldReader {
public:
    explicit FieldReader(std::string_view bytes)
        : m_bytes(bytes)
    {}

    Field Take(Field::EKind kind, std::size_t width = 1);
    [[nodiscard]] std::string_view Left() const noexcept { return m_bytes; }
    [[nodiscard]] std::uint64_t TakeNumber(std::size_t width);
    [[nodiscard]] std::string_view TakeBytes(std::uint64_t size);

    bool isWhole = true;

private:
    std::string_view m_bytes;
};

[[nodiscard]] std::uint64_t NumberIn(std::string_view bytes);
[[nodiscard]] std::string Printed(const Records& records);

/// What fields of a format often hold.
struct Vocabulary {
    std::vector<std::string> texts;
    std::vector<std::uint64_t> numbers;
};

// What the mutator of a format has.

[[nodiscard]] const Vocabulary& Words();
/// None for a file that is not whole. The first record is the file's header.
[[nodiscard]] std::optional<Records> ParseFile(std::string_view bytes);
