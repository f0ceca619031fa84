#pragma once

#include "core/platform/WideText.h"

#include <string>
#include <vector>

class BlockReader;
class Report;

/// Compares the keys of a language file with those that the sources of programs name: entries that
/// none names, and keys without an entry. `folders` are searched with what is below them, hidden
/// folders and files that are no texts aside; their paths are UTF-8.
///
/// A source names a key by "$" and the letters, digits and "_" behind it, wherever that stands. One
/// that ends with "_" is taken for the beginning of keys that a program puts together.
void LintSources(BlockReader& file, const platform::WideText& path,
                 const std::vector<std::string>& folders, Report& report);
