#pragma once

#include "core/platform/WideText.h"

#include <cstdint>
#include <string>

class BlockReader;

enum class EKind { Unknown, Archive, Language, BinaryProfile, TextProfile, Log };

/// Of which kind a file is, by its content. What is damaged is still of its kind as long as its
/// beginning tells it.
[[nodiscard]] EKind KindOf(BlockReader& file);

/// Of which kind a text would be if programs read its encoding. Unknown for anything else.
[[nodiscard]] EKind KindInAnyEncoding(BlockReader& file);

/// What a file of no known kind is instead, where that is easily told: "a program (ELF)", say.
/// Empty otherwise.
[[nodiscard]] std::string WhatElse(BlockReader& file);

/// Takes the first line off a text, without its end: CR LF, LF or CR.
[[nodiscard]] platform::WideView TakeLine(platform::WideView& text);

enum class EEncoding { Utf16, Utf16Unmarked, Utf8, Ansi };

/// What a text is probably written in. Without a mark a profile is one of the ANSI code page, as
/// programs take it, unless it can only be UTF-16; a language file, which they do not read then,
/// may be UTF-8 as well.
[[nodiscard]] EEncoding EncodingOf(BlockReader& file, EKind kind);

[[nodiscard]] bool HasUtf16Mark(BlockReader& file);
[[nodiscard]] bool HasUtf8Mark(BlockReader& file);

/// Whether the first part of a file has a mark of a text, or no byte that a text has not.
[[nodiscard]] bool LooksLikeText(BlockReader& file);

struct DecodedText {
    platform::WideText text; // without its mark
    std::string loss;        // what of the bytes is no character; empty for most
};

/// All of a text.
[[nodiscard]] DecodedText Decode(BlockReader& file, EEncoding encoding);

/// At most the first `mostBytes` of a text as the library reads it, without its mark: UTF-16LE or,
/// without a mark, in the ANSI code page. An odd last byte is dropped.
[[nodiscard]] platform::WideText ReadText(BlockReader& file, std::uint64_t mostBytes);
