#pragma once

#include "core/platform/WideText.h"

#include <cstddef>
#include <string_view>

namespace platform::collation {

/// The first position in `text` at which a stretch as long as `part` is equal to it without regard
/// to case, else `kNotFound`. An empty part is never found. Texts of `char` must be ASCII.
[[nodiscard]] std::size_t Find(std::string_view text, std::string_view part) noexcept;
[[nodiscard]] std::size_t Find(WideView text, WideView part) noexcept;

} // namespace platform::collation
