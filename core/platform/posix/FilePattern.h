#pragma once

#include "core/platform/WideText.h"

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
    explicit FilePattern(WideView pattern);

    /// "." and ".." are found where either "." or an empty name would be.
    [[nodiscard]] bool Matches(WideView name) const;

private:
    [[nodiscard]] bool MatchesText(WideView name) const;

    WideText m_steps;
};

} // namespace platform
