#include "core/platform/CodePage.h"

#include "core/platform/Apart.h"
#include "core/platform/posix/AnsiPosition.h"
#include "core/platform/posix/CodePageTable.h"
#include "core/platform/posix/Converter.h"
#include "core/platform/posix/LookAlikes.h"

#include <unicode/ucnv_cb.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#if defined(__SSE2__) || defined(_M_X64)
# include <emmintrin.h>
# define QD_VECTOR_CODE_PAGE 1
#endif

// The ANSI code page off Windows, which has none: one of three ways, chosen at the first
// conversion.
//
//     windows-1252, the default     tables that the compiler makes: no ICU, no memory, no lock
//     another page of Windows       a table of all units and bytes (`CodePageTable.h`)
//     any other that ICU knows      ICU's converter, one a thread, as a converter has a state
//
// The first two are no converters of ICU, because these answer otherwise than Windows where a page
// lacks a character (1,438 units over all pages) or a pair of bytes is broken (54,399 of them), and
// take up to three times as long. What was chosen stays, even when the environment changes: a text
// that is read in one code page and written in another would not come back.
//
// Both directions tell the size that they need and write only what fits as a whole, so that no
// caller sees half a text.
namespace platform {

namespace {

// windows-1252: bytes 00 to 7F and A0 to FF are the units of the same value, 80 to 9F are these.
constexpr std::array<WChar, 32> kUpperControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
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

// The look-alikes first, so that the page's own characters take the place of any that are in both.
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
    for (const LookAlikes& run : kLookAlikes) {
        for (unsigned i = 0; (run.pages & k1252) != 0 && i < run.bytes.size(); ++i)
            set(run.first + i, run.bytes[i]);
    }
    for (unsigned byte = 0; byte <= 0xFF; ++byte)
        set(StandsForItself(byte) ? byte : kUpperControls[byte - 0x80], static_cast<char>(byte));
    return table;
}

constexpr ByteTable kByteTable = MakeByteTable();

constexpr WChar UnitOf(char byte)
{
    const auto value = static_cast<unsigned char>(byte);
    return StandsForItself(value) ? WChar{value} : kUpperControls[value - 0x80u];
}

// Blocks are converted as if each character stood for itself; a bit for each that does not is the
// result, and the tables correct those. Names are mostly shorter than a block, so there are halves.
constexpr std::size_t kBlock = 16;
constexpr std::size_t kHalfBlock = 8;

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

unsigned WidenHalfBlock(const char* text, WChar* out)
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    const __m128i others = _mm_cmplt_epi8(bytes, _mm_set1_epi8(static_cast<char>(0xA0)));
    return static_cast<unsigned>(_mm_movemask_epi8(others)) & 0xFF;
}

// All bits of each unit that is below 80, or from A0 to FF.
__m128i StandForThemselves(__m128i units)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i isByte = _mm_cmpeq_epi16(_mm_srli_epi16(units, 8), zero);
    // 80 to 9F are one row of 32, which the upper three bits of the byte name.
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

unsigned NarrowHalfBlock(const WChar* text, char* out)
{
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(units, units));
    const __m128i selves = StandForThemselves(units);
    return ~static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(selves, selves))) & 0xFF;
}

#else

unsigned WidenBlock(const char*, WChar*)
{
    return 0xFFFF;
}

unsigned WidenHalfBlock(const char*, WChar*)
{
    return 0xFF;
}

unsigned NarrowBlock(const WChar*, char*)
{
    return 0xFFFF;
}

unsigned NarrowHalfBlock(const WChar*, char*)
{
    return 0xFF;
}

#endif

// The last block may overlap the one before: to convert characters twice takes less than to convert
// the rest of a text one by one.
template <std::size_t size, class From, class To, class Block, class One>
void ConvertBlocks(const From* text, std::size_t length, To* out, Block block, One one)
{
    for (std::size_t at = 0;; at = (std::min)(at + size, length - size)) {
        for (unsigned others = block(text + at, out + at); others != 0; others &= others - 1) {
            const std::size_t i = at + static_cast<std::size_t>(std::countr_zero(others));
            out[i] = one(text[i]);
        }
        if (at == length - size)
            return;
    }
}

