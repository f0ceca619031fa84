#pragma once

#include <locale.h>

namespace platform {

/// The runtime library's "C" locale, for the functions that take one: numbers keep their full stop
/// whatever the application's `setlocale` chose. Lives as long as the process.
inline _locale_t CLocale() noexcept
{
    static const _locale_t locale = _create_locale(LC_ALL, "C");
    return locale;
}

} // namespace platform
