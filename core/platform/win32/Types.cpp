#include "core/platform/Types.h"

#include <windows.h>
#include <cstddef>
#include <type_traits>

// What the headers that only know the declarations rely on.
static_assert(std::is_same_v<LONG, long> && sizeof(long) == 4);
static_assert(sizeof(tagPOINT) == 8 && offsetof(tagPOINT, x) == 0 && offsetof(tagPOINT, y) == 4);
static_assert(sizeof(tagSIZE) == 8 && offsetof(tagSIZE, cx) == 0 && offsetof(tagSIZE, cy) == 4);
static_assert(sizeof(tagRECT) == 16 && offsetof(tagRECT, left) == 0 &&
              offsetof(tagRECT, top) == 4 && offsetof(tagRECT, right) == 8 &&
              offsetof(tagRECT, bottom) == 12);
static_assert(sizeof(_SYSTEMTIME) == 16);
static_assert(std::is_same_v<CRITICAL_SECTION, _RTL_CRITICAL_SECTION>);
static_assert(std::is_same_v<HWND, HWND__*>);
