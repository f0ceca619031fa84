#include "core/platform/SystemError.h"

#include <windows.h>
#include <memory>

namespace platform {

namespace {

struct LocalDeleter {
    void operator()(WChar* text) const noexcept { ::LocalFree(text); }
};

} // namespace

WideText LastErrorText()
{
    constexpr DWORD flags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
    const DWORD code = ::GetLastError();
    WChar* text = nullptr;
    // The system takes the address of a pointer where it otherwise takes a buffer.
    const DWORD length =
        ::FormatMessageW(flags, nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                         reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    const std::unique_ptr<WChar, LocalDeleter> owner(text);
    return length != 0 ? WideText(text, length) : WideText();
}

} // namespace platform
