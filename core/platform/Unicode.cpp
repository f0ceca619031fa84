#include "core/platform/Unicode.h"

#include <cstdint>
#include <cstring>

// By hand, as no library is on both platforms: Windows' own conversion marks broken text otherwise
// than ICU does, and neither tells where. Runs of ASCII, which most texts are, go eight at a time.
namespace platform {

namespace {

using Byte = unsigned char;

constexpr std::size_t kBlock = 8;

// How a character goes on behind its first byte: how many bytes, and between what the second one
// lies. Nothing else is a character: overlong forms, surrogates and what lies above U+10FFFF break
// off there (Unicode 15.0, table 3-7).
struct Continuation {
    int count;
    Byte least, most;
};

constexpr Continuation ContinuationOf(Byte lead) noexcept
{
    if (lead < 0xC2 || lead > 0xF4)
        return {0, 0, 0};
    if (lead < 0xE0)
        return {1, 0x80, 0xBF};
    if (lead < 0xF0)
        return {2, static_cast<Byte>(lead == 0xE0 ? 0xA0 : 0x80),
                static_cast<Byte>(lead == 0xED ? 0x9F : 0xBF)};
    return {3, static_cast<Byte>(lead == 0xF0 ? 0x90 : 0x80),
            static_cast<Byte>(lead == 0xF4 ? 0x8F : 0xBF)};
}

// The character at `at`, which is not ASCII and behind which `at` is moved.
char32_t TakeCharacter(const Byte*& at, const Byte* end, bool& isWhole) noexcept
{
    const Byte lead = *at++;
    auto [count, least, most] = ContinuationOf(lead);
    char32_t character = lead & (0x3Fu >> count);
    bool isCharacter = count != 0;
    for (; count != 0; --count) {
        if (at == end || *at < least || *at > most) {
            isCharacter = false;
            break;
        }
        character = character << 6 | (*at++ & 0x3Fu);
        least = 0x80;
        most = 0xBF;
    }
    isWhole = isWhole && isCharacter;
    return isCharacter ? character : kReplacement;
}

// One that is not ASCII.
char* PutUtf8(char32_t character, char* out) noexcept
{
    const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
    return out;
}

// Whether none of the units of a block has one of the bits `others`.
template <class Unit>
bool IsAsciiBlock(const Unit* at, std::uint64_t others) noexcept
{
    std::uint64_t words[kBlock * sizeof(Unit) / sizeof(std::uint64_t)];
    std::memcpy(words, at, sizeof words);
    std::uint64_t all = 0;
    for (const std::uint64_t word : words)
        all |= word;
    return (all & others) == 0;
}

} // namespace

std::size_t Utf8ToWide(std::string_view text, WChar* out, bool& isWhole) noexcept
{
    const auto* at = reinterpret_cast<const Byte*>(text.data());
    const Byte* const end = at + text.size();
    const WChar* const begin = out;
    while (at != end) {
        for (; static_cast<std::size_t>(end - at) >= kBlock &&
               IsAsciiBlock(at, 0x8080'8080'8080'8080u);
             at += kBlock) {
            for (std::size_t i = 0; i < kBlock; ++i)
                *out++ = static_cast<WChar>(at[i]);
        }
        // As far as the text goes on like that, one block at the most.
        while (at != end && *at < 0x80)
            *out++ = static_cast<WChar>(*at++);
        while (at != end && *at >= 0x80)
            out = PutCharacter(TakeCharacter(at, end, isWhole), out);
    }
    return static_cast<std::size_t>(out - begin);
}

std::size_t WideToUtf8(WideView text, char* out, bool& isWhole) noexcept
{
    const char* const begin = out;
    for (std::size_t i = 0; i < text.size();) {
        for (; text.size() - i >= kBlock && IsAsciiBlock(text.data() + i, 0xFF80'FF80'FF80'FF80u);
             i += kBlock) {
            for (std::size_t k = 0; k < kBlock; ++k)
                *out++ = static_cast<char>(text[i + k]);
        }
        while (i < text.size() && text[i] < 0x80)
            *out++ = static_cast<char>(text[i++]);
        while (i < text.size() && text[i] >= 0x80)
            out = PutUtf8(TakeCharacter(text, i, isWhole), out);
    }
    return static_cast<std::size_t>(out - begin);
}

std::size_t Utf8Room(WideView text) noexcept
{
    std::size_t room = text.size();
    for (const WChar unit : text) {
        room += unit >= 0x80;
        room += unit >= 0x800;
    }
    return room;
}

} // namespace platform
