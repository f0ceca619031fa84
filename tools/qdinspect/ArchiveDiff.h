#pragma once

#include <iosfwd>
#include <optional>

class BlockReader;
class Progress;

/// Prints what differs between two archives, a line each: "-" was only there before, "+" is only
/// there now. Documents and classes of records are compared, and nodes by their path: flags, label,
/// and what they hold. True when something differs, none when one of the files is no archive.
[[nodiscard]] std::optional<bool> TellArchiveDifferences(BlockReader& before, BlockReader& now,
                                                         std::ostream& out, Progress& progress);
