#include "core/platform/CodePage.h"

#include "core/platform/posix/AnsiPosition.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#if defined(__SSE2__) || defined(_M_X64)
# include <emmintrin.h>
# define QD_VECTOR_CODE_PAGE 1
#endif

namespace platform {

namespace {

// windows-1252: bytes 00 to 7F and A0 to FF are the units of the same value, 80 to 9F are these.
constexpr std::array<WChar, 32> kUpperControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

struct LookAlikes {
    char16_t first;         // the first of a run of units
    std::string_view bytes; // one for each unit of the run
};

// What Windows makes of the units above FF, its best fit included. Sorted; a unit that is not here
// becomes "?".
constexpr LookAlikes kLookAlikes[] = {
    {0x0100, "AaAaAaCcCcCcCcDd\xD0"
             "dEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi"},
    {0x0134, "JjKk"},
    {0x0139, "LlLlLl"},
    {0x0141, "LlNnNnNn"},
    {0x014C, "OoOoOo\x8C\x9CRrRrRrSsSsSs\x8A\x9ATtTtTtUuUuUuUuUuUuWwYy\x9FZzZz\x8E\x9E"},
    {0x0180, "b"},
    {0x0189, "\xD0"},
    {0x0191, "\x83\x83"},
    {0x0197, "I"},
    {0x019A, "l"},
    {0x019F, "OOo"},
    {0x01AB, "t"},
    {0x01AE, "TUu"},
    {0x01B6, "z"},
    {0x01C0, "|"},
    {0x01C3, "!"},
    {0x01CD, "AaIiOoUuUuUuUuUu"},
    {0x01DE, "Aa"},
    {0x01E4, "GgGgKkOoOo"},
    {0x01F0, "j"},
    {0x0261, "g"},
    {0x02B9, "'\""},
    {0x02BC, "'"},
    {0x02C4, "^"},
    {0x02C6, "\x88"},
    {0x02C8, "'\xAF\xB4`"},
    {0x02CD, "_"},
    {0x02DA, "\xB0"},
    {0x02DC, "\x98"},
    {0x0300, "`\xB4^~\xAF\xAF"},
    {0x0308, "\xA8"},
    {0x030A, "\xB0"},
    {0x030E, "\""},
    {0x0327, "\xB8"},
    {0x0331, "__"},
    {0x037E, ";"},
    {0x0393, "G"},
    {0x0398, "T"},
    {0x03A3, "S"},
    {0x03A6, "F"},
    {0x03A9, "O"},
    {0x03B1, "a\xDF"},
    {0x03B4, "de"},
    {0x03BC, "\xB5"},
    {0x03C0, "p"},
    {0x03C3, "st"},
    {0x03C6, "f"},
    {0x04BB, "h"},
    {0x0589, ":"},
    {0x066A, "%"},
    {0x2000, "       "},
    {0x2010, "--"},
    {0x2013, "\x96\x97"},
    {0x2017, "=\x91\x92\x82"},
    {0x201C, "\x93\x94\x84"},
    {0x2020, "\x86\x87\x95"},
    {0x2024, "\xB7"},
    {0x2026, "\x85"},
    {0x2030, "\x89"},
    {0x2032, "'"},
    {0x2035, "`"},
    {0x2039, "\x8B\x9B"},
    {0x2044, "/"},
    {0x2070, "\xB0"},
    {0x2074, "45678"},
    {0x207F, "n0123456789"},
    {0x20A1, "\xA2"},
    {0x20A4, "\xA3"},
    {0x20A7, "P"},
    {0x20AC, "\x80"},
    {0x2102, "C"},
    {0x2107, "E"},
    {0x210A, "gHHHh"},
    {0x2110, "IILl"},
    {0x2115, "N"},
    {0x2118, "PPQRRR"},
    {0x2122, "\x99"},
    {0x2124, "Z"},
    {0x2128, "Z"},
    {0x212A, "K\xC5"
             "BCeeEF"},
    {0x2133, "Mo"},
    {0x2205, "\xD8"},
    {0x2212, "-\xB1"},
    {0x2215, "/\\*\xB0\xB7v"},
    {0x221E, "8"},
    {0x2223, "|"},
    {0x2229, "n"},
    {0x2236, ":"},
    {0x223C, "~"},
    {0x2248, "\x98"},
    {0x2261, "="},
    {0x2264, "=="},
    {0x226A, "\xAB\xBB"},
    {0x22C5, "\xB7"},
    {0x2302, "\xA6^"},
    {0x2310, "\xAC"},
    {0x2320, "()"},
    {0x2329, "<>"},
    {0x2500, "-"},
    {0x2502, "\xA6"},
    {0x250C, "+"},
    {0x2510, "+"},
    {0x2514, "+"},
    {0x2518, "+"},
    {0x251C, "+"},
    {0x2524, "\xA6"},
    {0x252C, "-"},
    {0x2534, "-"},
    {0x253C, "+"},
    {0x2550, "-\xA6++++++++++++\xA6\xA6\xA6\xA6\xA6\xA6------+++"},
    {0x2580, "\xAF"},
    {0x2584, "_"},
    {0x2588, "\xA6"},
    {0x258C, "\xA6"},
    {0x2590, "\xA6\xA6\xA6\xA6"},
    {0x25A0, "\xA6"},
    {0x263C, "\xA4"},
    {0x2758, "|"},
    {0x3000, " "},
    {0x3008, "<>\xAB\xBB"},
    {0x301A, "[]"},
    {0x30FB, "\xB7"},
    {0xFF01, "!\"#$%&'()*+,-./0123456789:;<=>"},
    {0xFF20, "@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~"},
};

constexpr bool StandsForItself(unsigned unit)
{
    return unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF);
}

// The bytes of all units: a page for each upper byte that has any, and page 0 for all others.
struct ByteTable {
    static constexpr std::size_t kPages = 17;

