#pragma once

#include "core/platform/Export.h"

#include <cstdint>

/// Conversions of sizes and pointer-sized numbers to smaller types. Each throws BError
/// `kErrorGeneral` with its own name as argument 0 when the value does not fit.

[[nodiscard]] QD_CORE_API unsigned int Sizet_uint(std::uint64_t value);
[[nodiscard]] QD_CORE_API int Sizet_int(std::uint64_t value);
[[nodiscard]] QD_CORE_API unsigned char Sizet_byte(std::uint64_t value);
[[nodiscard]] QD_CORE_API int Longptr_int(std::int64_t value);
/// Intended: `value` is read as signed, so that a negative number that went through an unsigned
/// type comes back: 2^64 - 1 gives -1.
[[nodiscard]] QD_CORE_API int Dwordptr_int(std::uint64_t value);
