#pragma once

/// The error numbers of the library: the codes of the `BError`s that it throws, and what functions
/// answer that tell failures by a number. All other numbers are the application's.

inline constexpr int kErrorNone = 0;

/// The code of most errors, whose meaning lies in argument 0, and what a `BConfig` answers:
///
///     $IDS_ErrorHint16     an archive could not be read or written
///     $IDS_ErrorHint61     a read-only profile was to be changed
///     a function's name    a value does not fit the type that a checked conversion gives
///     empty                a key of a configuration could be neither opened nor made
inline constexpr int kErrorGeneral = 32767;
/// A memory manager has no memory left; argument 0 is the system's text. With "$IDS_ErrorHint26":
/// a block was given to a manager that it is not from.
inline constexpr int kErrorMemory = 25021;
/// An operation was asked to stop; without arguments.
inline constexpr int kErrorUserBreak = 25070;

/// A file was not written, or could not be read for it: `BFile::ConvertToUnicode`,
/// `BProfile::WriteString`.
inline constexpr int kErrorFileNotWritten = 31825;
/// `BFile::GetShortPathNameW`: there is nothing at the path, or it has no short name.
inline constexpr int kErrorNoShortPath = 32987;
/// `ExecuteCommand`: nobody is registered that executes commands.
inline constexpr int kErrorNoCommandExecution = 13004;

// What `BLanguageMap` answers.

/// A language file is missing or cannot be read to its end, or cannot be exported.
inline constexpr int kErrorLanguageFile = 1;
/// The output of a merge cannot be written.
inline constexpr int kErrorLanguageOutput = 5;
inline constexpr int kErrorLanguageKeyInvalid = 7356;
inline constexpr int kErrorLanguageTextMissing = 7357;
/// Another plain key has the same default text.
inline constexpr int kErrorLanguageTextTwice = 7358;
/// The key is there already.
inline constexpr int kErrorLanguageKeyTwice = 7359;
/// A line of a file has one of the four faults above.
inline constexpr int kErrorLanguageLines = 7360;