    std::array<std::uint8_t, 256> page{};
    std::array<std::array<char, 256>, kPages> bytes{};

    constexpr char At(WChar unit) const { return bytes[page[unit >> 8]][unit & 0xFF]; }
};

constexpr ByteTable MakeByteTable()
{
    ByteTable table;
    for (auto& page : table.bytes)
        page.fill('?');
    std::uint8_t pages = 1;
    const auto set = [&](unsigned unit, char byte) {
        std::uint8_t& page = table.page[unit >> 8];
        if (page == 0)
            page = pages++;
        table.bytes[page][unit & 0xFF] = byte;
    };
    for (unsigned unit = 0; unit <= 0xFF; ++unit) {
        if (StandsForItself(unit) || kUpperControls[unit - 0x80] == unit)
            set(unit, static_cast<char>(unit));
    }
    for (const LookAlikes& run : kLookAlikes) {
        for (unsigned i = 0; i < run.bytes.size(); ++i)
            set(run.first + i, run.bytes[i]);
    }
    return table;
}

constexpr ByteTable kByteTable = MakeByteTable();

constexpr WChar UnitOf(char byte)
{
    const auto value = static_cast<unsigned char>(byte);
    return StandsForItself(value) ? WChar{value} : kUpperControls[value - 0x80u];
}

// Blocks are converted as if each character stood for itself; a bit for each that does not is the
// result, and the tables correct those.
constexpr std::size_t kBlock = 16;

#if defined(QD_VECTOR_CODE_PAGE)

unsigned WidenBlock(const char* text, WChar* out)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i zero = _mm_setzero_si128();
    auto* const target = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(target, _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(target + 1, _mm_unpackhi_epi8(bytes, zero));
    // As signed bytes 80 to 9F are those below A0.
    const __m128i others = _mm_cmplt_epi8(bytes, _mm_set1_epi8(static_cast<char>(0xA0)));
    return static_cast<unsigned>(_mm_movemask_epi8(others));
}

__m128i StandForThemselves(__m128i units)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i isByte = _mm_cmpeq_epi16(_mm_srli_epi16(units, 8), zero);
    const __m128i row = _mm_and_si128(units, _mm_set1_epi16(0xE0));
    return _mm_andnot_si128(_mm_cmpeq_epi16(row, _mm_set1_epi16(0x80)), isByte);
}

unsigned NarrowBlock(const WChar* text, char* out)
{
    const auto* const source = reinterpret_cast<const __m128i*>(text);
    const __m128i low = _mm_loadu_si128(source);
    const __m128i high = _mm_loadu_si128(source + 1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
    const __m128i selves = _mm_packs_epi16(StandForThemselves(low), StandForThemselves(high));
    return static_cast<unsigned>(_mm_movemask_epi8(selves)) ^ 0xFFFF;
}

#else

unsigned WidenBlock(const char*, WChar*)
{
    return 0xFFFF;
}

unsigned NarrowBlock(const WChar*, char*)
{
    return 0xFFFF;
}

#endif

void WesternToWide(const char* text, std::size_t length, WChar* out)
{
    for (; length >= kBlock; text += kBlock, out += kBlock, length -= kBlock) {
        for (unsigned others = WidenBlock(text, out); others != 0; others &= others - 1) {
            const int i = std::countr_zero(others);
            out[i] = UnitOf(text[i]);
        }
    }
    std::transform(text, text + length, out, UnitOf);
}

void WideToWestern(const WChar* text, std::size_t length, char* out)
{
    for (; length >= kBlock; text += kBlock, out += kBlock, length -= kBlock) {
        for (unsigned others = NarrowBlock(text, out); others != 0; others &= others - 1) {
            const int i = std::countr_zero(others);
            out[i] = kByteTable.At(text[i]);
        }
    }
    std::transform(text, text + length, out, [](WChar unit) { return kByteTable.At(unit); });
}

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// "?" for each unit that the code page lacks, also for those that ICU would leave out.
void WriteQuestionMarks(const void*, UConverterFromUnicodeArgs* arguments, const UChar*,
                        int32_t units, UChar32, UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    *error = U_ZERO_ERROR;
    ucnv_cbFromUWriteBytes(arguments, "??", std::min(units, 2), 0, error);
}

Converter OpenConverter(const std::string& name)
{
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(name.c_str(), &error));
    if (U_FAILURE(error))
        return nullptr;
    ucnv_setFallback(converter.get(), true);
    if (ucnv_getType(converter.get()) != UCNV_UTF8)
        ucnv_setFromUCallBack(converter.get(), WriteQuestionMarks, nullptr, nullptr, nullptr,
                              &error);
    return converter;
}

