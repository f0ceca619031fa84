#pragma once

// Every public header comes here before it needs C++20. GCC and Clang go on after an #error and
// complain of all that follows; a header that is not there ends the compilation with one sentence.
#if defined(_MSVC_LANG)
# if _MSVC_LANG <= 201703L
#  error "qd.core needs C++20: compile with /std:c++20"
# endif
#elif __cplusplus <= 201703L
# include "qd.core needs C++20: compile with -std=c++20"
#endif

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
