#include "tools/qdinspect/ArchiveTree.h"

#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <ostream>
#include <utility>

// The trees of an archive, from its nodes that are nobody's child.
//
// Records are read as they are told, in a loop: a document may be a line of a million nodes. A node
// that was told is not told again, whatever a file says of children.

namespace {

using platform::WideView;

constexpr std::uint64_t kShownNodes = 200; // where not all are wanted
constexpr std::uint64_t kIndents = 32;     // deeper nodes have their depth in front

class TreeWalk {
public:
    TreeWalk(ArchiveFile& archive, RecordUses uses, TreeSink& sink, Report& progress)
        : m_archive(archive)
        , m_uses(std::move(uses))
        , m_sink(sink)
        , m_progress(progress)
        , m_most(sink.MostShown())
        , m_isShown(m_uses.isNode.size())
        , m_nodes(static_cast<std::uint64_t>(std::ranges::count(m_uses.isNode, true)))
    {}

    void TellAll();

private:
    struct Level {
        std::uint32_t node;
        std::uint64_t depth;
        std::vector<std::uint64_t> children;
        std::size_t next;
        std::size_t end; // of those that are told
    };

    [[nodiscard]] TreeRecord Record(std::uint32_t number);
    [[nodiscard]] TreeRecord RecordOf(std::uint64_t index);
    void TellTree(std::uint32_t root);
    void EndLevel(const Level& level);
    [[nodiscard]] Level TellNode(std::uint32_t number, std::uint64_t depth);
    void TellHeld(const NodeFields& node, std::uint64_t depth);
    void TellLoose();

    ArchiveFile& m_archive;
    RecordUses m_uses;
    TreeSink& m_sink;
    Report& m_progress;
    TreeSink::Limits m_most;
    std::vector<bool> m_isShown;
    std::uint64_t m_nodes;
    std::uint64_t m_shownNodes = 0;
};

TreeRecord TreeWalk::Record(std::uint32_t number)
{
    TreeRecord record = {number, 0, m_archive.Head(number), {}, m_uses.references[number]};
    if (m_uses.isNode[number])
        record.node = m_archive.Node(record.head).value_or(NodeFields());
    return record;
}

TreeRecord TreeWalk::RecordOf(std::uint64_t index)
{
    const std::uint32_t number = index == 0 ? ArchiveFile::kNone : m_archive.Find(index);
    TreeRecord record =
        number == ArchiveFile::kNone ? TreeRecord{number, 0, {}, {}, 0} : Record(number);
    record.index = index;
    return record;
}

void TreeWalk::TellAll()
{
    const auto count = static_cast<std::uint32_t>(m_uses.isNode.size());
    std::uint64_t roots = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (m_uses.isNode[i] && m_uses.parents[i] == ArchiveFile::kNone && roots++ < m_most.entries)
            TellTree(i);
    }
    if (roots > m_most.entries)
        m_sink.LeftOut(roots - m_most.entries, 0);
    m_sink.EndTrees(m_nodes, m_shownNodes);
    TellLoose();
}

void TreeWalk::TellTree(std::uint32_t root)
{
    if (m_shownNodes == m_most.nodes)
        return;
    std::vector<Level> levels;
    levels.push_back(TellNode(root, 0));
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.end || m_shownNodes == m_most.nodes) {
            EndLevel(level);
            levels.pop_back();
            continue;
        }
        const std::uint64_t index = level.children[level.next++];
        const std::uint32_t number = index == 0 ? ArchiveFile::kNone : m_archive.Find(index);
        const std::uint64_t depth = level.depth + 1;
        if (number == ArchiveFile::kNone || !m_uses.isNode[number]) {
            m_sink.NoNode(index, depth);
            continue;
        }
        if (m_isShown[number] || m_uses.parents[number] != level.node)
            continue; // it stands elsewhere
        // A level that is through makes room: a line of nodes is one level at a time.
        if (level.next == level.children.size())
            levels.pop_back();
        levels.push_back(TellNode(number, depth));
    }
}

void TreeWalk::EndLevel(const Level& level)
{
    if (const std::size_t left = level.children.size() - level.next; left != 0)
        m_sink.LeftOut(left, level.depth + 1);
}

TreeWalk::Level TreeWalk::TellNode(std::uint32_t number, std::uint64_t depth)
{
    m_isShown[number] = true;
    ++m_shownNodes;
    m_progress.TellProgress(m_shownNodes, (std::min)(m_nodes, m_most.nodes));
    TreeRecord record = Record(number);
    m_sink.Node(record, depth);
    TellHeld(*record.node, depth);
    std::vector<std::uint64_t>& children = record.node->lists[NodeFields::Children];
    const std::size_t end = std::min<std::uint64_t>(children.size(), m_most.entries);
    return {number, depth, std::move(children), 0, end};
}

