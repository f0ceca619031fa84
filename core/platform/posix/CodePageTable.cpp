// The pages of Windows as tables, filled once from ICU's converters.
//
// ICU alone answers otherwise in three points: it knows only some of the look-alikes, leaves a few
// bytes without a character, and looks for the next character inside a broken pair. So its
// converters give the characters that a page has, and the tables below the rest. Tables, and no
// converter at each call, because what a broken pair takes with it is then one rule for all pages.

#include "core/platform/posix/CodePageTable.h"

#include "core/platform/posix/Converter.h"
#include "core/platform/posix/LookAlikes.h"

#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <new>

namespace platform {

namespace {

struct CodePage {
    ECodePages page;
    std::string_view converter;
    bool hasFallbacks = true; // whether the converter's own look-alikes are the page's
    WChar unknown = '?';
    std::string_view leads = {}; // first and last of each run
};

constexpr std::string_view kEastAsianLeads = "\x81\xFE";

constexpr CodePage kCodePages[] = {
    {k1250, "ibm-5346_P100-1998"},
    {k1251, "ibm-5347_P100-1998"},
    {k1253, "ibm-5349_P100-1998"},
    {k1254, "ibm-5350_P100-1998"},
    {k1255, "ibm-9447_P100-2002"},
    {k1256, "ibm-9448_X100-2005"},
    {k1257, "ibm-9449_P100-2002"},
    {k1258, "ibm-5354_P100-1998"},
    {k874, "windows-874-2000"},
    {k932, "ibm-943_P15A-2003", false, 0x30FB, "\x81\x9F\xE0\xFC"},
    {k936, "windows-936-2000", true, '?', kEastAsianLeads},
    {k949, "windows-949-2000", true, '?', kEastAsianLeads},
    {k950, "windows-950-2000", true, '?', kEastAsianLeads},
};

struct ByteRun {
    ECodePages page;
    unsigned firstByte, lastByte;
    WChar firstUnit;
};

// Bytes that the converters lack or take for other units.
constexpr ByteRun kByteRuns[] = {
    {k1253, 0xAA, 0xAA, 0xF8F9}, {k1253, 0xD2, 0xD2, 0xF8FA}, {k1253, 0xFF, 0xFF, 0xF8FB},
    {k1255, 0xCA, 0xCA, 0x05BA}, {k1255, 0xD9, 0xDF, 0xF88D}, {k1255, 0xFB, 0xFC, 0xF894},
    {k1255, 0xFF, 0xFF, 0xF896}, {k1257, 0xA1, 0xA1, 0xF8FC}, {k1257, 0xA5, 0xA5, 0xF8FD},
    {k932, 0x00, 0x80, 0x0000},  {k932, 0xA0, 0xA0, 0xF8F0},  {k932, 0xFD, 0xFF, 0xF8F1},
};

// Unit by unit: 65,536 questions take ICU 5 to 11 ms, once a process, and its own tables are not to
// be read.
void ReadUnits(UConverter* converter, CodePageTable& table)
{
    for (std::size_t unit = 0; unit < CodePageTable::kUnits; ++unit) {
        const WChar text = static_cast<WChar>(unit);
        char out[8];
        UErrorCode error = U_ZERO_ERROR;
        const int size = ucnv_fromUChars(converter, out, sizeof out, &text, 1, &error);
        const auto at = [&](int i) { return static_cast<unsigned char>(out[i]); };
        unsigned bytes = '?';
        if (U_SUCCESS(error) && size == 1)
            bytes = at(0);
        else if (U_SUCCESS(error) && size == 2)
            bytes = static_cast<unsigned>(at(0) << 8 | at(1));
        table.bytes[unit] = static_cast<std::uint16_t>(bytes);
    }
}

WChar ReadCharacter(UConverter* converter, const char* text, int size, WChar unknown)
{
    UChar out[4];
    UErrorCode error = U_ZERO_ERROR;
    const int length = ucnv_toUChars(converter, out, 4, text, size, &error);
    return U_SUCCESS(error) && length == 1 ? out[0] : unknown;
}

void ReadBytes(UConverter* converter, CodePageTable& table)
{
    for (unsigned first = 0; first <= 0xFF; ++first) {
        char text[] = {static_cast<char>(first), 0};
        if (!table.isLead[first]) {
            table.units[first] = ReadCharacter(converter, text, 1, table.unknown);
            continue;
        }
        for (unsigned second = 0; second <= 0xFF; ++second) {
            text[1] = static_cast<char>(second);
            table.units[first << 8 | second] = ReadCharacter(converter, text, 2, table.unknown);
        }
    }
}

void AddByteRuns(ECodePages page, CodePageTable& table)
{
    for (const ByteRun& run : kByteRuns) {
        for (unsigned byte = run.firstByte; run.page == page && byte <= run.lastByte; ++byte) {
            const WChar unit = static_cast<WChar>(run.firstUnit + (byte - run.firstByte));
            // What the converter gave this byte to has no byte then.
            std::ranges::replace(table.bytes, static_cast<std::uint16_t>(byte),
                                 static_cast<std::uint16_t>('?'));
            table.bytes[unit] = static_cast<std::uint16_t>(byte);
            table.units[byte] = unit;
        }
    }
}

void AddLookAlikes(ECodePages page, CodePageTable& table)
{
    for (const LookAlikes& run : kLookAlikes) {
        if ((run.pages & page) == 0)
            continue;
        std::size_t unit = run.first;
        for (std::size_t i = 0; i < run.bytes.size(); ++i, ++unit) {
            unsigned bytes = static_cast<unsigned char>(run.bytes[i]);
            if (table.isLead[bytes])
                bytes = bytes << 8 | static_cast<unsigned char>(run.bytes[++i]);
            if (table.bytes[unit] == '?' || bytes == '?')
                table.bytes[unit] = static_cast<std::uint16_t>(bytes);
        }
    }
}

} // namespace

bool FillCodePageTable(std::string_view converter, CodePageTable& table)
{
    const CodePage* const found = std::ranges::find(kCodePages, converter, &CodePage::converter);
    if (found == std::end(kCodePages))
        return false;
    const Converter source = OpenConverter(found->converter.data());
    if (!source)
        return false;
    ucnv_setFallback(source.get(), static_cast<UBool>(found->hasFallbacks));
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setFromUCallBack(source.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    ucnv_setToUCallBack(source.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    table.unknown = found->unknown;
    for (std::size_t i = 0; i < found->leads.size(); i += 2) {
        for (unsigned lead = static_cast<unsigned char>(found->leads[i]);
             lead <= static_cast<unsigned char>(found->leads[i + 1]); ++lead)
            table.isLead[lead] = true;
    }
    ReadUnits(source.get(), table);
    ReadBytes(source.get(), table);
    AddByteRuns(found->page, table);
    AddLookAlikes(found->page, table);
    return true;
}

} // namespace platform
