#pragma once

#include "core/platform/WChar.h"

#include <string>
#include <string_view>

namespace platform {

/// Wide texts that know their length and hold 0 units: for the seam, which stands below `WString`,
/// and for sources that make a text of many pieces. Interfaces take `WString`.
using WideText = std::basic_string<WChar>;
using WideView = std::basic_string_view<WChar>;

} // namespace platform
