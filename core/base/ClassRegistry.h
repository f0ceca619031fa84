#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/platform/Export.h"

/// Makes the archive rebuild objects whose name in the file is `className` by calling `read`; the
/// name is copied. Without a name or a function nothing happens; a name that is registered twice
/// keeps its first function.
///
/// A name of 128 characters or more, and a registration after 256 others, end the process at once
/// with exit code -1: a fault of the program that must show when it starts.
///
/// Nothing takes a registration back. The module that has `read`, a plug-in maybe, stays loaded as
/// long as archives are read and objects of its classes live.
///
/// Not synchronised: registration ends before other threads read archives.
QD_CORE_API void RegisterArchiveCallback(const char* className,
                                         SP<BSmartObj> (*read)(BArchive& archive, int version));

/// The function registered for exactly this name; null for a null name or when there is none. The
/// cost does not depend on how many are registered. For the archive: it is not exported.
[[nodiscard]] SP<BSmartObj> (*FindArchiveReader(const char* className))(BArchive&, int);
