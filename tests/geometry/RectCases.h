#pragma once

#include "core/geometry/BRect.h"

#include <climits>

/// Pairs of rectangles and what Windows combines them to.
struct RectCase {
    BRect a, b, intersection, unionRect;
};

inline constexpr RectCase kRectCases[] = {
    {{0, 0, 10, 10}, {5, 6, 20, 20}, {5, 6, 10, 10}, {0, 0, 20, 20}},
    {{0, 0, 10, 10}, {2, 3, 4, 5}, {2, 3, 4, 5}, {0, 0, 10, 10}}, // one inside the other
    {{0, 0, 10, 10}, {10, 0, 20, 10}, {}, {0, 0, 20, 10}},        // side by side
    {{0, 0, 10, 10}, {0, 10, 10, 20}, {}, {0, 0, 10, 20}},        // one below the other
    {{0, 0, 2, 2}, {5, 5, 7, 7}, {}, {0, 0, 7, 7}},               // apart
    {{0, 0, 10, 10}, {3, 3, 3, 8}, {}, {0, 0, 10, 10}},           // no width
    {{0, 0, 10, 10}, {30, 8, 40, 2}, {}, {0, 0, 10, 10}},         // bottom above top
    {{8, 1, 2, 5}, {3, 3, 4, 4}, {}, {3, 3, 4, 4}},               // right before left
    {{5, 5, 5, 5}, {9, 9, 1, 1}, {}, {}},                         // nothing in either
    {{INT_MIN, INT_MIN, INT_MAX, INT_MAX},
     {-1, -1, 1, 1},
     {-1, -1, 1, 1},
     {INT_MIN, INT_MIN, INT_MAX, INT_MAX}},
    {{INT_MIN, 0, -1, 1}, {1, 0, INT_MAX, 1}, {}, {INT_MIN, 0, INT_MAX, 1}},
};