void WesternToWide(const char* text, std::size_t length, WChar* out)
{
    if (length >= kBlock)
        ConvertBlocks<kBlock>(text, length, out, WidenBlock, UnitOf);
    else if (length >= kHalfBlock)
        ConvertBlocks<kHalfBlock>(text, length, out, WidenHalfBlock, UnitOf);
    else
        std::transform(text, text + length, out, UnitOf);
}

void WideToWestern(const WChar* text, std::size_t length, char* out)
{
    const auto byteOf = [](WChar unit) { return kByteTable.At(unit); };
    if (length >= kBlock)
        ConvertBlocks<kBlock>(text, length, out, NarrowBlock, byteOf);
    else if (length >= kHalfBlock)
        ConvertBlocks<kHalfBlock>(text, length, out, NarrowHalfBlock, byteOf);
    else
        std::transform(text, text + length, out, byteOf);
}

// "?" for each unit that the code page lacks, also for those that ICU would leave out.
void WriteQuestionMarks(const void*, UConverterFromUnicodeArgs* arguments, const UChar*,
                        int32_t units, UChar32, UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    *error = U_ZERO_ERROR;
    ucnv_cbFromUWriteBytes(arguments, "??", std::min(units, 2), 0, error);
}

// What the environment names: neither a table nor a converter's name stands for windows-1252.
struct Choice {
    const CodePageTable* table = nullptr;
    std::string converter;
};

Choice ChooseCodePage(std::string wanted)
{
    static constinit CodePageTable table = {}; // 256 KiB that no process pays for unless it is used
    // A number alone, or behind "cp", is the page of Windows before it is any other of the number.
    const bool isPrefixed = wanted.starts_with("cp") || wanted.starts_with("CP");
    const std::string number = wanted.substr(isPrefixed ? 2 : 0);
    for (const std::string& name : {"windows-" + number, "cp" + number, wanted}) {
        const Converter converter = OpenConverter(name.c_str());
        if (!converter)
            continue;
        UErrorCode error = U_ZERO_ERROR;
        const char* const fullName = ucnv_getName(converter.get(), &error);
        if (std::string_view(fullName) == "ibm-5348_P100-1997") // ICU's own name of it
            return {};                                          // windows-1252
        if (FillCodePageTable(fullName, table))
            return {.table = &table, .converter = {}};
        return {.table = nullptr, .converter = name};
    }
    return {};
}

// Apart: each conversion comes by, and to save registers for this took a fifth of a short name.
QD_APART Choice AskForCodePage()
{
    static const char* const wanted = std::getenv("QD_ANSI_CODEPAGE");
    return wanted != nullptr ? ChooseCodePage(wanted) : Choice();
}

// Throws std::bad_alloc, and then chooses again the next time.
const Choice& CodePage()
{
    static const Choice choice = AskForCodePage();
    return choice;
}

// The bytes at `text` that make the next unit.
std::size_t CharacterSize(const CodePageTable& table, const char* text, const char* end)
{
    const bool isPair = table.isLead[static_cast<unsigned char>(*text)];
    // A 0 ends a text also behind a lead byte: else a broken pair would swallow the end.
    return isPair && end - text > 1 && text[1] != 0 ? 2 : 1;
}

std::size_t TableToWide(const CodePageTable& table, const char* text, std::size_t length,
                        WChar* out, std::size_t room)
{
    std::size_t count = 0;
    const char* const end = text + length;
    for (const char* at = text; at != end; at += CharacterSize(table, at, end))
        ++count;
    if (count > room)
        return count;
    while (text != end) {
        const std::size_t first = static_cast<unsigned char>(*text);
        const std::size_t size = CharacterSize(table, text, end);
        if (size == 2)
            *out++ = table.units[first << 8 | static_cast<unsigned char>(text[1])];
        else
            *out++ = table.isLead[first] ? table.unknown : table.units[first];
        text += size;
    }
    return count;
}

