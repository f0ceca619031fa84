#pragma once

#include "core/platform/Export.h"

#include <cstddef>
#include <cstdint>

class WString;

namespace Crypt {

/// SHA-1 digests (FIPS 180-1), which tell contents apart. They are no protection against someone
/// who forges one: collisions are known.
///
/// The digest functions are named `Encrypt`, as their callers know them.
class QD_CORE_API BSha1 {
public:
    /// The words H0 to H4.
    struct Result {
        std::uint32_t h[5];
    };

    /// Digest of the `size` bytes at `data`, which may lie in `result`; false when `data` is null.
    /// Throws BError `kErrorGeneral` with "Sizet_uint" when `size` is above 2^32 - 1. Then, and
    /// when the answer is false, these words stay as they were.
    static bool Encrypt(void* data, std::size_t size, Result& result);
    /// The same as 40 hexadecimal digits in lower case; `result` is empty when there is none.
    static bool Encrypt(void* data, std::size_t size, WString& result);

private:
    BSha1() = default;
};

} // namespace Crypt
