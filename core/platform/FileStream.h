#pragma once

#include "core/platform/SystemError.h"
#include "core/platform/WChar.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>

/// Files as `FILE*` streams under wide names.
///
/// Modes are those of `_wfopen`. With "b" the bytes pass as they are.
///
/// Without "b" and "ccs=" ("rt", "w") the stream is one of narrow text: CR LF becomes LF on reading
/// and LF becomes CR LF on writing, Ctrl-Z ends the text on reading.
///
/// The Unicode text modes "r,ccs=UTF-16LE", "wt,ccs=UTF-16LE", "wt,ccs=UNICODE" and
/// "at,ccs=UNICODE" open a stream of UTF-16 units with the same line ends. A byte-order mark (FF
/// FE, or EF BB BF for UTF-8) tells the encoding and is no text; a new or empty file gets the mark
/// at once. Without a mark "UTF-16LE" holds on, and "UNICODE" reads and appends a byte for each
/// unit: writing a unit above FF then fails, and the rest of its text is left out. An odd last byte
/// is dropped.
///
/// A stream of a text mode has no size, and one of a single direction no position but the start:
/// `std::rewind` leads to the mark, which is then text to a reader and written over by a writer.
/// With "+" positions count the file's bytes, as everywhere a position is set, or asked for and
/// set, between reading and writing, and a Ctrl-Z at the end of an old text is dropped.
namespace platform {

struct StreamCloser {
    /// Who does not close a stream itself mostly has an error to tell that came before.
    void operator()(std::FILE* stream) const noexcept
    {
        const LastErrorStays stays;
        std::fclose(stream);
    }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

/// Null when the file cannot be opened; the system's last error then says why. Other processes may
/// open the file meanwhile. On Windows, one that is just moving it to its name, or deleting it, is
/// waited for up to two seconds.
[[nodiscard]] Stream OpenStream(const WChar* path, const WChar* mode) noexcept;

/// `_wfopen_s`: nobody else may open the file to write meanwhile, nor, when this stream writes, to
/// read it. Fails when somebody has it open that way, after waiting up to `waitMs` for them. Off
/// Windows this holds among the streams that are opened by this function.
[[nodiscard]] Stream OpenStreamAlone(const WChar* path, const WChar* mode, int waitMs) noexcept;

/// Appends the lines that `next` gives, until that is null, to a file that nobody else has open
/// meanwhile, as streams of "at,ccs=UNICODE" do: all of them, or none. False when they cannot all
/// be written, for want of room on the disk, say: the file then has the length that it had, unless
/// it cannot be cut off either; the system's last error says why. What an 8-bit file cannot hold of
/// a line is left out. Half a unit at the end of a UTF-16 file goes before the first line comes.
[[nodiscard]] bool AppendLines(const WChar* path, int waitMs,
                               const std::function<const WChar*()>& next);

/// `fgetws`: units up to and with the next line feed, at most `room` - 1 of them (`room` being 2 or
/// more), terminated; the buffer stays as it was behind that. False at the end of the stream with
/// nothing read, or on an error. The stream is one of the Unicode text modes, or opened binary on
/// UTF-16LE text.
///
/// Intended: U+FFFF, which the runtime library takes for its end mark, ends a piece like a line
/// feed and is dropped; it gives false when nothing stands before it.
[[nodiscard]] bool ReadText(std::FILE* stream, WChar* buffer, int room) noexcept;

/// `fputws`. False when the text, or the part of it that left the stream's buffer, was not written.
///
/// Intended: U+FFFF fails like an error and the text behind it is left out, as above.
[[nodiscard]] bool WriteText(std::FILE* stream, const WChar* text) noexcept;

/// Size in bytes of the file behind a binary stream, also above 4 GiB, without what the stream
/// still buffers; none on an error.
[[nodiscard]] std::optional<std::uint64_t> FileSize(std::FILE* stream) noexcept;

/// Position in a binary stream, from the start of the file.
[[nodiscard]] bool Seek(std::FILE* stream, std::uint64_t position) noexcept;

/// Cuts the file behind a binary stream off at `size` and goes there. What the stream buffers must
/// have been flushed.
[[nodiscard]] bool Truncate(std::FILE* stream, std::uint64_t size) noexcept;

} // namespace platform
