#include "core/platform/UnitBlock.h"

#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

using platform::kBlockUnits;
using platform::UnitsWithin;
using platform::WideText;

TEST(UnitBlock, CountsUpToTheFirstUnitOutside)
{
    const WideText inside(kBlockUnits, WChar(0x1B));
    EXPECT_EQ(UnitsWithin(inside.data(), 0x1B, 0xFFFF), kBlockUnits);
    for (std::size_t first = 0; first != kBlockUnits; ++first) {
        for (std::size_t other = first; other != kBlockUnits; ++other) {
            WideText text = inside;
            text[first] = text[other] = WChar(0x1A);
            EXPECT_EQ(UnitsWithin(text.data(), 0x1B, 0xFFFF), first);
        }
    }
}

// Each unit there is, in each range of these bounds.
TEST(UnitBlock, BothBoundsAreInside)
{
    const WChar bounds[] = {0, 1, 0x0A, 0x0B, 0x7FFF, 0x8000, 0x8001, 0xFFFE, 0xFFFF};
    for (const WChar lowest : bounds) {
        for (const WChar highest : bounds) {
            if (lowest > highest)
                continue;
            WideText text(kBlockUnits, lowest);
            std::size_t wrong = 0;
            for (std::size_t unit = 0; unit <= 0xFFFF; ++unit) {
                const std::size_t place = unit % kBlockUnits;
                text[place] = static_cast<WChar>(unit);
                const bool isInside = lowest <= unit && unit <= highest;
                wrong +=
                    UnitsWithin(text.data(), lowest, highest) != (isInside ? kBlockUnits : place);
                text[place] = lowest;
            }
            EXPECT_EQ(wrong, 0u) << "from " << std::uint32_t{lowest} << " to "
                                 << std::uint32_t{highest};
        }
    }
}

TEST(UnitBlock, MayStandAtAnyAddress)
{
    const WideText text = QD_W("\nabcdefg\nabcdefg\n");
    for (std::size_t offset = 0; offset <= sizeof(WChar) * kBlockUnits; ++offset) {
        std::string bytes(offset, 'x');
        bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WChar));
        for (std::size_t unit = 0; unit + kBlockUnits <= text.size(); ++unit)
            EXPECT_EQ(UnitsWithin(bytes.data() + offset + unit * sizeof(WChar), 0x0B, 0xFFFE),
                      std::min(text.find(WChar('\n'), unit) - unit, kBlockUnits));
    }
}
