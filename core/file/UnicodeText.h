#pragma once

#include "core/platform/WChar.h"

/// `BFile::ConvertToUnicode` for a text profile, where a mark of UTF-8 is text like any other: a
/// file with one is converted, too. False when that fails, also for want of memory.
[[nodiscard]] bool ConvertProfileToUnicode(const WChar* path) noexcept;
