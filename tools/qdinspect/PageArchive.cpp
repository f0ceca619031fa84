#include "tools/qdinspect/ArchiveFile.h"
#include "tools/qdinspect/ArchiveTree.h"
#include "tools/qdinspect/Html.h"
#include "tools/qdinspect/Page.h"
#include "tools/qdinspect/PageParts.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>

// An archive: its classes, the table of its records, and the trees, as lists in lists that open and
// close.
//
// Records and what stands in a tree have the record's number as identity, so that links lead from
// one to the other, and from an object that nodes share to where it stands first.

namespace {

// Browsers give up nesting elements at a depth of 512; a node takes three. Deeper nodes stand below
// one another with their depth in front.
constexpr std::uint64_t kDeepest = 100;
constexpr std::int64_t kPictureColumns = 160;
constexpr std::int64_t kPictureRows = 120;
constexpr int kMostPlanes = 16; // of an array that are drawn

// What is set in one plane: the runs of cells, row by row.
std::string PlanePath(const BitPicture& picture, int plane)
{
    std::string path;
    const auto byte = static_cast<std::size_t>(plane / 8);
    const auto isSet = [&](std::int64_t row, std::int64_t column) {
        return (static_cast<unsigned char>(picture.Cell(row, column)[byte]) >> plane % 8 & 1) != 0;
    };
    for (std::int64_t row = 0; row < picture.rows; ++row) {
        for (std::int64_t column = 0; column < picture.columns; ++column) {
            const std::int64_t start = column;
            while (column < picture.columns && isSet(row, column))
                ++column;
            if (column == start)
                continue;
            path.append("M").append(std::to_string(start)).append(" ");
            path.append(std::to_string(row)).append("h").append(std::to_string(column - start));
            path.append("v1H").append(std::to_string(start)).append("z");
        }
    }
    return path;
}

void WritePlane(std::ostream& out, const BitPicture& picture, int plane, const std::string& path)
{
    // As wide as the cells, within what is readable; square cells.
    const double wide = std::clamp(3.0 * picture.width, 48.0, 320.0);
    const double high = std::clamp(wide * picture.height / picture.width, 4.0, 640.0);
    out << "<figure><svg role=\"img\" aria-label=\"Plane " << plane << "\" width=\""
        << static_cast<int>(wide) << "\" height=\"" << static_cast<int>(high) << "\" viewBox=\"0 0 "
        << picture.columns << ' ' << picture.rows
        << "\" preserveAspectRatio=\"none\" shape-rendering=\"crispEdges\"><path"
        << " fill=\"currentColor\" d=\"" << path << "\"/></svg><figcaption>plane " << plane
        << "</figcaption></figure>";
}

void WritePicture(std::ostream& out, const BitPicture& picture)
{
    const int planes = static_cast<int>(picture.TakenSize()) * 8;
    int drawn = 0;
    out << "<div class=\"quiet\">" << picture.width << " &times; " << picture.height << " cells of "
        << picture.cellSize << " bytes";
    out << (picture.rows < picture.height || picture.columns < picture.width
                ? ", some of them drawn</div>"
                : "</div>");
    out << "<div class=\"planes\">";
    for (int plane = 0; plane < planes && picture.rows * picture.columns != 0; ++plane) {
        const std::string path = PlanePath(picture, plane);
        if (!path.empty() && drawn++ < kMostPlanes)
            WritePlane(out, picture, plane, path);
    }
    if (drawn == 0)
        out << "<span class=\"quiet\">no bit is set</span>";
    if (drawn > kMostPlanes)
        out << "<span class=\"quiet\">" << drawn - kMostPlanes << " more planes</span>";
    out << "</div>";
}

// Lists that are open, one a depth.
class PageTrees : public TreeSink {
public:
    PageTrees(std::ostream& out, ArchiveFile& archive, std::uint64_t mostNodes)
        : m_out(out)
        , m_archive(archive)
        , m_most(mostNodes)
    {
        m_out << "<section>\n<h2>Nodes</h2>\n<ul class=\"tree\">\n";
    }

    [[nodiscard]] Limits MostShown() const override { return {m_most, m_most}; }

