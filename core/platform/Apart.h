#pragma once

/// QD_APART stands before a function that is seldom called, by one that is called often: the
/// compiler leaves it out of that one, which so needs no registers saved.
#if defined(__GNUC__)
# define QD_APART [[gnu::noinline]]
#else
# define QD_APART
#endif
