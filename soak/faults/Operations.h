#pragma once

#include "core/base/WString.h"
#include "core/file/BDirEntry.h"
#include "core/tree/BNode.h"

#include <filesystem>
#include <span>
#include <string>

/// What the operations work on, made before anything fails: a text that gets no memory is empty.
struct Place {
    explicit Place(const std::filesystem::path& path);
    [[nodiscard]] WString Wide(const char* name) const
    {
        return WString((folder / name).u16string().c_str());
    }

    std::filesystem::path folder;
    const WString ini = Wide("settings.ini"), newIni = Wide("new/folder/settings.ini"),
                  bin = Wide("settings.bin"), oldBin = Wide("old.bin"), text = Wide("text.txt"),
                  document = Wide("document.qda"), language = Wide("translated/texts.lng"),
                  master = Wide("master"), translated = Wide("translated"), merged = Wide("merged"),
                  ended = Wide("ended.dat"), logs = Wide("logs/"), newLogs = Wide("new/logs/"),
                  texts = Wide("*.txt");
    const BDirEntry newFolder{Wide("some/more/folders")};
    const SP<BNode> tree;
};

/// What an operation tells its caller, and what a reader found.
struct Answer {
    enum class ETold { Nothing, No, Yes };

    ETold told = ETold::Nothing; // the interface does not say
    long long found = 0;

    bool operator==(const Answer&) const = default;
};

/// An operation of the library on files.
struct Operation {
    enum class EFile {
        OldOrNew,
        Grows,    // at its end; what could not be cut off again may be left of one
        InBetween // may be left by a failure that is told
    };

    std::string name;
    Answer (*run)(const Place&);
    EFile file = EFile::OldOrNew;
    bool lacksMemoryAlone = false; // the calls that it makes are another's
};

std::span<const Operation> Operations();

/// Puts into the folder what all operations find there.
void Prepare(const Place& place);
/// What the registry in the folder holds.
std::string RegistryText(const Place& place);