void TreeWalk::TellHeld(const NodeFields& node, std::uint64_t depth)
{
    if (node.object != 0)
        m_sink.Held("object", RecordOf(node.object), depth);
    const std::pair<NodeFields::EList, const char*> roles[] = {
        {NodeFields::Attributes, "attribute"}, {NodeFields::Annotations, "annotation"}};
    for (const auto& [which, role] : roles) {
        const std::vector<std::uint64_t>& list = node.lists[which];
        for (std::size_t i = 0; i < std::min<std::uint64_t>(list.size(), m_most.entries); ++i)
            m_sink.Held(role, RecordOf(list[i]), depth);
        if (list.size() > m_most.entries)
            m_sink.HeldLeftOut(list.size() - m_most.entries, role, depth);
    }
}

// By their label, or through an object of a class that is not known here.
void TreeWalk::TellLoose()
{
    std::uint64_t count = 0;
    for (std::uint32_t i = 0; i < m_uses.isNode.size(); ++i) {
        if (!m_uses.isNode[i] && m_uses.references[i] == 0 && count++ < m_most.entries)
            m_sink.Loose(Record(i));
    }
    m_sink.EndLoose(count - std::min(count, m_most.entries));
}

std::string Indent(std::uint64_t depth)
{
    std::string indent(2 * std::min(depth, kIndents), ' ');
    if (depth > kIndents)
        indent.append("[").append(std::to_string(depth)).append("] ");
    return indent;
}

std::string NodeText(const NodeFields& node)
{
    std::string text = Quoted(WideView(node.text));
    if (node.isTextCut)
        text += "...";
    text += node.isActive ? "" : " inactive";
    text += node.isLocked ? " locked" : "";
    return text;
}

std::string ObjectText(const RecordHead& head)
{
    return Quoted(head.className) + " version " + std::to_string(head.version) + ", " +
           std::to_string(head.payloadSize) + " bytes (" + head.indexText + ')';
}

std::string Label(const RecordHead& head)
{
    return head.label.empty() ? std::string() : " label " + Quoted(head.label);
}

class TreePrinter : public TreeSink {
public:
    TreePrinter(ArchiveFile& archive, Report& report)
        : m_archive(archive)
        , m_report(report)
    {}

    [[nodiscard]] Limits MostShown() const override
    {
        return {m_report.MostShown(), m_report.ShowsAll() ? m_report.MostShown() : kShownNodes};
    }

    void Node(const TreeRecord& node, std::uint64_t depth) override
    {
        std::ostream& line = m_report.Line();
        line << Indent(depth) << "- " << NodeText(*node.node) << " (" << node.head.indexText << ')';
        if (!node.head.IsNode())
            line << " of class " << Quoted(node.head.className) << " version " << node.head.version;
        line << Label(node.head) << '\n';
    }

    void Held(const char* role, const TreeRecord& held, std::uint64_t depth) override;

    void NoNode(std::uint64_t index, std::uint64_t depth) override
    {
        m_report.Line() << Indent(depth) << "- no node (" << IndexText(index) << ")\n";
    }

    void HeldLeftOut(std::uint64_t count, const char* role, std::uint64_t depth) override
    {
        m_report.TellCut(Indent(depth) + "    ", count, role);
    }

    void LeftOut(std::uint64_t count, std::uint64_t depth) override
    {
        m_report.TellCut(Indent(depth), count, depth == 0 ? "trees" : "children");
    }

    void EndTrees(std::uint64_t nodes, std::uint64_t shownNodes) override
    {
        if (nodes != 0)
            m_report.Line() << nodes << " nodes";
        if (shownNodes < nodes)
            m_report.Line() << ", of which " << shownNodes << " are shown (--all shows the others)";
        if (nodes != 0)
            m_report.Line() << '\n';
    }

    void Loose(const TreeRecord& record) override
    {
        m_report.Line() << "held by no node: " << ObjectText(record.head) << Label(record.head)
                        << '\n';
    }

    void EndLoose(std::uint64_t leftOut) override
    {
        if (leftOut != 0)
            m_report.TellCut("", leftOut, "objects that no node holds");
    }

private:
    ArchiveFile& m_archive;
    Report& m_report;
};

void TreePrinter::Held(const char* role, const TreeRecord& held, std::uint64_t depth)
{
    const std::string indent = Indent(depth) + "    ";
    m_report.Line() << indent << role << ": ";
    if (held.number == ArchiveFile::kNone) {
        m_report.Line() << "nothing (" << IndexText(held.index) << ")\n";
        return;
    }
    if (held.node)
        m_report.Line() << "node " << NodeText(*held.node) << " (" << held.head.indexText << ')';
    else
        m_report.Line() << ObjectText(held.head);
    if (held.references > 1)
        m_report.Line() << ", shared by " << held.references;
    m_report.Line() << '\n';
    const std::optional<BitPicture> picture =
        held.head.IsBitArray() ? m_archive.Picture(held.head) : std::nullopt;
    for (const std::string& line : picture ? picture->Lines() : std::vector<std::string>())
        m_report.Line() << indent << "  " << line << '\n';
}

} // namespace

void WalkTrees(ArchiveFile& archive, RecordUses uses, TreeSink& sink, Report& progress)
{
    TreeWalk(archive, std::move(uses), sink, progress).TellAll();
}

void ShowTrees(ArchiveFile& archive, RecordUses uses, Report& report)
{
    TreePrinter printer(archive, report);
    WalkTrees(archive, std::move(uses), printer, report);
}
