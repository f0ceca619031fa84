#include "core/platform/TypeName.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>

namespace platform {

namespace {

struct FreeDeleter {
    void operator()(char* text) const noexcept { std::free(text); }
};

} // namespace

std::string MakeTypeName(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, FreeDeleter> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status));
    return std::string("class ") + (status == 0 ? name.get() : type.name());
}

} // namespace platform
