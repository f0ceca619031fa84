#include "core/geometry/BBitArray.h"

#include "core/archive/BArchive.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <typeinfo>

// The record:
//
//     offset  size  field
//     0       4     width
//     4       4     height
//     8       4     bytes per cell
//     12      ...   width x height x bytes per cell: the data, or nothing
//
// Memory comes from `calloc`, and memory that cannot be had leaves an array without data, which its
// header allows: a picture of some gigabytes is an ordinary failure. But one is never saved, nor
// loaded, without data that it should have. What a record holds no data of has none, and goes back
// so: such were written, and a document with one can be saved.

namespace {

constexpr std::uint64_t kRecordHeadSize = 12;
constexpr std::uint64_t kTooLarge = std::numeric_limits<std::uint64_t>::max();

std::int32_t BytesPerCell(int planes)
{
    return planes < 1 ? 0 : static_cast<std::int32_t>((std::int64_t{planes} + 7) / 8);
}

/// Bytes of so many cells; `kTooLarge` when that is more than 63 bits hold.
std::uint64_t DataSizeOf(std::int32_t width, std::int32_t height, std::int32_t bytesPerCell)
{
    const std::int64_t cells = std::int64_t{width} * height;
    if (cells < 1 || bytesPerCell < 1)
        return 0;
    if (cells > std::numeric_limits<std::int64_t>::max() / bytesPerCell)
        return kTooLarge;
    return static_cast<std::uint64_t>(cells * bytesPerCell);
}

/// Zeroed; null for no bytes and when they cannot be had.
std::uint8_t* Allocate(std::uint64_t size)
{
    // Large blocks come from the system as zeros, which calloc knows and new does not.
    return size == 0 || size == kTooLarge ? nullptr
                                          : static_cast<std::uint8_t*>(std::calloc(size, 1));
}

} // namespace

BBitArray::BBitArray(int planes, int width, int height)
    : m_width(width)
    , m_height(height)
    , m_bytesPerCell(BytesPerCell(planes))
{
    const std::uint64_t size = DataSizeOf(m_width, m_height, m_bytesPerCell);
    m_data = Allocate(size);
    m_isIncomplete = size != 0 && m_data == nullptr;
}

BBitArray::BBitArray(const BBitArray& other)
    : B2DArrayBase(other)
{
    *this = other; // the fields are those of an empty array so far
}

BBitArray& BBitArray::operator=(const BBitArray& other)
{
    if (this == &other)
        return *this;
    std::free(m_data);
    m_width = other.m_width;
    m_height = other.m_height;
    m_bytesPerCell = other.m_bytesPerCell;
    m_data = Allocate(other.DataSize());
    m_isIncomplete = other.m_isIncomplete || (other.m_data != nullptr && m_data == nullptr);
    if (m_data)
        std::memcpy(m_data, other.m_data, other.DataSize());
    return *this;
}

BBitArray::~BBitArray()
{
    std::free(m_data);
}

std::uint64_t BBitArray::AllocatedMemory() const
{
    return sizeof *this + DataSize();
}

void BBitArray::WriteData(BArchive& archive) const
{
    archive << m_width << m_height << m_bytesPerCell;
    if (m_data)
        archive.WriteMemoryBlock(m_data, DataSize());
    else if (m_isIncomplete && m_width > 0)
        throw std::bad_alloc(); // the data would be lost without a word
}

void BBitArray::ChangeExtent(int x, int y, int width, int height)
{
    const std::uint64_t size =
        width > 0 && height > 0 ? DataSizeOf(width, height, m_bytesPerCell) : 0;
    std::uint8_t* const data = Allocate(size);
    m_isIncomplete = size != 0 && data == nullptr;

    // What the old and the new extent have in common, in cells of the old one. In 64 bits, as the
    // right edge may lie beyond what an int holds.
    const std::int64_t left = std::max(0, x);
    const std::int64_t top = std::max(0, y);
    const std::int64_t right = std::min<std::int64_t>(m_width, std::int64_t{x} + width);
    const std::int64_t bottom = std::min<std::int64_t>(m_height, std::int64_t{y} + height);
    if (data && m_data && left < right) {
        const std::size_t rowSize = static_cast<std::size_t>((right - left) * m_bytesPerCell);
        for (std::int64_t row = top; row < bottom; ++row)
            std::memcpy(data + ((row - y) * width + left - x) * m_bytesPerCell,
                        m_data + (row * m_width + left) * m_bytesPerCell, rowSize);
    }

    std::free(m_data);
    m_data = data;
    m_width = width;
    m_height = height;
}

SP<BSmartObj> BBitArray::Read(BArchive& archive, int)
{
    if (archive.BytesLeft() < kRecordHeadSize)
        return nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bytesPerCell = 0;
    archive >> width >> height >> bytesPerCell;
    // An array without data has written none, whatever its extent.
    const bool hasData = archive.BytesLeft() != 0;
    const std::uint64_t size = hasData ? DataSizeOf(width, height, bytesPerCell) : 0;
    if (bytesPerCell < 0 || size > archive.BytesLeft())
        return nullptr;

    SP<BBitArray> array(new BBitArray(0, width, height));
    array->m_bytesPerCell = bytesPerCell;
    array->m_data = Allocate(size);
    // Not null, which would count as a damaged record: the file is sound.
    if (size > 0 && !array->m_data)
        throw std::bad_alloc();
    if (size > 0 && !archive.ReadMemoryBlock(array->m_data, size))
        return nullptr;
    return array;
}

const char* BBitArray::CLASSNAME()
{
    return ClassName(typeid(BBitArray));
}

void BBitArray::SetAllBits() noexcept
{
    std::fill_n(m_data, DataSize(), std::uint8_t{0xFF});
}

void BBitArray::UnsetAllBits() noexcept
{
    std::fill_n(m_data, DataSize(), std::uint8_t{0});
}

std::uint64_t BBitArray::DataSize() const noexcept
{
    return m_data ? DataSizeOf(m_width, m_height, m_bytesPerCell) : 0;
}
