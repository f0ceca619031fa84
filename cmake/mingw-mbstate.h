// libstdc++ was built for the older runtime library, whose mbstate_t is an int: with the UCRT's
// structure the streams and the conversion facets have another layout and other names than it has.
#define mbstate_t qd_ucrt_mbstate_t
#include <wchar.h>
#undef mbstate_t
typedef int mbstate_t;
