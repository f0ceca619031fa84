#include "core/diag/CheckedConversions.h"

#include "core/base/ErrorCodes.h"

#include "tests/ThrownError.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

template <class Narrow, class Wide>
void ExpectRefused(Narrow (*convert)(Wide), Wide value, const WChar* name)
{
    std::optional<BError> error = ThrownError([&] { static_cast<void>(convert(value)); });
    ASSERT_TRUE(error) << value << " was converted";
    EXPECT_EQ(error->Error(), kErrorGeneral);
    EXPECT_EQ(error->Argument(0), name);
    EXPECT_TRUE(error->Argument(1).IsEmpty());
}

} // namespace

TEST(CheckedConversions, ConvertWhatFits)
{
    EXPECT_EQ(Sizet_uint(0xFFFFFFFF), 0xFFFFFFFFu);
    EXPECT_EQ(Sizet_int(0x7FFFFFFF), INT32_MAX);
    EXPECT_EQ(Sizet_byte(255), 255);
    EXPECT_EQ(Longptr_int(INT32_MIN), INT32_MIN);
    EXPECT_EQ(Longptr_int(INT32_MAX), INT32_MAX);
    EXPECT_EQ(Dwordptr_int(INT32_MAX), INT32_MAX);
    EXPECT_EQ(Dwordptr_int(UINT64_MAX), -1);
    EXPECT_EQ(Dwordptr_int(static_cast<std::uint64_t>(std::int64_t{INT32_MIN})), INT32_MIN);
}

TEST(CheckedConversions, ThrowTheirNameForWhatDoesNot)
{
    constexpr std::uint64_t big = std::uint64_t{1} << 31;
    ExpectRefused(&Sizet_uint, 2 * big, QD_W("Sizet_uint"));
    ExpectRefused(&Sizet_int, big, QD_W("Sizet_int"));
    ExpectRefused(&Sizet_byte, std::uint64_t{256}, QD_W("Sizet_byte"));
    ExpectRefused(&Longptr_int, std::int64_t{INT32_MAX} + 1, QD_W("Longptr_int"));
    ExpectRefused(&Longptr_int, std::int64_t{INT32_MIN} - 1, QD_W("Longptr_int"));
    ExpectRefused(&Dwordptr_int, big, QD_W("Dwordptr_int"));
    ExpectRefused(&Dwordptr_int, std::uint64_t{INT64_MAX} + 1, QD_W("Dwordptr_int"));
}
