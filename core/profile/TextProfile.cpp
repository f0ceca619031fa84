#include "core/profile/TextProfile.h"

#include "core/base/BString.h"
#include "core/base/ErrorCodes.h"
#include "core/file/BDirEntry.h"
#include "core/file/BFile.h"
#include "core/file/UnicodeText.h"
#include "core/platform/ByteOrderMark.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileSystem.h"
#include "core/platform/PrivateProfile.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string_view>

// How `BProfile` and `BIniProfile` change a file. The system's own functions would make a missing
// file an 8-bit one and keep a "?" for a letter that 8 bits do not hold, without a word. So a file
// is made, or made UTF-16, before a value goes into it, and all that in one update: between the two
// nobody else writes, and no value is lost to a file that is put in the place of another.

namespace {

bool MakeFolder(const WString& path)
{
    BDirEntry folder(path);
    if (!folder.RemoveFileSpec()) // too long to tell
        return true;
    // Another process may make it meanwhile.
    return folder.Exists() || folder.MakeDir() || folder.Exists();
}

bool IsFolderMissing(const WString& path)
{
    BDirEntry folder(path);
    return folder.RemoveFileSpec() && !folder.Exists();
}

// Not synced, as no change of a text profile is: that would cost milliseconds a key, and the
// system's own functions do not do it either.
bool MakeEmptyFile(const WString& path)
{
    constexpr std::string_view mark = platform::kUtf16Mark;
    platform::FileReplacement file(path, platform::FileReplacement::ESync::No);
    return file.Stream() != nullptr &&
           std::fwrite(mark.data(), 1, mark.size(), file.Stream()) == mark.size() && file.Commit();
}

// Only a file that the system calls missing is: one at which it fails to look may hold everything.
bool IsMissing(const WString& path)
{
    return platform::Presence(path) == platform::EPresence::Missing;
}

// A look-alike or a "?" is another text: under one, a key is not found again.
bool FitsEightBits(const WString& text)
{
    const platform::WideView units = text.AsView();
    return std::ranges::all_of(units, [](WChar unit) { return unit < 0x80; }) ||
           WString(text.AsString()).AsView() == units;
}

// Makes the file UTF-16, and one where there is none.
bool MakeUnicode(const WString& path)
{
    return IsMissing(path) ? MakeFolder(path) && MakeEmptyFile(path)
                           : ConvertProfileToUnicode(path);
}

} // namespace

bool MakeTextProfile(const WString& path, bool isNew)
{
    if (!isNew && !IsMissing(path))
        return true;
    if (!MakeFolder(path))
        return false;
    const platform::ProfileUpdate update(path);
    // Another process may have made it, and written to it, meanwhile.
    return update.IsLocked() && ((!isNew && !IsMissing(path)) || MakeEmptyFile(path));
}

int WriteTextProfile(const WString& path, const WString& section, const WString& key,
                     const WString& value, const WString* replaced)
{
    using platform::EPresence;
    std::optional<platform::ProfileUpdate> update(path);
    // Off Windows who updates a profile locks its folder, so that comes first.
    if (!update->IsLocked() && IsFolderMissing(path)) {
        if (!MakeFolder(path))
            return kErrorFileNotWritten;
        update.emplace(path);
    }
    const EPresence presence = update->IsLocked() ? platform::Presence(path) : EPresence::Unknown;
    const bool needsUnicode = presence == EPresence::Missing || value.Includes16bitChars() ||
                              !FitsEightBits(section) || !FitsEightBits(key) ||
                              !FitsEightBits(value);
    if (presence == EPresence::Unknown || (needsUnicode && !MakeUnicode(path)))
        return kErrorFileNotWritten;
    const bool isWritten = replaced != nullptr
                               ? update->ExchangeText(section, key, *replaced, value)
                               : update->SetText(section, key, value);
    return isWritten ? kErrorNone : kErrorFileNotWritten;
}

bool WriteTextProfileBlock(const WString& path, const WString& section, const WString& key,
                           const void* data, unsigned int size)
{
    platform::ProfileUpdate update(path);
    const bool needsUnicode = data != nullptr && !(FitsEightBits(section) && FitsEightBits(key));
    return update.IsLocked() && (!needsUnicode || MakeUnicode(path)) &&
           update.SetBlock(section, key, data, size);
}

bool Tell(BProblem& problem, bool isDone)
{
    if (!isDone)
        problem = BProblem::OfSystem();
    else if (problem)
        problem = {};
    return isDone;
}

void TellValue(BProblem& problem, EProblem code, const WString& section, const WString& key,
               std::int64_t number)
{
    problem.code = code;
    problem.systemError = 0;
    problem.number = number;
    problem.name = key;
    problem.detail = section;
}

BProblem Explained(const BProblem& problem, const WString& path)
{
    BProblem explained = problem;
    if (problem.code == EProblem::NoValue && !BFile().OpenShared(path, QD_W("rb")))
        explained = BProblem::OfSystem();
    if (explained)
        explained.path = path;
    return explained;
}
