#include "core/platform/TypeName.h"

#if !defined(_MSC_VER)
# include <cstdlib>
# include <cxxabi.h>
# include <memory>
#endif

namespace platform {

#if defined(_MSC_VER)

std::string MakeTypeName(const std::type_info& type)
{
    return type.name();
}

#else

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

#endif

} // namespace platform