    void Node(const TreeRecord& node, std::uint64_t depth) override;
    void Held(const char* role, const TreeRecord& held, std::uint64_t depth) override;
    void NoNode(std::uint64_t index, std::uint64_t depth) override
    {
        CloseTo(depth);
        m_out << "<li class=\"item\"><div class=\"line damage\">no node (" << IndexText(index)
              << ")</div></li>\n";
    }
    void HeldLeftOut(std::uint64_t count, const char* role, std::uint64_t) override
    {
        m_out << "<li class=\"left-out\">" << count << " more: " << role << "</li>\n";
    }
    void LeftOut(std::uint64_t count, std::uint64_t depth) override
    {
        CloseTo(depth);
        m_out << "<li class=\"left-out\">" << count << " more "
              << (depth == 0 ? "trees" : "children") << " are left out</li>\n";
    }
    void EndTrees(std::uint64_t nodes, std::uint64_t shownNodes) override;
    void Loose(const TreeRecord& record) override;
    void EndLoose(std::uint64_t leftOut) override;

private:
    void CloseTo(std::uint64_t depth);
    void WriteNodeLine(const TreeRecord& node);
    void WriteObject(const TreeRecord& object);
    // True at the first place of a record, which takes its identity.
    [[nodiscard]] bool Place(std::uint32_t number);

    std::ostream& m_out;
    ArchiveFile& m_archive;
    std::uint64_t m_most;
    std::uint64_t m_held = 0; // objects that were shown
    std::uint64_t m_open = 0; // lists
    std::vector<bool> m_isPlaced;
    bool m_hasLoose = false;
};

bool PageTrees::Place(std::uint32_t number)
{
    if (m_isPlaced.size() <= number)
        m_isPlaced.resize(std::max<std::size_t>(number + 1, 2 * m_isPlaced.size()));
    const bool isFirst = !m_isPlaced[number];
    m_isPlaced[number] = true;
    return isFirst;
}

void PageTrees::CloseTo(std::uint64_t depth)
{
    for (; m_open > std::min(depth, kDeepest); --m_open)
        m_out << "</ul></details></li>\n";
}

void PageTrees::WriteNodeLine(const TreeRecord& node)
{
    const NodeFields& fields = *node.node;
    m_out << QuotedHtml(Utf8(platform::WideView(fields.text)))
          << (fields.isTextCut ? "&hellip;" : "")
          << (fields.isActive ? "" : " <span class=\"badge\">inactive</span>")
          << (fields.isLocked ? " <span class=\"badge\">locked</span>" : "");
    if (!node.head.IsNode())
        m_out << " <span class=\"role\">" << Html(Utf8(node.head.className)) << " version "
              << node.head.version << "</span>";
    if (!node.head.label.empty())
        m_out << " <span class=\"badge\">label " << QuotedHtml(Utf8(node.head.label)) << "</span>";
    m_out << " <span class=\"index\">(" << Html(Utf8(node.head.indexText)) << ")</span>";
}

void PageTrees::Node(const TreeRecord& node, std::uint64_t depth)
{
    CloseTo(depth);
    const NodeFields& fields = *node.node;
    const bool isLeaf =
        fields.object == 0 &&
        std::ranges::all_of(fields.lists, [](const auto& list) { return list.empty(); });
    static_cast<void>(Place(node.number));
    m_out << "<li class=\"item\" id=\"o" << node.number << '"';
    m_out << (isLeaf       ? "><div class=\"line\">"
              : depth == 0 ? "><details open><summary>"
                           : "><details><summary>");
    if (depth > kDeepest)
        m_out << "<span class=\"role\">[depth " << depth << "]</span> ";
    WriteNodeLine(node);
    m_out << (isLeaf ? "</div></li>\n" : "</summary><ul>\n");
    m_open += isLeaf ? 0 : 1;
}

void PageTrees::WriteObject(const TreeRecord& object)
{
    m_out << Html(Utf8(object.head.className)) << " <span class=\"quiet\">version "
          << object.head.version << ", " << object.head.payloadSize << " bytes</span>";
    if (!object.head.label.empty())
        m_out << " <span class=\"badge\">label " << QuotedHtml(Utf8(object.head.label))
              << "</span>";
    m_out << " <span class=\"index\">(" << Html(Utf8(object.head.indexText)) << ")</span>";
}

void PageTrees::Held(const char* role, const TreeRecord& held, std::uint64_t)
{
    if (++m_held > m_most)
        return;
    if (held.number == ArchiveFile::kNone) {
        m_out << "<li class=\"item held\"><div class=\"line\"><span class=\"role\">" << role
              << "</span> <span class=\"damage\">nothing (" << IndexText(held.index)
              << ")</span></div></li>\n";
        return;
    }
    // A node has its place in a tree.
    const bool isPlaced = held.node || !Place(held.number);
    m_out << "<li class=\"item held\"";
    if (!isPlaced)
        m_out << " id=\"o" << held.number << '"';
    m_out << "><div class=\"line\"><span class=\"role\">" << role << "</span> ";
    if (held.node)
        WriteNodeLine(held);
    else
        WriteObject(held);
    if (isPlaced)
        m_out << " <a href=\"#o" << held.number << "\">where it stands</a>";
    if (held.references > 1)
        m_out << " <span class=\"badge\">shared by " << held.references << "</span>";
    m_out << "</div>";
    if (!isPlaced && held.head.IsBitArray()) {
        if (const std::optional<BitPicture> picture =
                m_archive.Picture(held.head, kPictureColumns, kPictureRows))
            WritePicture(m_out, *picture);
    }
    m_out << "</li>\n";
}

void PageTrees::EndTrees(std::uint64_t nodes, std::uint64_t shownNodes)
{
    CloseTo(0);
    m_out << "</ul>\n<p class=\"quiet\">" << nodes << " nodes</p>\n";
    WriteLeftOut(m_out, nodes - shownNodes, "nodes");
    WriteLeftOut(m_out, m_held - std::min(m_held, m_most), "objects that nodes hold");
    m_out << "</section>\n";
}

void PageTrees::Loose(const TreeRecord& record)
{
    if (!m_hasLoose)
        m_out << "<section>\n<h2>Held by no node</h2>\n<ul class=\"tree\">\n";
    m_hasLoose = true;
    static_cast<void>(Place(record.number));
    m_out << "<li class=\"item held\" id=\"o" << record.number << "\"><div class=\"line\">";
    WriteObject(record);
    m_out << "</div></li>\n";
}

void PageTrees::EndLoose(std::uint64_t leftOut)
{
    if (!m_hasLoose)
        return;
    m_out << "</ul>\n";
    WriteLeftOut(m_out, leftOut, "objects");
    m_out << "</section>\n";
}

class ArchivePart : public PagePart {
public:
    ArchivePart(std::ostream& out, const PageSurvey& survey);

