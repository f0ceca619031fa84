#pragma once

#include "core/base/BProblem.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"

class BProfileBase;

/// Opens an existing settings file for reading: as `BBinProfile` or `BProfile`, by what it holds.
/// Null when it cannot be opened or read.
[[nodiscard]] QD_CORE_API SP<BProfileBase> OpenProfile(WString path);
/// The same, and tells why it is null.
[[nodiscard]] QD_CORE_API SP<BProfileBase> OpenProfile(WString path, BProblem& problem);
