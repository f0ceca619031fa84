// The input is a format, and a text that begins with a number.

#include "core/platform/FormatText.h"
#include "core/platform/ScanText.h"
#include "core/platform/WideText.h"

#include "fuzz/Target.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>

namespace {

// In memory of its own, so that a unit written beyond `room` is seen.
template <typename Char>
std::int64_t Print(std::size_t room, std::basic_string<Char>& text, const Char* format, ...)
{
    const auto buffer = std::make_unique<Char[]>(room);
    std::va_list arguments;
    va_start(arguments, format);
    const std::int64_t length = platform::Format(buffer.get(), room, format, arguments);
    va_end(arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < room)
        text.assign(buffer.get(), static_cast<std::size_t>(length));
    return length;
}

// The arguments suit every conversion: eight doubles, which go into registers of their own, and
// texts of either width that count as integers elsewhere.
template <typename Char>
void TryFormat(const std::basic_string<Char>& format)
{
    const auto taken = std::count(format.begin(), format.end(), '%') +
                       std::count(format.begin(), format.end(), '*');
    if (taken > 8)
        return;
    alignas(WChar) static constexpr char kText[] = "wide and narrow\0\0";
    const char* const t = kText;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const auto print = [&](std::size_t room, std::basic_string<Char>& text) {
        return Print(room, text, format.c_str(), 0.1, -1e300, 0.0, kInfinity, 5e-324, 999999.5, 2.5,
                     -kInfinity, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t,
                     t, t, t, t, t, t, t, t, t, t);
    };
    std::basic_string<Char> text;
    const std::int64_t length = print(300, text);
    if (length >= 0 && print(0, text) != length)
        std::abort();
}

void TryNumber(const std::string& input)
{
    double value = 0, again = 0, wide = 0;
    if (!platform::ScanDouble(input.c_str(), value) || std::isnan(value))
        return;
    std::string text;
    Print(64, text, "%.17g", value);
    const platform::WideText widened(text.begin(), text.end());
    if (!platform::ScanDouble(text.c_str(), again) || !platform::ScanDouble(widened.c_str(), wide))
        std::abort();
    const auto bits = std::bit_cast<std::uint64_t>(value);
    if (std::bit_cast<std::uint64_t>(again) != bits || std::bit_cast<std::uint64_t>(wide) != bits)
        std::abort();
}

void TryInteger(const platform::WideText& input)
{
    int scanned = 0;
    const bool isAlone = platform::ScanHex(input.c_str(), scanned);
    const WChar* end = nullptr;
    const unsigned long parsed = platform::ParseHex(input.c_str(), end);
    if (isAlone && parsed < 0xFFFFFFFF && scanned != static_cast<int>(parsed))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const HeapBound bound(size);
    const std::string narrow(data, data + size);
    const platform::WideText wide(data, data + size);
    TryFormat(narrow);
    TryFormat(wide);
    TryNumber(narrow);
    TryInteger(wide);
    return 0;
}
