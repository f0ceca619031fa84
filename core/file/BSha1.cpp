#include "core/file/BSha1.h"

#include "core/base/WString.h"
#include "core/diag/CheckedConversions.h"
#include "core/file/Sha1.h"

#include <utility>

namespace Crypt {

bool BSha1::Encrypt(void* data, std::size_t size, Result& result)
{
    if (data == nullptr)
        return false;
    const std::size_t count = Sizet_uint(size);
    Result digest = {}; // the data may lie in `result`
    Sha1Digest({static_cast<const std::uint8_t*>(data), count}, FastestSha1BlockFunction(),
               digest.h);
    result = digest;
    return true;
}

bool BSha1::Encrypt(void* data, std::size_t size, WString& result)
{
    const WString before = std::exchange(result, WString()); // the data may lie in it
    Result digest = {};
    if (!Encrypt(data, size, digest))
        return false;
    const std::uint32_t* const h = digest.h;
    result.Printf(QD_W("%08x%08x%08x%08x%08x"), h[0], h[1], h[2], h[3], h[4]);
    return true;
}

} // namespace Crypt
