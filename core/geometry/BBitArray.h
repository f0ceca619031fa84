#pragma once

#include "core/base/SP.h"
#include "core/geometry/Arithmetic.h"
#include "core/geometry/B2DArrayBase.h"
#include "core/platform/Export.h"

#include <cstdint>

class BArchive;

/// A grid of cells with the same number of bits, its planes, in each: flags of an image's pixels.
///
/// Row by row, cell by cell, 8 planes a byte: bit p of a cell is bit p % 8 of its byte p / 8.
///
/// No coordinate or plane is checked: out of range is the caller's fault. So is every access to an
/// array without data: `Data()` tells. None has an array of planes below 1, of a width times height
/// below 1, or of more bytes than can be allocated. One thread at a time; several may read.
class QD_CORE_API BBitArray : public B2DArrayBase {
public:
    /// All bits unset. `planes` is rounded up to a multiple of 8. Intended: of two extents below 0
    /// only the product counts.
    BBitArray(int planes, int width, int height);

    /// A copy has data of its own; none when it cannot be allocated.
    BBitArray(const BBitArray& other);
    BBitArray& operator=(const BBitArray& other);
    ~BBitArray() override;

    std::uint64_t AllocatedMemory() const override;
    /// Throws `std::bad_alloc` for an array of extents above 0 whose data could not be allocated.
    void WriteData(BArchive& archive) const override;

    /// Keeps the cells that the old and the new extent have in common; new cells are unset. A width
    /// or a height below 1 leaves no data, and so does a failed allocation.
    void ChangeExtent(int x, int y, int width, int height) override;
    int Width() const override { return m_width; }
    int Height() const override { return m_height; }

    /// Rebuilds an array from the record at hand, one without data when that holds none. Null when
    /// the record does not hold what it declares. Throws `std::bad_alloc` when the array cannot be
    /// allocated.
    [[nodiscard]] static SP<BSmartObj> Read(BArchive& archive, int version);
    [[nodiscard]] static const char* CLASSNAME();

    /// Number of cells.
    [[nodiscard]] std::int64_t Size() const noexcept { return std::int64_t{m_width} * m_height; }
    /// Bits in each cell: a multiple of 8.
    [[nodiscard]] int Planes() const noexcept { return NGeometry::Multiply(m_bytesPerCell, 8); }

    [[nodiscard]] bool TestBit(int x, int y, int plane) const noexcept
    {
        return (m_data[Place(x, y, plane)] & Bit(plane)) != 0;
    }
    void SetBit(int x, int y, int plane) noexcept { m_data[Place(x, y, plane)] |= Bit(plane); }
    /// Intended: keeps the addressed bit as it was and clears the other seven of its byte, since
    /// existing masks have been made this way.
    void UnsetBit(int x, int y, int plane) noexcept { m_data[Place(x, y, plane)] &= Bit(plane); }
    /// `SetBit` or, with what that entails, `UnsetBit`.
    void ChangeBit(int x, int y, int plane, bool value) noexcept
    {
        value ? SetBit(x, y, plane) : UnsetBit(x, y, plane);
    }

    void SetAllBits() noexcept;
    void UnsetAllBits() noexcept;

    /// The bytes, `DataSize()` of them; null when there are none.
    [[nodiscard]] const std::uint8_t* Data() const noexcept { return m_data; }
    [[nodiscard]] std::uint64_t DataSize() const noexcept;

private:
    static constexpr std::uint8_t Bit(int plane) noexcept
    {
        return static_cast<std::uint8_t>(1u << (plane % 8));
    }
    std::int64_t Place(int x, int y, int plane) const noexcept
    {
        return (std::int64_t{m_width} * y + x) * m_bytesPerCell + plane / 8;
    }

    std::uint8_t* m_data = nullptr; // owned
    std::int32_t m_width = 0;
    std::int32_t m_height = 0;
    std::int32_t m_bytesPerCell = 0;
    bool m_isIncomplete = false; // its data could not be allocated
};
