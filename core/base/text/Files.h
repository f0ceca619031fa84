#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <utility>

// Strings as records of a binary file, and lines of a text file. A record:
//
// offset  size            field
//      0     4            length: units, unsigned, little-endian like all of it
//      4     4            check word: the length's bitwise complement
//      8     units        text, followed by a 0 unit

static_assert(std::endian::native == std::endian::little, "a record is the memory as it stands");

template <class String>
bool BText<String>::FRead(std::FILE* stream)
{
    // Until the check word is right the string is left alone: what is there may be no record.
    std::uint32_t head[2];
    if (!stream || std::fread(head, sizeof head, 1, stream) != 1 || head[1] != ~head[0])
        return false;

    // A damaged length must not cost memory out of proportion to what the stream holds.
    constexpr std::size_t firstPiece = 64 * 1024;
    const std::size_t length = head[0];
    Text read;
    std::size_t have = 0;
    while (have <= length) {
        const std::size_t capacity = (std::min)(length, (std::max)(firstPiece, 2 * have));
        if (!read.SetCapacity(capacity))
            return false;
        const std::size_t wanted = capacity + (capacity == length ? 1 : 0) - have;
        const std::size_t got = std::fread(read.Writable() + have, sizeof(Char), wanted, stream);
        have += got;
        if (got != wanted)
            break;
    }
    m_text = Text();
    if (have <= length || read.Writable()[length] != 0)
        return false;
    if (length > 0) {
        read.End(platform::Length(read.Text())); // it may hold more than one 0
        m_text = std::move(read);
    }
    return true;
}

template <class String>
bool BText<String>::FWrite(std::FILE* stream) const
{
    const View own = Own();
    if (!stream || own.size() > (std::numeric_limits<std::uint32_t>::max)())
        return false;
    const auto length = static_cast<std::uint32_t>(own.size());
    const std::uint32_t head[] = {length, ~length};
    return std::fwrite(head, sizeof head, 1, stream) == 1 &&
           std::fwrite(CStr(), sizeof(Char), own.size() + 1, stream) == own.size() + 1;
}

template <class String>
bool BText<String>::ReadLn(std::FILE* stream)
{
    if (!stream || std::feof(stream) || std::ferror(stream))
        return false;
    constexpr int room = 512; // a full piece that no line feed ends has more to come
    Char chunk[room];
    Text line;
    std::size_t length = 0;
    View piece;
    do {
        if (!BTextTraits<String>::ReadChunk(stream, chunk, room))
            break;
        piece = NText::Measured(chunk);
        if (!line.Push(length, piece))
            return false;
    } while (piece.size() == room - 1 && piece.back() != '\n');

    while (length > 0 && line.Text()[length - 1] == '\n')
        --length;
    return m_text.Assign(View(line.Text(), length));
}
