#include "core/profile/BVariant.h"

#include "core/platform/FileStream.h"

#include <cstring>
#include <type_traits>
#include <utility>

// A profile reads and writes its values through `ReadValue` and `AppendValue`, in blocks of many: a
// call of the stream for each piece takes as long as all the rest. The members that take a stream
// stand on the same two, so that there is one place for each layout.

static_assert(sizeof(int) == 4 && sizeof(double) == 8);

namespace {

// They stand in files: a code keeps its meaning for good.
template <class T>
constexpr std::uint32_t kTypeCode = 0;
template <>
constexpr std::uint32_t kTypeCode<int> = 1;
template <>
constexpr std::uint32_t kTypeCode<BString> = 2;
template <>
constexpr std::uint32_t kTypeCode<double> = 3;
template <>
constexpr std::uint32_t kTypeCode<BVarMemBlock> = 4;
template <>
constexpr std::uint32_t kTypeCode<bool> = 5;
template <>
constexpr std::uint32_t kTypeCode<WString> = 6;

template <class T>
constexpr bool kIsText = std::is_same_v<T, BString> || std::is_same_v<T, WString>;

// None for a code that is not known: how long such a value is nobody can tell, so the reader cannot
// go on behind it.
SP<BVariant> MakeVariant(std::uint32_t type)
{
    switch (type) {
    case kTypeCode<int>: return new TVariant<int>(0);
    case kTypeCode<BString>: return new TVariant<BString>({});
    case kTypeCode<double>: return new TVariant<double>(0);
    case kTypeCode<BVarMemBlock>: return new BVarMemBlock(nullptr, 0);
    case kTypeCode<bool>: return new TVariant<bool>(false);
    case kTypeCode<WString>: return new TVariant<WString>({});
    default: return {};
    }
}

// Has `read` take something from where `stream` stands, and leaves the stream behind it. Without a
// position that can be told nothing is read.
template <class Read>
void ReadFrom(std::FILE* stream, Read read)
{
    if (stream == nullptr)
        return;
    BlockReader reader(*stream);
    reader.MoveTo(static_cast<std::uint64_t>(std::ftell(stream)));
    VariantSource source(reader);
    read(source);
    if (reader.IsGood())
        static_cast<void>(platform::Seek(stream, reader.Position()));
}

} // namespace

void BVariant::Save(std::FILE* stream) const
{
    if (stream == nullptr)
        return;
    const std::uint32_t type = Type();
    std::fwrite(&type, sizeof type, 1, stream);
    SaveValue(stream);
}

void BVariant::LoadValue(std::FILE* stream)
{
    ReadFrom(stream, [this](VariantSource& source) { ReadValue(source); });
}

void BVariant::SaveValue(std::FILE* stream) const
{
    if (stream == nullptr)
        return;
    // Whether it arrived is for the stream to tell.
    VariantBytes bytes;
    AppendValue(bytes);
    static_cast<void>(bytes.MoveTo(stream));
}

template <class T>
std::uint32_t TVariant<T>::Type() const
{
    return kTypeCode<T>;
}

// Intended: a number that is cut short is not noticed; the keys around it are what is checked.
template <class T>
void TVariant<T>::ReadValue(VariantSource& source)
{
    if constexpr (kIsText<T>) {
        if (!source.ReadText(m_value))
            m_value.Clear();
    } else {
        T value = m_value; // stays where the file ends early
        if (source.Read(&value, sizeof value))
            m_value = value;
    }
}

template <class T>
void TVariant<T>::AppendValue(VariantBytes& bytes) const
{
    if constexpr (kIsText<T>)
        bytes.AppendText(m_value);
    else
        bytes.Append(&m_value, sizeof m_value);
}

// One byte in the file, whatever a bool has here; any other than 0 is true, where copying its bits
// would be undefined.
template <>
void TVariant<bool>::ReadValue(VariantSource& source)
{
    std::uint8_t byte = 0;
    if (source.Read(&byte, sizeof byte))
        m_value = byte != 0;
}

template <>
void TVariant<bool>::AppendValue(VariantBytes& bytes) const
{
    const std::uint8_t byte = m_value ? 1 : 0;
    bytes.Append(&byte, sizeof byte);
}

template class TVariant<int>;
template class TVariant<double>;
template class TVariant<bool>;
template class TVariant<BString>;
template class TVariant<WString>;

BVarMemBlock::BVarMemBlock(const void* data, unsigned int size)
    : m_size(data != nullptr ? size : 0)
{
    if (m_size == 0)
        return;
    m_data = std::make_unique_for_overwrite<char[]>(m_size);
    std::memcpy(m_data.get(), data, m_size);
}

std::uint32_t BVarMemBlock::Type() const
{
    return kTypeCode<BVarMemBlock>;
}

void BVarMemBlock::ReadValue(VariantSource& source)
{
    m_data.reset();
    m_size = 0;
    std::uint32_t head[2]; // the size and its complement
    if (!source.Read(head, sizeof head) || head[1] != ~head[0] || head[0] == 0 ||
        !source.Has(head[0])) // before it sizes anything
        return;
    auto data = std::make_unique_for_overwrite<char[]>(head[0]);
    if (source.Read(data.get(), head[0])) {
        m_data = std::move(data);
        m_size = head[0];
    }
}

void BVarMemBlock::AppendValue(VariantBytes& bytes) const
{
    // The complement shows a reader that this is a size, and not what a damaged file has here.
    bytes.Append(m_size);
    bytes.Append(~m_size);
    bytes.Append(m_data.get(), m_size);
}

SP<BVariant> LoadVariant(std::FILE* stream)
{
    SP<BVariant> variant;
    ReadFrom(stream, [&variant](VariantSource& source) { variant = LoadVariant(source); });
    return variant;
}

SP<BVariant> LoadVariant(VariantSource& source)
{
    std::uint32_t type = 0;
    if (!source.Read(&type, sizeof type))
        return {};
    SP<BVariant> variant = MakeVariant(type);
    if (variant)
        variant->ReadValue(source);
    return variant;
}
