#pragma once

#include "core/base/WString.h"
#include "core/platform/Export.h"

#include <filesystem>

/// A path of the library for the standard library, and the other way: of the same file, however it
/// is named. Nothing is replaced, and so nothing is lost: off Windows a name that is no UTF-8 goes
/// there and back as the bytes that it is, where the own conversions of `std::filesystem::path`
/// throw, and no locale matters; on Windows both have the same units.
///
/// Off Windows "\" separates names in a path of the library, and becomes "/". A path ends at its
/// first 0, as no file's name has one. Throw `std::bad_alloc` when memory runs out.
///
///     for (const auto& entry : std::filesystem::directory_iterator(QDToStdPath(folder)))
///         Load(QDFromStdPath(entry.path()));
[[nodiscard]] QD_CORE_API std::filesystem::path QDToStdPath(const WString& path);
[[nodiscard]] QD_CORE_API WString QDFromStdPath(const std::filesystem::path& path);
