#pragma once

#include "core/archive/ObjectHeader.h"
#include "core/archive/RecordDirectory.h"
#include "core/platform/WideText.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class BlockReader;

/// What stands in front of the records.
struct FileHeader {
    std::string documentClass;
    int documentVersion = 0;
    std::string archiveClass;
    int formatVersion = 0;
};

/// What the record of a node tells. References are indices, 0 for none.
struct NodeFields {
    enum EList { Children, Attributes, Annotations, ListCount };

    std::uint64_t object = 0;
    std::vector<std::uint64_t> lists[ListCount];
    platform::WideText text;           // the beginning of a long one
    std::vector<std::uint64_t> places; // in the file: of the object's reference, then of the lists'
    std::uint64_t end = 0;             // in the file, behind what the class `BNode` has written
    bool isTextCut = false;
    bool isActive = true;
    bool isLocked = false;
};

/// A record without its payload.
struct RecordHead {
    std::uint64_t position = 0; // in the file, of the object header
    std::string indexText;
    std::string label;
    std::string className;
    int version = 0;
    std::uint64_t payload = 0; // where it begins
    std::uint64_t payloadSize = 0;

    [[nodiscard]] bool IsNode() const { return Is("class BNode"); }
    [[nodiscard]] bool IsBitArray() const { return Is("class BBitArray"); }
    [[nodiscard]] bool Is(std::string_view name) const;
    /// Whether a class can have the name: no compiler puts a control character into one.
    [[nodiscard]] bool HasClass() const;
};

/// Cells of a bit array that stand for all, if these are many: evenly chosen columns of rows.
struct BitPicture {
    static constexpr std::uint64_t kMostBytes = 64; // of a cell; further ones are not looked at

    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t cellSize = 0; // bytes
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    std::string bytes; // row by row, of each cell at most `kMostBytes`

    [[nodiscard]] std::uint64_t TakenSize() const
    {
        return (std::min)(static_cast<std::uint64_t>(cellSize), kMostBytes);
    }
    /// The bytes of a cell that was chosen.
    [[nodiscard]] std::string_view Cell(std::int64_t row, std::int64_t column) const
    {
        const auto number = static_cast<std::uint64_t>(row * columns + column);
        return std::string_view(bytes).substr(number * TakenSize(), TakenSize());
    }
    /// Line by line, "#" where a bit of the cell is set; the extent stands before that.
    [[nodiscard]] std::vector<std::string> Lines() const;
};

/// The records of an archive's file, read when they are asked for: in memory is only where each
/// begins. The reader stays the caller's and outlives this.
class ArchiveFile {
public:
    static constexpr std::uint32_t kNone = NArchive::RecordDirectory::kNone;

    /// The records from the reader's position on, up to the first that is broken.
    ArchiveFile(BlockReader& file, int formatVersion);

    /// The number of the record with that index; `kNone` when there is none.
    [[nodiscard]] std::uint32_t Find(std::uint64_t index) { return m_directory.FindIndex(index); }
    [[nodiscard]] std::uint32_t FindText(std::string_view indexText) const
    {
        return m_directory.FindIndexText(indexText);
    }

    [[nodiscard]] std::uint32_t FindLabel(std::string_view label) const
    {
        return m_directory.FindLabel(label);
    }

    /// Reads the head at the reader's position and moves to its payload. False where it is broken;
    /// what could be read of it is told all the same.
    [[nodiscard]] bool ReadHead(RecordHead& head);
    /// That of a record that was found.
    [[nodiscard]] RecordHead Head(std::uint32_t number);

    /// What a node's record holds; none when it ends early. The record of a class that is derived
    /// from `BNode` begins with a node's payload; where an unknown class has what reads like one,
    /// it is taken for that.
    [[nodiscard]] std::optional<NodeFields> Node(const RecordHead& head);

    /// Cells of a bit array, at most so many columns and rows. None when the record ends early.
    [[nodiscard]] std::optional<BitPicture> Picture(const RecordHead& head,
                                                    std::int64_t mostColumns = 64,
                                                    std::int64_t mostRows = 16);

    /// Goes on searching at the reader's position for a place where a record begins, for what lies
    /// behind a broken one, and moves there; to the end of the file where there is none.
    void FindNextRecord();

    [[nodiscard]] int FormatVersion() const noexcept { return m_formatVersion; }
    [[nodiscard]] BlockReader& File() noexcept { return m_file; }

private:
    [[nodiscard]] bool BeginsRecord(std::uint64_t position);

    BlockReader& m_file;
    int m_formatVersion;
    NArchive::RecordDirectory m_directory;
};

/// An index as files and programs write it.
[[nodiscard]] std::string IndexText(std::uint64_t index);
