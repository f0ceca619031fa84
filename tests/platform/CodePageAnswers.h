#pragma once

#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// What Windows answers for a code page: FNV-1a of the bytes of each of the 65,536 units alone, and
/// of the units of each byte and of each pair from 8000 to FFFF.
struct CodePageAnswers {
    unsigned page;
    std::uint64_t bytes, units;

    bool operator==(const CodePageAnswers&) const = default;
};

inline constexpr CodePageAnswers kCodePageAnswers[] = {
    {1250, 0x998C36A4566EFED0, 0x45322418D85CE005}, {1251, 0x36C2AEBF83AA0655, 0x9D4DE098868AFF1F},
    {1252, 0xD899F29A16C54D99, 0xB87D9FD10C9879BF}, {1253, 0xF355DC64364C5E35, 0x155E379B296BC120},
    {1254, 0xDC1D8890251FBE5B, 0x15363E8F963D8B71}, {1255, 0x54F028225EA45AF8, 0xD3FF81628CE70AE8},
    {1256, 0x78E2EE96628B4363, 0x3F3A47328F90964E}, {1257, 0x23F90A1870BE4D72, 0xBEC253302B79C685},
    {1258, 0x7D324DCA703989DA, 0x78D9A673E56F3640}, {874, 0x7AB5F3B462E5905C, 0xC4C42F2ED31D9B8B},
    {932, 0xCBEAB66D1840B8EE, 0xC88158D0BFC7D56D},  {936, 0xA7E8EB40220B1544, 0xF0725DC548480B8E},
    {949, 0x7EA14EF9E304F5B6, 0x596B235B09E4F6C9},  {950, 0xDEBCF615C6C33A93, 0x378E476E63A47E52},
};

/// `toBytes(unit, out)` and `toUnits(text, length, out)` convert and give the count.
template <class ToBytes, class ToUnits>
CodePageAnswers AskCodePage(unsigned page, ToBytes toBytes, ToUnits toUnits)
{
    CodePageAnswers answers = {page, 0xCBF29CE484222325, 0xCBF29CE484222325};
    const auto add = [](std::uint64_t& hash, unsigned value) {
        hash = (hash ^ value) * 0x100000001B3;
    };
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        unsigned char bytes[8] = {};
        const std::size_t size = toBytes(static_cast<WChar>(unit), reinterpret_cast<char*>(bytes));
        for (std::size_t i = 0; i < size; ++i)
            add(answers.bytes, bytes[i]);
        add(answers.bytes, 0x100);
    }
    for (unsigned pair = 0; pair <= 0xFFFF; pair += pair == 0xFF ? 0x7F01 : 1) {
        std::string text(1, static_cast<char>(pair));
        if (pair > 0xFF)
            text.insert(0, 1, static_cast<char>(pair >> 8));
        WChar units[8] = {};
        const std::size_t length = toUnits(text.data(), text.size(), units);
        for (std::size_t i = 0; i < length; ++i)
            add(answers.units, units[i]);
        add(answers.units, 0x10000);
    }
    return answers;
}
