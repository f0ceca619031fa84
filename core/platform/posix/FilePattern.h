#pragma once

#include "core/platform/WChar.h"

#include <string>
#include <string_view>

namespace platform {

/// A pattern for names, meaning what it means on Windows for the long name of a file:
///
///     *         any units
///     ?         one unit but no dot, or none where a part of the name ends
///     .         before a wild one also the end of a name: "a.*" finds "a", "*.*" everything
///     *.        not past the last dot of a name: "*." finds names without an extension
///
/// Dots and blanks at the end of a pattern are dropped, but that such a dot ends the name's part is
/// kept. Case counts.
class FilePattern {
public:
    /// `pattern` has no separator.
    explicit FilePattern(std::basic_string_view<WChar> pattern);

    /// "." and ".." are found where either "." or an empty name would be.
    [[nodiscard]] bool Matches(std::basic_string_view<WChar> name) const;

private:
    [[nodiscard]] bool MatchesText(std::basic_string_view<WChar> name) const;

    std::basic_string<WChar> m_steps;
};

} // namespace platform
