#include "core/platform/posix/ProfileBlock.h"

#include <numeric>

namespace platform {

namespace {

int HexDigit(WChar unit)
{
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const int letter = (unit | 0x20) - u'a';
    return letter >= 0 && letter < 6 && unit < 0x80 ? letter + 10 : -1;
}

// The byte at `index` of hexadecimal digits, below 0 when there is none.
int HexByte(WideView digits, std::size_t index)
{
    const int high = HexDigit(digits[2 * index]);
    const int low = HexDigit(digits[2 * index + 1]);
    return high < 0 || low < 0 ? -1 : high << 4 | low;
}

void AppendByte(WideText& digits, unsigned char byte)
{
    constexpr WideView hex = u"0123456789ABCDEF";
    digits.push_back(hex[byte >> 4]);
    digits.push_back(hex[byte & 15]);
}

} // namespace

WideText EncodeBlock(const unsigned char* data, std::size_t size)
{
    WideText digits;
    digits.reserve(2 * size + 2);
    for (std::size_t i = 0; i < size; ++i)
        AppendByte(digits, data[i]);
    AppendByte(digits, std::accumulate(data, data + size, static_cast<unsigned char>(0)));
    return digits;
}

bool DecodeBlock(WideView digits, unsigned char* data, std::size_t size)
{
    if (digits.size() != 2 * size + 2)
        return false;
    unsigned int sum = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const int byte = HexByte(digits, i);
        if (byte < 0)
            return false;
        data[i] = static_cast<unsigned char>(byte);
        sum += data[i];
    }
    return HexByte(digits, size) == static_cast<int>(sum & 0xFF);
}

} // namespace platform
