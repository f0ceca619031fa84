#pragma once

#include "core/platform/WChar.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>

/// Files as `FILE*` streams under wide names.
///
/// Modes are those of `_wfopen`. The Unicode text modes "r,ccs=UTF-16LE", "wt,ccs=UTF-16LE",
/// "wt,ccs=UNICODE" and "at,ccs=UNICODE" open a stream of UTF-16 units: the byte-order mark is
/// handled, CR LF becomes LF on reading and LF becomes CR LF on writing, Ctrl-Z ends the text on
/// reading, and appending keeps the encoding that the file has. Without a text mode the bytes pass
/// as they are: modes without "b" and without "ccs=" are for narrow text.
namespace platform {

struct StreamCloser {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

/// Null when the file cannot be opened; the system's last error then says why.
[[nodiscard]] Stream OpenStream(const WChar* path, const WChar* mode) noexcept;

/// `fgetws`: units up to and with the next line feed, at most `room` - 1 of them, terminated. False
/// at the end of the stream with nothing read, or on an error. The stream is one of the Unicode text
/// modes, or opened binary on UTF-16LE text.
[[nodiscard]] bool ReadText(std::FILE* stream, WChar* buffer, int room) noexcept;

/// `fputws`.
[[nodiscard]] bool WriteText(std::FILE* stream, const WChar* text) noexcept;

/// Size in bytes of the file behind a binary stream, also above 4 GiB; none on an error.
[[nodiscard]] std::optional<std::uint64_t> FileSize(std::FILE* stream) noexcept;

/// Position in a binary stream, from the start of the file.
[[nodiscard]] bool Seek(std::FILE* stream, std::uint64_t position) noexcept;

} // namespace platform
