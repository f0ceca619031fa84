#include "core/base/BKeyTraits.h"

#include "core/platform/WideText.h"

#include <bit>
#include <cstring>
#include <random>

namespace {

struct Seed {
    std::uint64_t k0, k1;
};

std::uint64_t RandomBits()
{
    std::random_device device;
    return std::uint64_t{device()} << 32 | device();
}

const Seed& TheSeed()
{
    static const Seed seed{RandomBits(), RandomBits()};
    return seed;
}

struct SipState {
    std::uint64_t v0, v1, v2, v3;

    void Round() noexcept
    {
        v0 += v1;
        v1 = std::rotl(v1, 13) ^ v0;
        v0 = std::rotl(v0, 32);
        v2 += v3;
        v3 = std::rotl(v3, 16) ^ v2;
        v0 += v3;
        v3 = std::rotl(v3, 21) ^ v0;
        v2 += v1;
        v1 = std::rotl(v1, 17) ^ v2;
        v2 = std::rotl(v2, 32);
    }
    void Add(std::uint64_t word) noexcept
    {
        v3 ^= word;
        Round();
        v0 ^= word;
    }
};

} // namespace

// SipHash-1-3: Aumasson and Bernstein, INDOCRYPT 2012.
std::uint64_t QDSeededHash(const void* bytes, std::size_t size)
{
    const auto [k0, k1] = TheSeed();
    SipState state{k0 ^ 0x736f6d6570736575, k1 ^ 0x646f72616e646f6d, k0 ^ 0x6c7967656e657261,
                   k1 ^ 0x7465646279746573};
    const char* at = static_cast<const char*>(bytes);
    for (std::size_t left = size; left >= 8; left -= 8, at += 8) {
        std::uint64_t word;
        std::memcpy(&word, at, 8);
        state.Add(word);
    }
    std::uint64_t last = 0;
    if (size % 8 != 0)
        std::memcpy(&last, at, size % 8);
    state.Add(last | std::uint64_t{size} << 56);
    state.v2 ^= 0xff;
    state.Round();
    state.Round();
    state.Round();
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

std::uint64_t BKeyTraits<BString>::Hash(const BString& key) noexcept
{
    std::uint64_t h = 0;
    const char* at = key.CStr();
    for (const char* const end = at + 5; at != end && *at != 0; ++at)
        h = h * 33 + static_cast<std::uint64_t>(static_cast<signed char>(*at));
    return h;
}

std::uint64_t BKeyTraits<BString>::Seeded(const BString& key)
{
    return QDSeededHash(key.CStr(), key.Length());
}

bool BKeyTraits<BString>::Equal(const BString& a, const BString& b) noexcept
{
    return std::strcmp(a.CStr(), b.CStr()) == 0;
}

std::uint64_t BKeyTraits<WString>::Hash(const WString& key) noexcept
{
    std::uint64_t h = 0;
    const WChar* at = key.CStr();
    for (const WChar* const end = at + 8; at != end && *at != 0; ++at)
        h = h * 5 + *at;
    return h;
}

std::uint64_t BKeyTraits<WString>::Seeded(const WString& key)
{
    return QDSeededHash(key.CStr(), key.Length() * sizeof(WChar));
}

bool BKeyTraits<WString>::Equal(const WString& a, const WString& b) noexcept
{
    return platform::WideView(a.CStr()) == platform::WideView(b.CStr());
}
