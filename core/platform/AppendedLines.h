#pragma once

#include "core/platform/ByteOrderMark.h"
#include "core/platform/FileStream.h"
#include "core/platform/WideText.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string_view>

namespace platform {

/// Whether a UTF-16 file ends in the middle of a unit, as one may that was cut off: all that is
/// appended would be torn, too.
[[nodiscard]] inline bool EndsInHalfUnit(const WChar* path)
{
    const Stream file = OpenStream(path, QD_W("rb"));
    char mark[sizeof(WChar)];
    return file && FileSize(file.get()).value_or(0) % sizeof(WChar) != 0 &&
           std::fread(mark, sizeof mark, 1, file.get()) == 1 &&
           std::string_view(mark, sizeof mark) == kUtf16Mark;
}

/// What both sides of `AppendLines` do with the stream: writes the lines that `next` gives, and
/// closes it. False as soon as something is lost that the file's encoding could hold.
[[nodiscard]] inline bool WriteLines(Stream stream, const std::function<const WChar*()>& next)
{
    bool isWhole = true; // what was written last
    const auto write = [&](const WChar* text) {
        errno = 0;
        isWhole = WriteText(stream.get(), text);
        if (isWhole || std::ferror(stream.get()) == 0)
            return true;
        const bool isEncodable = errno != EILSEQ;
        std::clearerr(stream.get());
        return !isEncodable;
    };
    // Writing stops behind U+FFFF, which counts as the library's end mark; so the rest comes apart.
    const auto writeAll = [&](WideView rest) {
        while (write(rest.data())) {
            const std::size_t mark = rest.find(WChar(0xFFFF));
            if (isWhole || mark == rest.npos)
                return true;
            rest.remove_prefix(mark + 1);
        }
        return false;
    };
    // The line's end apart, so that one of which a part is left out still ends.
    while (const WChar* const line = next()) {
        if (!writeAll(line) || !write(QD_W("\n")))
            return false;
    }
    return std::fflush(stream.get()) == 0 && std::fclose(stream.release()) == 0;
}

} // namespace platform
