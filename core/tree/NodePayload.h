#pragma once

#include "core/archive/BArchive.h"
#include "core/archive/Encoding.h"

#include <cstdint>

// A node's payload, version 2 (the primitives are in BArchive.cpp):
//
//   object        reference
//   children      4-byte count, a reference each
//   attributes    4-byte count, a reference each
//   narrow text   BString: the text in the ANSI code page
//   parent        reference; written for older programs, ignored on reading
//   flags         1 byte: bit 0 active, bit 1 locked
//   text          WString; from version 1 on, before that the narrow text is the text
//   annotations   4-byte count, a reference each; from version 2 on
//
// Here is how it is read, for the node itself and for who looks at a file without rebuilding
// anything.

namespace NNode {

inline constexpr int kPayloadVersion = 2;
inline constexpr char kActiveFlag = 1;
inline constexpr char kLockedFlag = 2;

template <class Source>
std::uint64_t ReadReference(Source& source)
{
    void* index = nullptr;
    source >> index;
    return reinterpret_cast<std::uintptr_t>(index);
}

template <class Source>
std::uint32_t ReadCount(Source& source)
{
    int count = 0;
    source >> count;
    if (count < 0)
        count = 0;
    if (static_cast<std::uint64_t>(count) >
        source.BytesLeft() / NArchive::ReferenceSize(source.Version()))
        throw ArchiveFormatFault;
    return static_cast<std::uint32_t>(count);
}

/// Reads a payload from a `BArchive`, or what reads values like one, and hands `target` its parts
/// in the order of the file: `Object(index)`, `List(which, count)` and then `Entry(index)` for each
/// (list 0 has the children, 1 the attributes, 2 the annotations), `NarrowText(source)` or
/// `Text(source)`, which read the text themselves, `Flags(flags)`.
template <class Source, class Target>
void ReadPayload(Source& source, int version, Target& target)
{
    const auto readList = [&](int which) {
        std::uint32_t count = ReadCount(source);
        target.List(which, count);
        for (; count > 0; --count)
            target.Entry(ReadReference(source));
    };
    target.Object(ReadReference(source));
    readList(0);
    readList(1);
    if (version < 1)
        target.NarrowText(source);
    else
        source.SkipText();
    static_cast<void>(ReadReference(source)); // the parent: the list that names the node decides
    char flags = kActiveFlag;
    source >> flags;
    target.Flags(flags);
    if (version >= 1)
        target.Text(source);
    if (version >= kPayloadVersion)
        readList(2);
    else
        target.List(2, 0);
}

} // namespace NNode
