#pragma once

#include "tools/qdinspect/ArchiveFile.h"

#include <cstdint>
#include <vector>

class Report;

/// What the nodes of an archive make of its records, by the numbers of these.
struct RecordUses {
    std::vector<std::uint32_t> parents;    // the node whose child it is, or `ArchiveFile::kNone`
    std::vector<std::uint32_t> references; // of nodes to it
    std::vector<bool> isNode;

    /// Makes room for that many records.
    void Add(std::size_t count)
    {
        if (count > parents.size()) {
            parents.resize(count, ArchiveFile::kNone);
            references.resize(count);
            isNode.resize(count);
        }
    }
    void Cut(std::size_t count)
    {
        parents.resize(count, ArchiveFile::kNone);
        references.resize(count);
        isNode.resize(count);
    }
};

/// Reads the header of an archive's file. False where no records can be behind it.
[[nodiscard]] bool InspectHeader(BlockReader& file, FileHeader& header, Report& report);

/// Goes through the records from the reader's position on.
[[nodiscard]] RecordUses SurveyRecords(ArchiveFile& archive, Report& report);

/// Prints the trees of nodes, each with what it holds, and the labelled objects that no node holds.
void ShowTrees(ArchiveFile& archive, RecordUses uses, Report& report);
