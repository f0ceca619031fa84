#include "core/diag/CheckedConversions.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/platform/WChar.h"

#include <utility>

namespace {

template <class Narrow, class Wide>
Narrow Checked(Wide value, const WChar* function)
{
    if (!std::in_range<Narrow>(value))
        throw BError(kErrorGeneral, function, nullptr, nullptr, nullptr);
    return static_cast<Narrow>(value);
}

} // namespace

unsigned int Sizet_uint(std::uint64_t value)
{
    return Checked<unsigned int>(value, QD_W("Sizet_uint"));
}

int Sizet_int(std::uint64_t value)
{
    return Checked<int>(value, QD_W("Sizet_int"));
}

unsigned char Sizet_byte(std::uint64_t value)
{
    return Checked<unsigned char>(value, QD_W("Sizet_byte"));
}

int Longptr_int(std::int64_t value)
{
    return Checked<int>(value, QD_W("Longptr_int"));
}

int Dwordptr_int(std::uint64_t value)
{
    return Checked<int>(static_cast<std::int64_t>(value), QD_W("Dwordptr_int"));
}
