#pragma once

/// `QD_CORE_API` marks what the library exports; everything else stays inside it.
/// The library's own sources are compiled with `QD_CORE_BUILD`.
#if defined(_WIN32)
# if defined(QD_CORE_BUILD)
#  define QD_CORE_API __declspec(dllexport)
# else
#  define QD_CORE_API __declspec(dllimport)
# endif
#elif defined(__GNUC__)
# define QD_CORE_API __attribute__((visibility("default")))
#else
# define QD_CORE_API
#endif
