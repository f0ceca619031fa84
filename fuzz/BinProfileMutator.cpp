// Changes binary profiles record by record.

#include "fuzz/Records.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

using EKind = Field::EKind;
using namespace std::string_literals;

constexpr std::uint64_t kNarrowKeys = 0x59414C05, kWideKeys = 0x69414C06;

// The value of a type, and mere bytes for one that there is not.
Field TakeValue(FieldReader& reader, std::uint64_t type)
{
    switch (type) {
    case 1: return reader.Take(EKind::Number, 4);
    case 2: return reader.Take(EKind::Text, 1);
    case 3: return reader.Take(EKind::Number, 8);
    case 4: return reader.Take(EKind::Block);
    case 5: return reader.Take(EKind::Number, 1);
    case 6: return reader.Take(EKind::Text, 2);
    default: return reader.Take(EKind::Bytes);
    }
}

} // namespace

const Vocabulary& Words()
{
    static const Vocabulary words = {.texts = {"", "[default]a", "[default]width", "[]",
                                               "[\0d\0e\0f\0a\0u\0l\0t\0]\0a\0"s,
                                               "[\0d\0e\0f\0a\0u\0l\0t\0]\0w\0i\0d\0t\0h\0"s},
                                     .numbers = {0, 1, 2, 3, 4, 5, 6, 7, kNarrowKeys, kWideKeys}};
    return words;
}

std::optional<Records> ParseFile(std::string_view bytes)
{
    FieldReader reader(bytes);
    Records records = {{reader.Take(EKind::Number, 4)}};
    const std::size_t width = NumberIn(records[0][0].bytes) == kNarrowKeys ? 1 : 2;
    while (reader.isWhole && !reader.Left().empty()) {
        Record record = {reader.Take(EKind::Text, width), reader.Take(EKind::Number, 4)};
        record.push_back(TakeValue(reader, NumberIn(record.back().bytes)));
        records.push_back(std::move(record));
    }
    return reader.isWhole ? std::optional(records) : std::nullopt;
}
