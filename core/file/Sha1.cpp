#include "core/file/Sha1.h"

#include "core/platform/Sha1Instructions.h"

#include <algorithm>
#include <bit>
#include <utility>

// FIPS 180-1, with its names for the words and the functions. It is written out here because the
// library would otherwise need a cryptographic one for this alone. Digests tell files apart; nobody
// should trust one for a signature, as SHA-1 is broken for that.
//
// Most processors have instructions for SHA-1, several times as fast as the plain rounds; which of
// the two is taken is asked once a process.

namespace {

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kLengthSize = 8;
constexpr unsigned kRounds = 80;

std::uint32_t LoadBigEndian(const std::uint8_t* bytes) noexcept
{
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
           std::uint32_t{bytes[2]} << 8 | bytes[3];
}

// The function f and the constant K of round `T`.
template <unsigned T>
std::uint32_t Mixed(std::uint32_t b, std::uint32_t c, std::uint32_t d) noexcept
{
    if constexpr (T < 20)
        return (d ^ (b & (c ^ d))) + 0x5A827999;
    else if constexpr (T < 40)
        return (b ^ c ^ d) + 0x6ED9EBA1;
    else if constexpr (T < 60)
        return ((b & c) + (d & (b ^ c))) + 0x8F1BBCDC;
    else
        return (b ^ c ^ d) + 0xCA62C1D6;
}

// Instead of the values, the roles of a to e move from word to word: five moves a round are saved.
// Of the message schedule only the last 16 words are needed, so W(t) takes the place of W(t - 16).
template <unsigned T>
void TakeRound(std::uint32_t (&words)[5], std::uint32_t (&w)[16]) noexcept
{
    constexpr unsigned first = kRounds - T;
    const std::uint32_t a = words[first % 5];
    std::uint32_t& b = words[(first + 1) % 5];
    const std::uint32_t c = words[(first + 2) % 5];
    const std::uint32_t d = words[(first + 3) % 5];
    std::uint32_t& e = words[(first + 4) % 5];
    std::uint32_t& scheduled = w[T % 16];
    if constexpr (T >= 16)
        scheduled = std::rotl(w[(T + 13) % 16] ^ w[(T + 8) % 16] ^ w[(T + 2) % 16] ^ scheduled, 1);
    e += std::rotl(a, 5) + Mixed<T>(b, c, d) + scheduled;
    b = std::rotl(b, 30);
}

template <unsigned... T>
void TakeRounds(std::uint32_t (&words)[5], std::uint32_t (&w)[16],
                std::integer_sequence<unsigned, T...>) noexcept
{
    (TakeRound<T>(words, w), ...);
}

} // namespace

void TakeSha1Blocks(std::uint32_t (&words)[5], const std::uint8_t* blocks,
                    std::size_t count) noexcept
{
    for (; count > 0; --count, blocks += kBlockSize) {
        std::uint32_t w[16];
        for (std::size_t i = 0; std::uint32_t & word : w)
            word = LoadBigEndian(blocks + 4 * i++);
        std::uint32_t state[5];
        std::copy(words, words + 5, state);
        TakeRounds(state, w, std::make_integer_sequence<unsigned, kRounds>());
        for (std::size_t i = 0; i < 5; ++i)
            words[i] += state[i];
    }
}

Sha1BlockFunction FastestSha1BlockFunction() noexcept
{
    static const Sha1BlockFunction fastest =
        platform::HasSha1Instructions() ? &platform::TakeSha1BlocksByInstructions : &TakeSha1Blocks;
    return fastest;
}

void Sha1Digest(std::span<const std::uint8_t> message, Sha1BlockFunction take,
                std::uint32_t (&words)[5]) noexcept
{
    // H0 to H4 before the first block.
    constexpr std::uint32_t initial[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476,
                                          0xC3D2E1F0};
    std::copy(initial, initial + 5, words);
    const std::size_t whole = message.size() / kBlockSize;
    take(words, message.data(), whole);

    // What is left, 0x80, zeros, and the length in bits as a big-endian number.
    const std::span<const std::uint8_t> rest = message.subspan(whole * kBlockSize);
    std::uint8_t last[2 * kBlockSize] = {};
    *std::copy(rest.begin(), rest.end(), last) = 0x80;
    // 0x80 and the length need 9 bytes behind the rest, or a block of their own.
    const std::size_t count = rest.size() < kBlockSize - kLengthSize ? 1 : 2;
    std::uint64_t bits = std::uint64_t{message.size()} * 8;
    for (std::size_t i = 1; i <= kLengthSize; ++i, bits >>= 8)
        last[count * kBlockSize - i] = static_cast<std::uint8_t>(bits);
    take(words, last, count);
}
