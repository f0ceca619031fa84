#include "fuzz/Records.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <utility>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostSize);

namespace {

using EKind = Field::EKind;

class Random {
public:
    explicit Random(unsigned int seed)
        : m_engine(seed)
    {}
    std::size_t Below(std::size_t count) { return m_engine() % count; }
    bool IsOneOf(std::size_t count) { return Below(count) == 0; }
    template <class List>
    auto& In(List& list)
    {
        return list[Below(std::size(list))];
    }

private:
    std::minstd_rand m_engine;
};

std::string BytesOf(std::uint64_t number, std::size_t width)
{
    std::string bytes(width, '\0');
    std::memcpy(bytes.data(), &number, (std::min)(width, sizeof number));
    return bytes;
}

std::string Blindly(std::string bytes, std::size_t mostAdded)
{
    const std::size_t size = bytes.size();
    bytes.resize(size + mostAdded);
    bytes.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), size, bytes.size()));
    return bytes;
}

void Append(std::string& out, const Field& field, std::size_t sizeBehind)
{
    const auto length = [&](std::size_t units) {
        return units + static_cast<std::uint64_t>(field.lie);
    };
    const std::uint64_t count = length(field.bytes.size() / field.width);
    switch (field.kind) {
    case EKind::Number:
    case EKind::Bytes: out += field.bytes; break;
    case EKind::Size: out += BytesOf(length(sizeBehind), field.width); break;
    case EKind::TaggedText: out += "S" + BytesOf(count, 4) + field.bytes; break;
    case EKind::List: out += BytesOf(count, 4) + field.bytes; break;
    case EKind::Text:
        out += BytesOf(count, 4) + BytesOf(~count, 4) + field.bytes + BytesOf(0, field.width);
        break;
    case EKind::Block: out += BytesOf(count, 4) + BytesOf(~count, 4) + field.bytes; break;
    }
}

std::string PrintedFrom(const Record& record, std::size_t first)
{
    std::string out;
    for (std::size_t i = first; i < record.size(); ++i) {
        const bool isSize = record[i].kind == EKind::Size;
        Append(out, record[i], isSize ? PrintedFrom(record, i + 1).size() : 0);
    }
    return out;
}

std::uint64_t OddNumber(std::uint64_t former, Random& random, const Vocabulary& words)
{
    static constexpr std::uint64_t kLimits[] = {
        0,          1,          2,          0x7F,      0xFF,        0x7FFF,    0xFFFF,
        0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, INT64_MAX, 1ULL << 63U, UINT64_MAX};
    switch (random.Below(4)) {
    case 0: return random.In(kLimits);
    case 1: return former + random.Below(5) - 2;
    default: return random.In(words.numbers);
    }
}

std::int64_t Lie(Random& random)
{
    static constexpr std::int64_t kLies[] = {1,    -1,         2,           -2,       8,
                                             1000, 0x7FFFFFFF, -0x7FFFFFFF, INT64_MAX};
    return random.In(kLies);
}

void ChangeList(Field& list, Random& random, const Vocabulary& words)
{
    const std::size_t count = list.bytes.size() / list.width;
    const std::size_t at = random.Below(count + 1) * list.width;
    if (count == 0 || random.IsOneOf(3))
        list.bytes.insert(at, BytesOf(OddNumber(0, random, words), list.width));
    else if (at < list.bytes.size() && random.IsOneOf(2))
        list.bytes.erase(at, list.width);
    else if (at < list.bytes.size())
        list.bytes.replace(at, list.width, BytesOf(OddNumber(0, random, words), list.width));
    else
        list.bytes += list.bytes.substr(0, 256); // all of it once more
}

void Change(Field& field, Random& random, const Vocabulary& words)
{
    const bool hasLength = field.kind != EKind::Number && field.kind != EKind::Bytes;
    if (field.kind == EKind::Size || (hasLength && random.IsOneOf(8)))
        field.lie = Lie(random);
    else if (field.kind == EKind::Number)
        field.bytes = BytesOf(OddNumber(NumberIn(field.bytes), random, words), field.width);
    else if (field.kind == EKind::List)
        ChangeList(field, random, words);
    else if (field.kind == EKind::Bytes || field.kind == EKind::Block || random.IsOneOf(3))
        field.bytes = Blindly(field.bytes, 16);
    else
        field.bytes = random.In(words.texts);
    if (field.kind == EKind::Text && field.bytes.size() % field.width != 0)
        field.bytes += '\0';
}

