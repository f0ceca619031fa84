#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"
#include "core/platform/FormatText.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <utility>

// `Printf`. Most texts are short: a buffer on the stack takes them, and the string's block then
// fits exactly. A longer one is formatted again into a block of the length that the first pass
// told.

namespace NText {

// A longer result is a failure, terminating 0 included.
inline constexpr std::int64_t kPrintfLimit = std::int64_t{1} << 28;

} // namespace NText

template <class String>
void BText<String>::Printf(const Char* format, ...)
{
    if (!format) {
        Clear();
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    constexpr std::size_t room = BTextTraits<String>::kPrintfRoom;
    Char buffer[room];
    const std::int64_t length = platform::Format(buffer, room, format, arguments);
    va_end(arguments);

    if (length < 0 || length >= NText::kPrintfLimit) {
        if constexpr (BTextTraits<String>::kFailedPrintfEmpties)
            Clear();
    } else if (length == 0) {
        Clear();
    } else if (static_cast<std::size_t>(length) < room) {
        // A 0 may have been formatted, too: the text ends there. Some runtime libraries tell a
        // length that is too short.
        const View told(buffer, static_cast<std::size_t>(length));
        m_text.Assign(told.substr(0, told.find(Char(0))));
    } else {
        // A block of its own, as the string's text may be an argument.
        auto made = Text::WithCapacity(static_cast<std::size_t>(length));
        if (made.IsNull())
            return;
        va_start(arguments, format);
        const bool done =
            platform::Format(made.Writable(), made.Capacity() + 1, format, arguments) == length;
        va_end(arguments);
        // Another length means that an argument changed meanwhile, on another thread, say.
        if (!done)
            return;
        made.End(platform::Length(made.Text()));
        m_text = std::move(made);
    }
}
