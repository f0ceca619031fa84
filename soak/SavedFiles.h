#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

class BArchive;

/// The kinds of files that the library saves, as Death.cpp and power/Power.cpp save them: a worker
/// puts number after number into a file that repeats its value in many pieces, so that a torn one
/// shows.

inline constexpr int kWorkers = 2;
inline constexpr int kPieces = 40;
inline constexpr int kNumbers =
    100'000'000; // of a worker: its values are worker * kNumbers + number

struct SavedFile {
    const char* name;
    bool isWhole; // the last saver wins; else each worker has a key of its own
    /// What the library told of it.
    bool (*save)(const std::filesystem::path& folder, int worker, int number);
    /// The value; none for a torn file. `floor` was acknowledged when it was last looked at.
    std::optional<int> (*read)(const std::filesystem::path& folder, int worker, int floor);
    bool isSystems = false; // on Windows the system writes it, and promises nothing
};

[[nodiscard]] std::span<const SavedFile> SavedFiles();

/// Why the last save of this process that was refused was, as its class told.
[[nodiscard]] std::string LastRefusal();

/// The pieces of a document.
void InsertPieces(BArchive& archive, int value);
