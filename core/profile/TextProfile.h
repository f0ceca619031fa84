#pragma once

#include "core/base/WString.h"

/// Puts an empty UTF-16 file in the place of the profile at `path`, or, if `isNew` is false, only
/// where none is. A missing folder is made. On failure the file stays what it was.
void MakeTextProfile(const WString& path, bool isNew);

/// Puts `value` under `key` of `section`, in a profile that comes into being when it is missing.
/// `replaced` is the text that it may replace, any if null. `kErrorNone`, also when that text is
/// not there any more, or `kErrorFileNotWritten`.
int WriteTextProfile(const WString& path, const WString& section, const WString& key,
                     const WString& value, const WString* replaced);
