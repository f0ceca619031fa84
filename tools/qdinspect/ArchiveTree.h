#pragma once

#include "tools/qdinspect/ArchiveFile.h"

#include <cstdint>
#include <optional>
#include <string>
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

/// A record where a tree, or none, holds it.
struct TreeRecord {
    std::uint32_t number; // `ArchiveFile::kNone` where there is none of that index
    std::uint64_t index;
    RecordHead head;
    std::optional<NodeFields> node; // where it is one
    std::uint32_t references;       // of nodes to it
};

/// Takes the trees of an archive line by line: a node, what it holds, then its children, which are
/// one deeper. Roots have the depth 0.
class TreeSink {
public:
    struct Limits {
        std::uint64_t entries; // of each list
        std::uint64_t nodes;   // of all trees
    };

    TreeSink() = default;
    virtual ~TreeSink() = default;
    TreeSink(const TreeSink&) = delete;
    TreeSink& operator=(const TreeSink&) = delete;

    [[nodiscard]] virtual Limits MostShown() const = 0;
    virtual void Node(const TreeRecord& node, std::uint64_t depth) = 0;
    /// What the node of that depth, the last that was told, holds as `role`.
    virtual void Held(const char* role, const TreeRecord& held, std::uint64_t depth) = 0;
    /// In place of a child.
    virtual void NoNode(std::uint64_t index, std::uint64_t depth) = 0;
    /// So many more that the node of that depth holds.
    virtual void HeldLeftOut(std::uint64_t count, const char* role, std::uint64_t depth) = 0;
    /// So many more children at that depth, or trees.
    virtual void LeftOut(std::uint64_t count, std::uint64_t depth) = 0;
    /// Behind the last tree.
    virtual void EndTrees(std::uint64_t nodes, std::uint64_t shownNodes) = 0;
    /// An object that is in the document though no node holds it.
    virtual void Loose(const TreeRecord& record) = 0;
    virtual void EndLoose(std::uint64_t leftOut) = 0;
};

/// Tells the trees of nodes, each with what it holds, and the objects that no node holds.
void WalkTrees(ArchiveFile& archive, RecordUses uses, TreeSink& sink, Report& progress);

/// Prints them.
void ShowTrees(ArchiveFile& archive, RecordUses uses, Report& report);
