#pragma once

#include "core/platform/FileStream.h"

#include <cerrno>
#include <cstdio>
#include <functional>

namespace platform {

/// What both sides of `AppendLines` do with the stream: writes the lines that `next` gives, and
/// closes it. False as soon as something is lost that the file's encoding could hold.
[[nodiscard]] inline bool WriteLines(Stream stream, const std::function<const WChar*()>& next)
{
    const auto write = [&](const WChar* text) {
        errno = 0;
        if (WriteText(stream.get(), text) || std::ferror(stream.get()) == 0)
            return true;
        const bool isEncodable = errno != EILSEQ;
        std::clearerr(stream.get());
        return !isEncodable;
    };
    while (const WChar* const line = next()) {
        // The end apart, so that a line of which a part is left out still ends.
        if (!write(line) || !write(QD_W("\n")))
            return false;
    }
    return std::fflush(stream.get()) == 0 && std::fclose(stream.release()) == 0;
}

} // namespace platform
