#pragma once

#include <unicode/ucnv.h>

#include <memory>
#include <new>
#include <utility>

namespace platform {

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

/// ICU's converter of this name; null when there is none. Throws std::bad_alloc.
[[nodiscard]] inline Converter OpenConverter(const char* name)
{
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &error));
    if (error == U_MEMORY_ALLOCATION_ERROR)
        throw std::bad_alloc();
    return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

} // namespace platform
