#pragma once

#include "core/base/WString.h"
#include "core/tree/BNode.h"

#include <string_view>

// How the document is shown: in which language and in which units. The document itself holds keys
// ("$IDS_Scans") and millimetres.

/// Registers the language map of a file in the language folder: "english", "german". False when
/// there is no such file or it has a fault, which is printed.
bool SwitchLanguage(std::string_view name);

/// Changes the registered unit system: "mm", "inch", "thou". False for another name.
bool SwitchUnit(std::string_view name);

/// A length in the registered unit with its symbol.
WString LengthText(double millimetres);

/// Prints `text` and a line end in UTF-8, its keys translated by the registered language map.
void PrintLine(const WString& text);

/// Prints the first levels of a tree and the first children of each node.
void PrintTree(BNode& root);
