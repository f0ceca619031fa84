#include "tools/qdinspect/ArchiveTree.h"

#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>

// The trees of an archive, from its nodes that are nobody's child.
//
// Records are read as they are printed, in a loop: a document may be a line of a million nodes. A
// node that was printed is not printed again, whatever a file says of children.

namespace {

using platform::WideView;

constexpr std::uint64_t kShownNodes = 200; // where not all are wanted
constexpr std::uint64_t kIndents = 32;     // deeper nodes have their depth in front

std::string Indent(std::uint64_t depth)
{
    std::string indent(2 * std::min(depth, kIndents), ' ');
    if (depth > kIndents)
        indent.append("[").append(std::to_string(depth)).append("] ");
    return indent;
}

class TreePrinter {
public:
    TreePrinter(ArchiveFile& archive, RecordUses uses, Report& report)
        : m_archive(archive)
        , m_uses(std::move(uses))
        , m_report(report)
        , m_isShown(m_uses.isNode.size())
        , m_nodesLeft(report.ShowsAll() ? m_uses.isNode.size() : kShownNodes)
    {}

    void ShowAll();

private:
    struct Level {
        std::uint32_t node;
        std::uint64_t depth;
        std::vector<std::uint64_t> children;
        std::size_t next;
        Cut shown;
    };

    void ShowTree(std::uint32_t root);
    void EndLevel(Level& level);
    // What the node holds stands below it.
    [[nodiscard]] Level ShowNode(std::uint32_t number, std::uint64_t depth);
    void ShowHeld(const char* role, std::uint64_t index, const std::string& indent);
    void ShowLoose();
    [[nodiscard]] std::string Shared(std::uint32_t number) const;

    ArchiveFile& m_archive;
    RecordUses m_uses;
    Report& m_report;
    std::vector<bool> m_isShown;
    std::uint64_t m_nodesLeft;
};

std::string NodeText(const NodeFields& node)
{
    std::string text = Quoted(WideView(node.text));
    if (node.isTextCut)
        text += "...";
    text += node.isActive ? "" : " inactive";
    text += node.isLocked ? " locked" : "";
    return text;
}

void TreePrinter::ShowAll()
{
    const auto count = static_cast<std::uint32_t>(m_uses.isNode.size());
    std::uint64_t nodes = 0;
    std::uint64_t shown = 0;
    Cut roots = m_report.NewCut();
    for (std::uint32_t i = 0; i < count; ++i) {
        nodes += m_uses.isNode[i] ? 1 : 0;
        if (m_uses.isNode[i] && m_uses.parents[i] == ArchiveFile::kNone && roots.Shows())
            ShowTree(i);
    }
    roots.End("", "trees");
    shown = static_cast<std::uint64_t>(std::ranges::count(m_isShown, true));
    if (nodes != 0)
        m_report.Line() << nodes << " nodes";
    if (shown < nodes)
        m_report.Line() << ", of which " << shown << " are shown (--all shows the others)";
    if (nodes != 0)
        m_report.Line() << '\n';
    ShowLoose();
}

void TreePrinter::ShowTree(std::uint32_t root)
{
    if (m_nodesLeft == 0)
        return;
    std::vector<Level> levels;
    levels.push_back(ShowNode(root, 0));
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.children.size() || m_nodesLeft == 0) {
            EndLevel(level);
            levels.pop_back();
            continue;
        }
        const std::uint64_t index = level.children[level.next++];
        const std::uint32_t number = index == 0 ? ArchiveFile::kNone : m_archive.Find(index);
        const bool isShown = level.shown.Shows();
        if (!isShown)
            continue;
        const std::uint64_t depth = level.depth + 1;
        if (number == ArchiveFile::kNone || !m_uses.isNode[number]) {
            m_report.Line() << Indent(depth) << "- no node (" << IndexText(index) << ")\n";
            continue;
        }
        if (m_isShown[number] || m_uses.parents[number] != level.node)
            continue; // it stands elsewhere
        // A level that is through makes room: a line of nodes is one level at a time.
        if (level.next == level.children.size()) {
            EndLevel(level);
            levels.pop_back();
        }
        levels.push_back(ShowNode(number, depth));
    }
}

