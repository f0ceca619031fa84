// Changes archives as files of the classes that ArchiveFuzz.cpp knows.

#include "fuzz/Records.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

using EKind = Field::EKind;

constexpr std::size_t kFields = 26; // of the longest record

// What stands in a record of an application's own class.
void TakeContent(FieldReader& reader, Record& record, std::uint64_t version, std::size_t reference)
{
    record.push_back(reader.Take(EKind::TaggedText));
    record.push_back(reader.Take(EKind::List, 2)); // a wide text
    for (const std::size_t width : {4U, 8U, 1U, 2U, 8U})
        record.push_back(reader.Take(EKind::Number, width));
    for (int channel = 0; channel < (version >= 2 ? 4 : 0); ++channel)
        record.push_back(reader.Take(EKind::Number, 4));
    record.push_back(reader.Take(EKind::List, reference));
    record.push_back(reader.Take(EKind::List, 1));
}

void TakeNode(FieldReader& reader, Record& record, std::size_t reference)
{
    record.push_back(reader.Take(EKind::Number, reference));
    record.push_back(reader.Take(EKind::List, reference));
    record.push_back(reader.Take(EKind::List, reference));
    record.push_back(reader.Take(EKind::TaggedText));
    record.push_back(reader.Take(EKind::Number, reference));
    record.push_back(reader.Take(EKind::Number, 1));
    record.push_back(reader.Take(EKind::List, 2));
    record.push_back(reader.Take(EKind::List, reference));
}

// The payload of an object by its class, and as mere bytes where it is not what that writes.
void TakePayload(std::string_view payload, std::string_view className, std::uint64_t version,
                 std::size_t reference, Record& record)
{
    FieldReader reader(payload);
    const Record header = record;
    if (className.ends_with("BNode") || className.ends_with("Part"))
        TakeNode(reader, record, reference);
    if (className.ends_with("Part") || className.ends_with("Item"))
        TakeContent(reader, record, version, reference);
    if (className.ends_with("Eager")) {
        record.push_back(reader.Take(EKind::Number, 4));
        record.push_back(reader.Take(EKind::Number, reference));
    }
    for (int extent = 0; className.ends_with("BBitArray") && extent < 3; ++extent)
        record.push_back(reader.Take(EKind::Number, 4));
    if (!reader.isWhole) {
        record = header;
        reader = FieldReader(payload);
    }
    record.push_back(reader.Take(EKind::Bytes));
}

} // namespace

const Vocabulary& Words()
{
    static const Vocabulary words = {.texts = {"class BNode",
                                               "class BBitArray",
                                               "class Item",
                                               "class Part",
                                               "class Eager",
                                               "class Doc",
                                               "class BArchive",
                                               "BNode",
                                               "",
                                               "1",
                                               "2",
                                               "3",
                                               "4",
                                               "5",
                                               "6",
                                               "7",
                                               "8",
                                               "9",
                                               "a",
                                               "label1",
                                               "label2"},
                                     .numbers = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}};
    return words;
}

std::optional<Records> ParseFile(std::string_view bytes)
{
    FieldReader reader(bytes);
    Records records(1);
    for (int name = 0; name < 2; ++name) {
        records[0].push_back(reader.Take(EKind::TaggedText));
        records[0].push_back(reader.Take(EKind::Number, 4));
    }
    const std::uint64_t format = NumberIn(records[0].back().bytes);
    const std::size_t sizeWidth = format >= 8 ? 8 : 4, reference = format >= 7 ? 8 : 4;
    while (reader.isWhole && !reader.Left().empty()) {
        Record record;
        record.reserve(kFields);
        for (int text = 0; text < 3; ++text)
            record.push_back(reader.Take(EKind::TaggedText));
        record.push_back(reader.Take(EKind::Number, 4));
        record.push_back(reader.Take(EKind::Size, sizeWidth));
        const std::string_view payload = reader.TakeBytes(NumberIn(record.back().bytes));
        const std::string className = record[2].bytes;
        TakePayload(payload, className, NumberIn(record[3].bytes), reference, record);
        records.push_back(std::move(record));
    }
    return reader.isWhole ? std::optional(records) : std::nullopt;
}
