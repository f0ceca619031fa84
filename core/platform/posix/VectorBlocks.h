#pragma once

/// `QD_VECTOR_BLOCKS` is defined where texts are read in blocks of 16 bytes (SSE2), on past their
/// end. That is safe for a block whose address is a multiple of its size: it lies within one page,
/// so it reaches into none that the text does not reach into. The sanitizers watch bytes, not
/// pages, and rightly object; built with them, texts are read unit by unit.
#if defined(__SSE2__) || defined(_M_X64)
# define QD_VECTOR_BLOCKS 1
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
# undef QD_VECTOR_BLOCKS
#elif defined(__has_feature)
# if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                        \
     __has_feature(memory_sanitizer)
#  undef QD_VECTOR_BLOCKS
# endif
#endif

#if defined(QD_VECTOR_BLOCKS)
# include <emmintrin.h>
#endif
