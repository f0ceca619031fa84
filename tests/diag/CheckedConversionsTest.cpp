#include "core/diag/CheckedConversions.h"

#include "core/base/ErrorCodes.h"

#include "tests/ThrownError.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

// Which function a conversion names as it fails.
template <class Narrow, class Wide>
WString Refusal(Narrow (*convert)(Wide), Wide value)
{
    std::optional<BError> error = ThrownError([&] { static_cast<void>(convert(value)); });
    EXPECT_TRUE(error && error->Error() == kErrorGeneral && error->Argument(1).IsEmpty());
    return error ? error->Argument(0) : WString();
}

} // namespace

TEST(CheckedConversions, ThrowTheirNameForWhatDoesNotFit)
{
    constexpr std::uint64_t big = std::uint64_t{1} << 31;
    EXPECT_EQ(Sizet_uint(2 * big - 1), 0xFFFFFFFFu);
    EXPECT_EQ(Refusal(&Sizet_uint, 2 * big), QD_W("Sizet_uint"));
    EXPECT_EQ(Sizet_int(big - 1), INT32_MAX);
    EXPECT_EQ(Refusal(&Sizet_int, big), QD_W("Sizet_int"));
    EXPECT_EQ(Sizet_byte(255), 255);
    EXPECT_EQ(Refusal(&Sizet_byte, std::uint64_t{256}), QD_W("Sizet_byte"));
    EXPECT_EQ(Longptr_int(INT32_MIN), INT32_MIN);
    EXPECT_EQ(Longptr_int(INT32_MAX), INT32_MAX);
    EXPECT_EQ(Refusal(&Longptr_int, std::int64_t{INT32_MAX} + 1), QD_W("Longptr_int"));
    EXPECT_EQ(Refusal(&Longptr_int, std::int64_t{INT32_MIN} - 1), QD_W("Longptr_int"));
    EXPECT_EQ(Dwordptr_int(big - 1), INT32_MAX);
    EXPECT_EQ(Dwordptr_int(UINT64_MAX), -1);
    EXPECT_EQ(Dwordptr_int(UINT64_MAX - big + 1), INT32_MIN);
    EXPECT_EQ(Refusal(&Dwordptr_int, big), QD_W("Dwordptr_int"));
    EXPECT_EQ(Refusal(&Dwordptr_int, std::uint64_t{INT64_MAX} + 1), QD_W("Dwordptr_int"));
}