std::size_t WideToTable(const CodePageTable& table, const WChar* text, std::size_t length,
                        char* out, std::size_t room)
{
    std::size_t count = length;
    for (std::size_t i = 0; i < length; ++i)
        count += table.bytes[text[i]] > 0xFF ? 1 : 0;
    for (std::size_t i = 0; count <= room && i < length; ++i) {
        const unsigned bytes = table.bytes[text[i]];
        if (bytes > 0xFF)
            *out++ = static_cast<char>(bytes >> 8);
        *out++ = static_cast<char>(bytes);
    }
    return count;
}

// Any other page is ICU's own affair: one converter a thread.
UConverter* ConverterOf(const Choice& choice)
{
    thread_local Converter converter;
    if (!converter) {
        converter = OpenConverter(choice.converter.c_str());
        if (!converter)
            throw std::bad_alloc(); // it was there when it was chosen
        ucnv_setFallback(converter.get(), true);
        UErrorCode error = U_ZERO_ERROR;
        // UTF-8 has all characters, and what becomes of half a pair is left to ICU.
        if (ucnv_getType(converter.get()) != UCNV_UTF8)
            ucnv_setFromUCallBack(converter.get(), WriteQuestionMarks, nullptr, nullptr, nullptr,
                                  &error);
    }
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
                       static_cast<UBool>(pieceEnd == end), &error);
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
                         static_cast<UBool>(pieceEnd == end), &error);
        if (out != nullptr)
            std::copy(buffer, target, out + count);
        count += static_cast<std::size_t>(target - buffer);
        if (error != U_BUFFER_OVERFLOW_ERROR && (text == end || U_FAILURE(error)))
            return count;
    }
}

} // namespace

std::size_t AnsiToWide(const char* text, std::size_t length, WChar* out, std::size_t room) noexcept
try {
    if (length == 0 || length > INT_MAX)
        return 0;
    const Choice& page = CodePage();
    if (page.table != nullptr)
        return TableToWide(*page.table, text, length, out, room);
    if (page.converter.empty()) {
        if (length <= room)
            WesternToWide(text, length, out);
        return length;
    }
    UConverter* const converter = ConverterOf(page);
    if (room >= length)
        return OtherToWide(converter, text, length, out);
    const std::size_t needed = OtherToWide(converter, text, length, nullptr);
    if (needed <= room)
        OtherToWide(converter, text, length, out);
    return needed;
} catch (const std::bad_alloc&) {
    return 0;
}

std::size_t WideToAnsi(const WChar* text, std::size_t length, char* out, std::size_t room) noexcept
try {
    if (length == 0 || length > INT_MAX)
        return 0;
    const Choice& page = CodePage();
    if (page.table != nullptr)
        return WideToTable(*page.table, text, length, out, room);
    if (page.converter.empty()) {
        if (length <= room)
            WideToWestern(text, length, out);
        return length;
    }
    UConverter* const converter = ConverterOf(page);
    if (room / kMostAnsiBytesPerUnit >= length)
        return WideToOther(converter, text, length, out);
    const std::size_t needed = WideToOther(converter, text, length, nullptr);
    if (needed <= room)
        WideToOther(converter, text, length, out);
    return needed;
} catch (const std::bad_alloc&) {
    return 0;
}

std::size_t AnsiPosition(const char* text, std::size_t length, std::size_t units) noexcept
try {
    // From the front: from the back a byte does not tell whether it is the second of a pair.
    const Choice& page = CodePage();
    const char* const end = text + length;
    const char* at = text;
    if (page.table != nullptr) {
        for (; units > 0 && at != end; --units)
            at += CharacterSize(*page.table, at, end);
        return static_cast<std::size_t>(at - text);
    }
    if (page.converter.empty())
        return std::min(units, length);
    UConverter* const converter = ConverterOf(page);
    ucnv_resetToUnicode(converter);
    std::size_t count = 0;
    UErrorCode error = U_ZERO_ERROR;
    while (count < units) {
        const UChar32 character = ucnv_getNextUChar(converter, &at, end, &error);
        if (U_FAILURE(error))
            break;
        count += U16_LENGTH(character);
    }
    return static_cast<std::size_t>(at - text);
} catch (const std::bad_alloc&) {
    return 0;
}

} // namespace platform
