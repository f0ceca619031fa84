#include "core/base/BKeyTraits.h"

#include "core/platform/SeededHash.h"

std::uint64_t QDSeededHash(const void* bytes, std::size_t size) noexcept
{
    return platform::SeededHash(bytes, size);
}

std::uint64_t QDSeededHash(std::uint64_t number) noexcept
{
    return platform::SeededHash(number);
}

std::uint64_t BKeyTraits<BString>::Hash(const BString& key) noexcept
{
    std::uint64_t h = 0;
    const char* at = key.CStr();
    for (const char* const end = at + 5; at != end && *at != 0; ++at)
        h = h * 33 + static_cast<std::uint64_t>(static_cast<signed char>(*at));
    return h;
}

std::uint64_t BKeyTraits<WString>::Hash(const WString& key) noexcept
{
    std::uint64_t h = 0;
    const WChar* at = key.CStr();
    for (const WChar* const end = at + 8; at != end && *at != 0; ++at)
        h = h * 5 + *at;
    return h;
}
