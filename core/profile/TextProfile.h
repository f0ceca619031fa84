#pragma once

#include "core/base/BProblem.h"
#include "core/base/WString.h"

/// Puts an empty UTF-16 file in the place of the profile at `path`, or, if `isNew` is false, only
/// where none is. A missing folder is made. On failure, which the system's last
/// error explains, the file stays what it was.
[[nodiscard]] bool MakeTextProfile(const WString& path, bool isNew);

/// Puts `value` under `key` of `section`, in a profile that comes into being when it is missing.
/// `replaced` is the text that it may replace, any if null. `kErrorNone`, also when that text is
/// not there any more, or `kErrorFileNotWritten`, and the system's last error says why.
int WriteTextProfile(const WString& path, const WString& section, const WString& key,
                     const WString& value, const WString* replaced);

/// Puts a block of `size` bytes there, or removes the key where `data` is null. A missing file is
/// made, 8-bit unless a name needs more. False when that fails, as above.
[[nodiscard]] bool WriteTextProfileBlock(const WString& path, const WString& section,
                                         const WString& key, const void* data, unsigned int size);

/// Keeps in `problem` why a writer failed, which the system's last error says, and none where
/// `isDone`. Its answer.
bool Tell(BProblem& problem, bool isDone);

/// Keeps that a reader finds no such value as it wants.
void TellValue(BProblem& problem, EProblem code, const WString& section, const WString& key,
               std::int64_t number = 0);

/// What a problem that was kept comes down to, with the path: where there was no value, maybe there
/// is no file, or it cannot be read. Looked at when somebody asks, as most go on with a default.
[[nodiscard]] BProblem Explained(const BProblem& problem, const WString& path);