// Behind the header.
void ChangeOrder(Records& records, Random& random)
{
    const std::size_t count = records.size() - 1;
    const auto any = [&] {
        return records.begin() + 1 + static_cast<std::ptrdiff_t>(random.Below(count));
    };
    switch (random.Below(3)) {
    case 0: std::swap(*any(), *any()); break;
    case 1: records.erase(any()); break;
    default: {
        Record copy = *any();
        records.insert(any(), std::move(copy));
    }
    }
}

std::size_t Put(std::string_view bytes, std::uint8_t* out, std::size_t mostSize)
{
    const std::size_t size = (std::min)(bytes.size(), mostSize);
    std::memcpy(out, bytes.data(), size);
    return size;
}

} // namespace

Field FieldReader::Take(EKind kind, std::size_t width)
{
    Field field{.kind = kind, .width = width};
    std::uint64_t count = width;
    if (kind == EKind::Bytes)
        count = m_bytes.size();
    if (kind == EKind::TaggedText)
        isWhole = TakeNumber(1) == 'S' && isWhole;
    if (kind != EKind::Bytes && kind != EKind::Number && kind != EKind::Size)
        count = TakeNumber(4) * width;
    if (kind == EKind::Text || kind == EKind::Block)
        static_cast<void>(TakeNumber(4));
    field.bytes = TakeBytes(count);
    if (kind == EKind::Text)
        static_cast<void>(TakeNumber(width));
    return field;
}

std::uint64_t FieldReader::TakeNumber(std::size_t width)
{
    return NumberIn(TakeBytes(width));
}

std::string_view FieldReader::TakeBytes(std::uint64_t size)
{
    isWhole = isWhole && size <= m_bytes.size();
    const std::string_view bytes = m_bytes.substr(0, isWhole ? size : 0);
    m_bytes.remove_prefix(bytes.size());
    return bytes;
}

std::uint64_t NumberIn(std::string_view bytes)
{
    std::uint64_t number = 0;
    std::memcpy(&number, bytes.data(), (std::min)(bytes.size(), sizeof number));
    return number;
}

std::string Printed(const Records& records)
{
    std::string out;
    for (const Record& record : records)
        out += PrintedFrom(record, 0);
    return out;
}

// libFuzzer asks for these by name.

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t mostSize, unsigned int seed)
{
    Random random(seed);
    std::optional<Records> records;
    if (!random.IsOneOf(5))
        records = ParseFile({reinterpret_cast<const char*>(data), size});
    if (!records)
        return LLVMFuzzerMutate(data, size, mostSize);
    for (std::size_t changes = 1 + random.Below(3); changes > 0; --changes) {
        if (records->size() > 1 && random.IsOneOf(4))
            ChangeOrder(*records, random);
        else if (Record& record = random.In(*records); !record.empty())
            Change(random.In(record), random, Words());
    }
    return Put(Printed(*records), data, mostSize);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize,
                                                 const std::uint8_t* second, std::size_t secondSize,
                                                 std::uint8_t* out, std::size_t mostSize,
                                                 unsigned int seed)
{
    Random random(seed);
    const std::string_view other(reinterpret_cast<const char*>(second), secondSize);
    std::optional<Records> records = ParseFile({reinterpret_cast<const char*>(first), firstSize});
    const std::optional<Records> others = ParseFile(other);
    if (!records || !others)
        return Put(other, out, mostSize);
    for (const Record& record : *others) {
        const auto place = static_cast<std::ptrdiff_t>(1 + random.Below(records->size()));
        if (&record != &others->front() && random.IsOneOf(2))
            records->insert(records->begin() + place, record);
    }
    return Put(Printed(*records), out, mostSize);
}
