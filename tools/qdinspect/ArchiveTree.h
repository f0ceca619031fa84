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

/// Prints the trees of nodes, each with what it holds, and the labelled objects that no node holds.
void ShowTrees(ArchiveFile& archive, RecordUses uses, Report& report);