void TreePrinter::EndLevel(Level& level)
{
    level.shown.End(Indent(level.depth + 1).c_str(), "children");
}

TreePrinter::Level TreePrinter::ShowNode(std::uint32_t number, std::uint64_t depth)
{
    m_isShown[number] = true;
    --m_nodesLeft;
    const RecordHead head = m_archive.Head(number);
    NodeFields node = m_archive.Node(head).value_or(NodeFields());
    const std::string indent = Indent(depth);
    m_report.Line() << indent << "- " << NodeText(node) << " (" << head.indexText << ')';
    if (!head.IsNode())
        m_report.Line() << " of class " << Quoted(head.className) << " version " << head.version;
    if (!head.label.empty())
        m_report.Line() << " label " << Quoted(head.label);
    m_report.Line() << '\n';
    if (node.object != 0)
        ShowHeld("object", node.object, indent + "    ");
    const std::pair<NodeFields::EList, const char*> lists[] = {
        {NodeFields::Attributes, "attribute"}, {NodeFields::Annotations, "annotation"}};
    for (const auto& [list, role] : lists) {
        Cut shown = m_report.NewCut();
        for (const std::uint64_t index : node.lists[list]) {
            if (shown.Shows())
                ShowHeld(role, index, indent + "    ");
        }
        shown.End((indent + "    ").c_str(), role);
    }
    return {number, depth, std::move(node.lists[NodeFields::Children]), 0, m_report.NewCut()};
}

std::string TreePrinter::Shared(std::uint32_t number) const
{
    const std::uint32_t count = m_uses.references[number];
    return count > 1 ? ", shared by " + std::to_string(count) : std::string();
}

void TreePrinter::ShowHeld(const char* role, std::uint64_t index, const std::string& indent)
{
    m_report.Line() << indent << role << ": ";
    const std::uint32_t number = index == 0 ? ArchiveFile::kNone : m_archive.Find(index);
    if (number == ArchiveFile::kNone) {
        m_report.Line() << "nothing (" << IndexText(index) << ")\n";
        return;
    }
    const RecordHead head = m_archive.Head(number);
    if (m_uses.isNode[number]) {
        const std::optional<NodeFields> node = m_archive.Node(head);
        m_report.Line() << "node " << NodeText(node.value_or(NodeFields())) << " ("
                        << head.indexText << ')' << Shared(number) << '\n';
        return;
    }
    m_report.Line() << Quoted(head.className) << " version " << head.version << ", "
                    << head.payloadSize << " bytes (" << head.indexText << ')' << Shared(number)
                    << '\n';
    if (head.IsBitArray()) {
        for (const std::string& line : m_archive.Picture(head))
            m_report.Line() << indent << "  " << line << '\n';
    }
}

// Objects that are in the document though no node holds them: by their label, or through an object
// of a class that is not known here.
void TreePrinter::ShowLoose()
{
    Cut shown = m_report.NewCut();
    for (std::uint32_t i = 0; i < m_uses.isNode.size(); ++i) {
        if (m_uses.isNode[i] || m_uses.references[i] != 0 || !shown.Shows())
            continue;
        const RecordHead head = m_archive.Head(i);
        m_report.Line() << "held by no node: " << Quoted(head.className) << " version "
                        << head.version << ", " << head.payloadSize << " bytes (" << head.indexText
                        << ')';
        if (!head.label.empty())
            m_report.Line() << " label " << Quoted(head.label);
        m_report.Line() << '\n';
    }
    shown.End("", "objects that no node holds");
}

} // namespace

void ShowTrees(ArchiveFile& archive, RecordUses uses, Report& report)
{
    TreePrinter(archive, std::move(uses), report).ShowAll();
}
