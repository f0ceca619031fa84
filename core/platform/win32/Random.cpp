#include "core/platform/Random.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <random>

namespace platform {

bool FillRandom(void* bytes, std::size_t size) noexcept
try {
    std::random_device device;
    auto* at = static_cast<unsigned char*>(bytes);
    while (size != 0) {
        const unsigned int word = device();
        const std::size_t count = std::min(size, sizeof word);
        std::memcpy(at, &word, count);
        at += count;
        size -= count;
    }
    return true;
} catch (const std::exception&) {
    return false;
}

} // namespace platform
