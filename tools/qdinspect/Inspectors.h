#pragma once

#include "core/platform/WideText.h"

#include <iosfwd>

class BlockReader;
class Report;

// Each inspector prints what a file holds, without the classes or the program that wrote it, and
// where it is damaged. What it takes in time and memory is in proportion to the file.

/// The document, then the header of each record.
void InspectArchive(BlockReader& file, Report& report);

/// Sections, keys, types and values.
void InspectBinaryProfile(BlockReader& file, Report& report);
void InspectTextProfile(const platform::WideText& text, Report& report);

/// Entries, and what the language map has against them.
void InspectLanguageFile(const WChar* path, Report& report);

/// Runs, and the steps of each with the time between them.
void InspectLog(platform::WideView text, Report& report);

/// Writes what is whole in an archive or a binary profile into a new file, and tells in lines what
/// was left out. False, and there is no new file, where that cannot be done.
[[nodiscard]] bool RecoverArchive(BlockReader& file, const platform::WideText& newPath,
                                  std::ostream& messages);
[[nodiscard]] bool RecoverBinaryProfile(BlockReader& file, const platform::WideText& newPath,
                                        std::ostream& messages);