bool IsWestern(UConverter* converter)
{
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_getCCSID(converter, &error) == 5348;
}

// ICU's name of the code page that the environment names by name or by number; empty for
// windows-1252, and when ICU does not know it.
std::string NameOfOtherCodePage()
{
    const char* wanted = std::getenv("QD_ANSI_CODEPAGE");
    if (wanted == nullptr)
        return {};
    for (const char* prefix : {"windows-", "cp", ""}) {
        const std::string name = std::string(prefix) + wanted;
        if (const Converter converter = OpenConverter(name))
            return IsWestern(converter.get()) ? std::string() : name;
    }
    return {};
}

// This thread's converter for a code page other than windows-1252, which is null.
UConverter* OtherCodePage()
{
    static const std::string name = NameOfOtherCodePage();
    if (name.empty())
        return nullptr;
    thread_local const Converter converter = OpenConverter(name);
    return converter.get();
}

// ICU refuses to take more than this at once.
constexpr std::ptrdiff_t kPiece = 1 << 24;

// Counts what the text converts to, and writes it unless `out` is null.
std::size_t OtherToWide(UConverter* converter, const char* text, std::size_t length, WChar* out)
{
    ucnv_resetToUnicode(converter);
    std::size_t count = 0;
    const char* const end = text + length;
    for (;;) {
        WChar buffer[512];
        WChar* target = buffer;
        const char* const pieceEnd = text + std::min(end - text, kPiece);
        UErrorCode error = U_ZERO_ERROR;
        ucnv_toUnicode(converter, &target, std::end(buffer), &text, pieceEnd, nullptr,
                       pieceEnd == end, &error);
        if (out != nullptr)
            std::copy(buffer, target, out + count);
        count += static_cast<std::size_t>(target - buffer);
        if (error != U_BUFFER_OVERFLOW_ERROR && (text == end || U_FAILURE(error)))
            return count;
    }
}

std::size_t WideToOther(UConverter* converter, const WChar* text, std::size_t length, char* out)
{
    ucnv_resetFromUnicode(converter);
    std::size_t count = 0;
    const WChar* const end = text + length;
    for (;;) {
        char buffer[1024];
        char* target = buffer;
        const WChar* const pieceEnd = text + std::min(end - text, kPiece);
        UErrorCode error = U_ZERO_ERROR;
        ucnv_fromUnicode(converter, &target, std::end(buffer), &text, pieceEnd, nullptr,
                         pieceEnd == end, &error);
        if (out != nullptr)
            std::copy(buffer, target, out + count);
        count += static_cast<std::size_t>(target - buffer);
        if (error != U_BUFFER_OVERFLOW_ERROR && (text == end || U_FAILURE(error)))
            return count;
    }
}

} // namespace

std::size_t AnsiToWide(const char* text, std::size_t length, WChar* out, std::size_t room) noexcept
{
    if (length == 0 || length > INT_MAX)
        return 0;
    UConverter* const other = OtherCodePage();
    if (other == nullptr) {
        if (length <= room)
            WesternToWide(text, length, out);
        return length;
    }
    if (room >= length)
        return OtherToWide(other, text, length, out);
    const std::size_t needed = OtherToWide(other, text, length, nullptr);
    if (needed <= room)
        OtherToWide(other, text, length, out);
    return needed;
}

std::size_t WideToAnsi(const WChar* text, std::size_t length, char* out, std::size_t room) noexcept
{
    if (length == 0 || length > INT_MAX)
        return 0;
    UConverter* const other = OtherCodePage();
    if (other == nullptr) {
        if (length <= room)
            WideToWestern(text, length, out);
        return length;
    }
    if (room / kMostAnsiBytesPerUnit >= length)
        return WideToOther(other, text, length, out);
    const std::size_t needed = WideToOther(other, text, length, nullptr);
    if (needed <= room)
        WideToOther(other, text, length, out);
    return needed;
}

std::size_t AnsiPosition(const char* text, std::size_t length, std::size_t units) noexcept
{
    UConverter* const other = OtherCodePage();
    if (other == nullptr)
        return std::min(units, length);
    ucnv_resetToUnicode(other);
    const char* at = text;
    std::size_t count = 0;
    UErrorCode error = U_ZERO_ERROR;
    while (count < units) {
        const UChar32 character = ucnv_getNextUChar(other, &at, text + length, &error);
        if (U_FAILURE(error))
            break;
        count += U16_LENGTH(character);
    }
    return static_cast<std::size_t>(at - text);
}

} // namespace platform
