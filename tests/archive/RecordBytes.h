#pragma once

#include "tests/FileBytes.h"

#include <cstdint>
#include <string>

// What an archive's file holds, made without the library.

inline std::string TextBytes(const std::string& text)
{
    return "S" + BytesOf(static_cast<std::uint32_t>(text.size())) + text;
}

inline std::string HeaderBytes(const std::string& docClass, int docVersion,
                               const std::string& archiveClass = "class BArchive", int format = 8)
{
    return TextBytes(docClass) + BytesOf(docVersion) + TextBytes(archiveClass) + BytesOf(format);
}

inline std::string ReferenceBytes(std::uint64_t index)
{
    return BytesOf(index);
}

inline std::string RecordBytes(const std::string& indexText, const std::string& label,
                               const std::string& className, int version,
                               const std::string& payload)
{
    return TextBytes(indexText) + TextBytes(label) + TextBytes(className) + BytesOf(version) +
           BytesOf(std::uint64_t{payload.size()}) + payload;
}
