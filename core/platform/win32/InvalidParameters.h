#pragma once

#include <cstdint>
#include <cstdlib>

#if defined(__MINGW32__)
extern "C" _invalid_parameter_handler __cdecl _set_thread_local_invalid_parameter_handler(
    _invalid_parameter_handler handler);
#endif

namespace platform {

/// While it lives, the runtime library's functions fail in this thread when a parameter is invalid,
/// instead of ending the process.
class InvalidParametersFail {
public:
    InvalidParametersFail() noexcept
        : m_handler(_set_thread_local_invalid_parameter_handler(Ignore))
    {}
    ~InvalidParametersFail() { _set_thread_local_invalid_parameter_handler(m_handler); }
    InvalidParametersFail(const InvalidParametersFail&) = delete;
    InvalidParametersFail& operator=(const InvalidParametersFail&) = delete;

private:
    static void __cdecl Ignore(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int,
                               std::uintptr_t)
    {}

    _invalid_parameter_handler m_handler;
};

} // namespace platform
