#include "core/platform/SeededHash.h"

#include "core/platform/Random.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>

// The hash is after wyhash, final version 4 (Wang Yi, public domain): two words are multiplied and
// the halves of the product meet in one. It takes a multiplication for 16 bytes, where SipHash
// takes twelve additions, rotations and exclusive ors for each 8, and a dictionary asks for a hash
// with every look-up. The multiplications of two rows of words and of the end do not wait for one
// another; different factors tell the rows apart.
//
// Its published constants are not used. A key that holds one of them makes a factor 0, after which
// nothing that went before counts: whoever knows the constants makes keys that collide whatever
// the seed is. All are drawn for the process instead, and stay unknown.

namespace platform {

namespace {

using Secret = std::array<std::uint64_t, 6>;

// Nobody can be told that the system has no random numbers; the time and the place where the
// system loaded the program are harder to foresee than a constant.
void FillFromTimeAndPlace(Secret& secret) noexcept
{
    static const char here = 0;
    std::uint64_t last = reinterpret_cast<std::uintptr_t>(&here);
    for (std::uint64_t& word : secret) {
        const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
        last = (last ^ static_cast<std::uint64_t>(now)) * 6364136223846793005 + 1442695040888963407;
        word = last;
    }
}

// Null until the first hash is asked for. Asked before the static object is: to make that one takes
// calls, for which each hash would put registers away and fetch them again.
constinit std::atomic<const Secret*> g_secret = nullptr;

void DrawSecret() noexcept
{
    static const Secret secret = [] {
        Secret drawn;
        if (!FillRandom(drawn.data(), sizeof drawn))
            FillFromTimeAndPlace(drawn);
        for (std::uint64_t& word : drawn)
            word |= 1; // an even factor loses bits
        return drawn;
    }();
    g_secret.store(&secret, std::memory_order_release);
}

// The hash again, once there is a secret.
template <class... Arguments>
[[gnu::noinline]] std::uint64_t FirstHash(Arguments... arguments) noexcept
{
    DrawSecret();
    return SeededHash(arguments...);
}

constexpr std::uint64_t MixOfHalves(std::uint64_t a, std::uint64_t b) noexcept
{
    constexpr std::uint64_t lowHalf = 0xFFFFFFFF;
    const std::uint64_t low = (a & lowHalf) * (b & lowHalf);
    const std::uint64_t middle = (a >> 32) * (b & lowHalf) + (low >> 32);
    const std::uint64_t other = (a & lowHalf) * (b >> 32) + (middle & lowHalf);
    const std::uint64_t high = (a >> 32) * (b >> 32) + (middle >> 32) + (other >> 32);
    return high ^ (other << 32 | (low & lowHalf));
}

// The upper half of the product of `a` and `b`, exclusive or the lower one.
#if defined(__SIZEOF_INT128__)
constexpr std::uint64_t Mix(std::uint64_t a, std::uint64_t b) noexcept
{
    __extension__ typedef unsigned __int128 Product;
    const Product product = Product{a} * b;
    return static_cast<std::uint64_t>(product >> 64) ^ static_cast<std::uint64_t>(product);
}
static_assert(Mix(0xFEDCBA9876543210, 0x9E3779B97F4A7C15) ==
              MixOfHalves(0xFEDCBA9876543210, 0x9E3779B97F4A7C15));
static_assert(Mix(~std::uint64_t{0}, ~std::uint64_t{0}) ==
              MixOfHalves(~std::uint64_t{0}, ~std::uint64_t{0}));
#else
constexpr std::uint64_t Mix(std::uint64_t a, std::uint64_t b) noexcept
{
    return MixOfHalves(a, b);
}
#endif

template <class Word>
std::uint64_t Read(const unsigned char* at) noexcept
{
    Word word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

} // namespace

std::uint64_t SeededHash(const void* bytes, std::size_t size) noexcept
{
    const Secret* const known = g_secret.load(std::memory_order_acquire);
    if (known == nullptr)
        return FirstHash(bytes, size);
    const Secret& secret = *known;
    const auto* at = static_cast<const unsigned char*>(bytes);
    std::uint64_t one = secret[0], other = secret[1], a = 0, b = 0;
    if (size > 16) {
        std::size_t left = size;
        const auto mixed = [&at](std::uint64_t factor, std::uint64_t before) {
            const std::uint64_t word = Read<std::uint64_t>(at) ^ factor;
            at += 16;
            return Mix(word, Read<std::uint64_t>(at - 8) ^ before);
        };
        for (; left > 32; left -= 32) {
            one = mixed(secret[2], one);
            other = mixed(secret[3], other);
        }
        if (left > 16) {
            one = mixed(secret[2], one);
            left -= 16;
        }
        // The last 16 bytes, of which some may have been there before.
        a = Read<std::uint64_t>(at + left - 16);
        b = Read<std::uint64_t>(at + left - 8);
    } else if (size >= 8) { // short texts, too, are told by two words that may overlap
        a = Read<std::uint64_t>(at);
        b = Read<std::uint64_t>(at + size - 8);
    } else if (size >= 4) {
        a = Read<std::uint32_t>(at);
        b = Read<std::uint32_t>(at + size - 4);
    } else if (size != 0) {
        a = std::uint64_t{at[0]} << 16 | std::uint64_t{at[size / 2]} << 8 | at[size - 1];
    }
    return Mix(one ^ other ^ Mix(a ^ secret[4], b ^ secret[5]), secret[2] ^ size);
}

std::uint64_t SeededHash(std::uint64_t number) noexcept
{
    const Secret* const known = g_secret.load(std::memory_order_acquire);
    if (known == nullptr)
        return FirstHash(number);
    const Secret& secret = *known;
    // One multiplication would leave numbers in a row in few places, at equal distances.
    return Mix(Mix(number ^ secret[0], secret[1]) ^ secret[2], secret[3]);
}

} // namespace platform
