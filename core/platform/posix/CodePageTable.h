#pragma once

#include "core/platform/WChar.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace platform {

/// An ANSI code page of Windows with one or two bytes a character, in both directions.
struct CodePageTable {
    static constexpr std::size_t kUnits = 0x10000;

    std::array<std::uint16_t, kUnits> bytes; // of each unit; a lead byte is the upper half
    std::array<WChar, kUnits> units;         // of each byte, and of each pair
    std::array<bool, 0x100> isLead;          // whether a byte begins a pair
    WChar unknown;                           // for a lead byte without its second one
};

/// Fills the table of the page that ICU's converter of this full name stands for; false when it is
/// none of 1250, 1251, 1253 to 1258, 874, 932, 936, 949 and 950. Throws std::bad_alloc.
[[nodiscard]] bool FillCodePageTable(std::string_view converter, CodePageTable& table);

} // namespace platform
