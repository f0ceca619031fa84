#pragma once

#include "core/platform/WideText.h"

#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/Inspectors.h"

#include <iosfwd>

class BlockReader;

/// Each writes a file's content as a new file in another format, tells in lines on `losses` what
/// that does not hold, and on `out` what was written. The paths are absolute.

/// A binary profile's values as a text profile.
[[nodiscard]] EOutcome ConvertToTextProfile(BlockReader& file, const platform::WideText& newPath,
                                            std::ostream& out, std::ostream& losses);
/// The values of the text profile at `path`, whose content is `text`, as a binary profile. A value
/// gets the type whose text it is.
[[nodiscard]] EOutcome ConvertToBinaryProfile(const platform::WideText& path,
                                              platform::WideView text,
                                              const platform::WideText& newPath, std::ostream& out,
                                              std::ostream& losses);
/// A text as UTF-16LE with its mark.
[[nodiscard]] EOutcome ConvertToUtf16(BlockReader& file, EEncoding encoding,
                                      const platform::WideText& newPath, std::ostream& losses);
