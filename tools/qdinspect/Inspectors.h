#pragma once

#include "core/platform/WideText.h"

#include <iosfwd>

class BlockReader;
class Progress;
class Report;

// Each inspector prints what a file holds, without the classes or the program that wrote it, and
// where it is damaged. What it takes in time and memory is in proportion to the file.

/// The document, then the header of each record.
void InspectArchive(BlockReader& file, Report& report);

/// Sections, keys, types and values.
void InspectBinaryProfile(BlockReader& file, Report& report);
void InspectTextProfile(const platform::WideText& text, Report& report);

/// Entries, and what the language map has against them. By its path, too: the library's reader
/// takes a text stream.
void InspectLanguageFile(BlockReader& file, const platform::WideText& path, Report& report);

/// Runs, and the steps of each with the time between them.
void InspectLog(platform::WideView text, Report& report);

/// What became of a new file. It is there when it is whole or lossy; `NothingThere`: the old file
/// has nothing for it, or cannot be read.
enum class EOutcome { Whole, Lossy, NothingThere, Unwritten };

/// Writes what is whole in a file into a new one of its kind, and tells in lines what was left out.
[[nodiscard]] EOutcome RecoverArchive(BlockReader& file, const platform::WideText& newPath,
                                      std::ostream& messages, Progress& progress);
[[nodiscard]] EOutcome RecoverBinaryProfile(BlockReader& file, const platform::WideText& newPath,
                                            std::ostream& out, std::ostream& losses);
[[nodiscard]] EOutcome RecoverTextProfile(BlockReader& file, const platform::WideText& newPath,
                                          std::ostream& messages);
[[nodiscard]] EOutcome RecoverLanguageFile(BlockReader& file, const platform::WideText& newPath,
                                           std::ostream& messages);