    void Entry(const Json& entry, const Findings& findings) override;
    void EndEntries(std::uint64_t leftOut) override
    {
        m_out << "</tbody>\n</table>\n</div>\n";
        WriteLeftOut(m_out, leftOut, "records");
        m_out << "</details>\n";
    }
    [[nodiscard]] TreeSink* Trees(ArchiveFile& archive, std::uint64_t mostNodes) override
    {
        return &m_trees.emplace(m_out, archive, mostNodes);
    }

private:
    std::ostream& m_out;
    std::optional<PageTrees> m_trees;
    std::uint64_t m_number = 0;
};

ArchivePart::ArchivePart(std::ostream& out, const PageSurvey& survey)
    : m_out(out)
{
    constexpr const char* number = "<th scope=\"col\" class=\"number\">";
    out << "<details class=\"records\">\n<summary>Classes (" << survey.classes.size()
        << ")</summary>\n<div class=\"scroll\">\n<table>\n<thead><tr><th scope=\"col\">Class</th>"
        << number << "Version</th>" << number << "Records</th>" << number
        << "Bytes</th></tr></thead>\n<tbody>\n";
    for (const PageSurvey::ClassCount& count : survey.classes) {
        out << "<tr><th scope=\"row\">" << Html(count.name) << "</th><td class=\"number\">"
            << count.version << "</td><td class=\"number\">" << count.records
            << "</td><td class=\"number\">" << count.bytes << "</td></tr>\n";
    }
    out << "</tbody>\n</table>\n</div>\n</details>\n<details class=\"records\">\n<summary>Records ("
        << survey.entries << ")</summary>\n<div class=\"scroll\">\n<table>\n<thead><tr>"
        << "<th scope=\"col\">Index</th><th scope=\"col\">Class</th>" << number << "Version</th>"
        << number << "Bytes</th>" << number
        << "At byte</th><th scope=\"col\">Label</th></tr></thead>\n<tbody>\n";
}

void ArchivePart::Entry(const Json& entry, const Findings& findings)
{
    BeginRow(m_out, findings);
    m_out << "<td><a href=\"#o" << m_number++ << "\">" << HtmlOf(entry["index"])
          << "</a></td><th scope=\"row\">" << HtmlOf(entry["class"]);
    WriteNotes(m_out, findings);
    m_out << "</th>";
    for (const char* const field : {"version", "bytes", "at"})
        m_out << "<td class=\"number\">" << entry[field].dump() << "</td>";
    m_out << "<td>"
          << (entry.contains("label") ? QuotedHtml(entry["label"].get<std::string>()) : "")
          << "</td></tr>\n";
}

} // namespace

std::unique_ptr<PagePart> NewArchivePart(std::ostream& out, const PageSurvey& survey)
{
    return std::make_unique<ArchivePart>(out, survey);
}
