#pragma once

#include "core/base/WString.h"
#include "core/platform/Export.h"

#include <cstdint>
#include <limits>

/// What went wrong, for a program to branch on.
enum class EProblem : std::int32_t {
    None = 0,

    // Of the system, with its own words in the text
    NotThere,     ///< no such file or folder
    NoPermission, ///< no right to it, or it can only be read
    NoRoom,       ///< a full disk, a quota or a limit
    InUse,        ///< another program has it
    Memory,       ///< memory ran out
    System,       ///< anything else

    // Of a file
    OtherKind,   ///< no archive, or no binary profile: `name` says which
    NewerFormat, ///< format `number`, which this library does not know yet
    Damaged,     ///< at byte `position`; in an archive's record also with `number` and `name`

    // Of an archive: `name` is a class, and `number` an object's index, where there is one
    OtherDocument,   ///< of the document class `name`
    OtherArchive,    ///< of the archive class `name`
    OldDocument,     ///< of the version `number`, older than the program reads
    NoSuchObject,    ///< nothing under the label `name`
    UnknownClass,    ///< a record at byte `position` of a class that is not registered
    ObjectUnread,    ///< a `Read` gave no object, or threw
    ObjectRefused,   ///< a `VerifyObj` said no
    TooDeep,         ///< objects that are taken out in one another, deeper than the stack reaches
    ObjectUnwritten, ///< a `WriteData` threw

    // Of a profile: `name` is a key
    NoValue,    ///< there is none
    OtherValue, ///< one of another type, or a text that does not stand for one
    OutOfRange, ///< a number beyond the bounds of its reader

    // Of a language file's line `position`, from 1 on: `name` is a key
    KeyInvalid,
    KeyTwice,    ///< the key is there already
    TextMissing, ///< the default text, or a translation
    TextTwice,   ///< another plain key has the same default text
};

/// Why an operation failed, as the classes keep it that answer by a boolean or a code.
///
///     if (!archive.Flush())
///         Show(archive.Problem().Text()); // "D:\part.qda: no room to write (...)"
///
/// Their `Problem()` tells of the last operation: one that is sound clears it. It is a value like
/// any other, and nothing is allocated as long as there is no problem.
struct QD_CORE_API BProblem {
    static constexpr std::uint64_t kNowhere = (std::numeric_limits<std::uint64_t>::max)();

    EProblem code = EProblem::None;
    std::int32_t systemError = 0; // the system's number (`errno`, `GetLastError`); 0 for none
    std::uint64_t position = kNowhere;
    std::int64_t number = 0;
    WString path = {};
    WString name = {};
    WString detail = {}; // further words

    /// Of the calling thread's last failure in the system, which must not have done anything since.
    [[nodiscard]] static BProblem OfSystem();
    /// Of a failure that has this number.
    [[nodiscard]] static BProblem OfSystem(std::int32_t systemError);

    explicit operator bool() const noexcept { return code != EProblem::None; }

    /// A sentence in English with all of that, the system's own words in its language; empty
    /// without a problem, and when there is no memory for it.
    [[nodiscard]] WString Text() const noexcept;
};
