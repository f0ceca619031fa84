#include "core/archive/Encoding.h"
#include "core/base/BlockReader.h"

#include "tools/qdinspect/ArchiveFile.h"
#include "tools/qdinspect/ArchiveTree.h"
#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

// An archive's file: its header, the table of its records, and the tree of its nodes.
//
// The records are gone through once, in the order of the file. What is kept of each is a few bytes,
// so that an archive of millions of records, whatever they hold, takes little memory: whose child
// it is and how many records refer to it. The tree is then read from the file as it is printed.

namespace {

constexpr int kOldestFormat = 2;
constexpr int kNewestFormat = 8;

std::optional<std::string> ReadText(BlockReader& file)
{
    const std::optional<std::uint64_t> size = NArchive::EndOfText(file, 0);
    const char* const text = size ? file.Peek(*size) : nullptr;
    if (text == nullptr)
        return std::nullopt;
    file.MoveTo(file.Position() + *size);
    return std::string(NArchive::TextAt(text));
}

bool ReadPart(BlockReader& file, std::string& className, int& version)
{
    std::optional<std::string> text = ReadText(file);
    if (!text || file.Left() < sizeof version)
        return false;
    className = std::move(*text);
    return file.Read(&version, sizeof version);
}

} // namespace

bool InspectHeader(BlockReader& file, FileHeader& header, Report& report)
{
    if (!ReadPart(file, header.documentClass, header.documentVersion)) {
        report.DamageAt(file.Position()) << "no document class and version\n";
        return false;
    }
    report.Line() << "document " << Quoted(header.documentClass) << " version "
                  << header.documentVersion << '\n';
    const std::uint64_t start = file.Position();
    if (!ReadPart(file, header.archiveClass, header.formatVersion)) {
        report.DamageAt(file.Position()) << "no archive class and format version\n";
        return false;
    }
    report.Line() << "written by " << Quoted(header.archiveClass) << " version "
                  << header.formatVersion << '\n';
    if (EntrySink* const entries = report.Export()) {
        entries->Property("document", {{"class", Utf8(header.documentClass)},
                                       {"version", header.documentVersion}});
        entries->Property(
            "archive", {{"class", Utf8(header.archiveClass)}, {"version", header.formatVersion}});
    }
    const bool isKnown = header.archiveClass == "class BArchive" ||
                         header.archiveClass == "BArchive"; // without the keyword in old files
    if (!isKnown || header.formatVersion < kOldestFormat || header.formatVersion > kNewestFormat) {
        report.DamageAt(start) << "no format that can be read\n";
        return false;
    }
    return true;
}

namespace {

Json References(const std::vector<std::uint64_t>& list)
{
    Json references = Json::array();
    for (const std::uint64_t index : list)
        references.push_back(IndexText(index));
    return references;
}

Json NodeEntry(const NodeFields& node)
{
    Json entry = {{"text", Utf8(platform::WideView(node.text))},
                  {"active", node.isActive},
                  {"locked", node.isLocked},
                  {"children", References(node.lists[NodeFields::Children])},
                  {"attributes", References(node.lists[NodeFields::Attributes])},
                  {"annotations", References(node.lists[NodeFields::Annotations])}};
    if (node.object != 0)
        entry["object"] = IndexText(node.object);
    if (node.isTextCut)
        entry["textIsCut"] = true;
    return entry;
}

// Objects are told by their index texts, as in the file: the entries stand in the order of the
// records, and a tree may be deeper than readers of JSON like.
Json RecordEntry(ArchiveFile& archive, const RecordHead& head)
{
    Json entry = {{"index", Utf8(head.indexText)},
                  {"at", head.position},
                  {"class", Utf8(head.className)},
                  {"version", head.version},
                  {"bytes", head.payloadSize}};
    if (!head.label.empty())
        entry["label"] = Utf8(head.label);
    if (head.IsBitArray()) {
        const std::optional<BitPicture> picture = archive.Picture(head);
        entry["picture"] = picture ? picture->Lines() : std::vector<std::string>();
    } else if (const std::optional<NodeFields> node = archive.Node(head)) {
        entry["node"] = NodeEntry(*node);
    }
    return entry;
}

class RecordInspector {
public:
    RecordInspector(ArchiveFile& archive, Report& report)
        : m_archive(archive)
        , m_report(report)
        , m_shown(report.NewCut())
        , m_lost(report.NewCut())
    {}

    void InspectAll();
    [[nodiscard]] RecordUses Uses() && { return std::move(m_uses); }

private:
    struct ClassCount {
        std::uint64_t records = 0;
        std::uint64_t bytes = 0;
    };

    void TellBroken(const RecordHead& head);
    void TellFurther(const RecordHead& broken);
    void ShowRecord(const RecordHead& head);
    void CheckRecord(const RecordHead& head);
    void CheckNode(const RecordHead& head);
    void CheckChildren(const RecordHead& head, const std::vector<std::uint64_t>& children);
    void CheckCircles();
    void TellLost(const RecordHead& head, const std::vector<std::uint64_t>& lost);
    void End();

    ArchiveFile& m_archive;
    Report& m_report;
    Cut m_shown;
    Cut m_lost; // those that refer to records that are not there
    RecordUses m_uses;
    std::uint32_t m_count = 0;
    std::map<std::pair<std::string, int>, ClassCount> m_classes; // by name and version
};

void RecordInspector::InspectAll()
{
    BlockReader& file = m_archive.File();
    RecordHead head;
    while (file.Left() != 0) { // until one is broken: nothing tells where the next begins
        if (!m_archive.ReadHead(head)) {
            TellBroken(head);
            TellFurther(head);
            break;
        }
        m_report.TellProgress(head.position, file.Size());
        m_uses.Add(m_count + 1);
        ShowRecord(head);
        CheckRecord(head);
        if (EntrySink* const entries = m_report.NextEntry())
            entries->Entry(RecordEntry(m_archive, head), head.payload + head.payloadSize);
        ++m_count;
        file.MoveTo(head.payload + head.payloadSize);
    }
    m_uses.Cut(m_count);
    CheckCircles();
    End();
}

void RecordInspector::TellBroken(const RecordHead& head)
{
    BlockReader& file = m_archive.File();
    if (!file.IsGood()) {
        m_report.DamageAt(head.position) << "the file cannot be read\n";
    } else if (head.payload == 0) {
        m_report.DamageAt(head.position)
            << "no whole object header behind " << m_count << " whole records\n";
    } else {
        m_report.DamageAt(head.position)
            << "object " << Quoted(head.indexText) << " of class " << Quoted(head.className)
            << " wants " << head.payloadSize << " bytes, " << file.Left() << " are left behind "
            << m_count << " whole records\n";
    }
}

// What could be recovered behind a broken record.
void RecordInspector::TellFurther(const RecordHead& broken)
{
    BlockReader& file = m_archive.File();
    file.MoveTo(broken.position + 1);
    m_archive.FindNextRecord();
    const std::uint64_t start = file.Position();
    std::uint64_t count = 0;
    for (RecordHead head; file.Left() != 0 && m_archive.ReadHead(head); ++count)
        file.MoveTo(head.payload + head.payloadSize);
    if (count != 0)
        m_report.DamageAt(start) << "here the records go on with " << count
                                 << " more, which programs do not find\n";
}

void RecordInspector::ShowRecord(const RecordHead& head)
{
    ClassCount& count = m_classes[{head.className, head.version}];
    ++count.records;
    count.bytes += head.payloadSize;
    if (!m_shown.Shows())
        return;
    m_report.Line() << "at " << head.position << ": object " << Quoted(head.indexText)
                    << " of class " << Quoted(head.className) << " version " << head.version << ", "
                    << head.payloadSize << " bytes";
    if (!head.label.empty())
        m_report.Line() << ", label " << Quoted(head.label);
    m_report.Line() << '\n';
}

void RecordInspector::CheckRecord(const RecordHead& head)
{
    if (!NArchive::IndexOfText(head.indexText))
        m_report.DamageAt(head.position) << Quoted(head.indexText) << " is no index\n";
    if (!head.HasClass()) {
        m_report.DamageAt(head.position)
            << "object " << Quoted(head.indexText) << ": no class has the name "
            << Quoted(head.className) << '\n';
    }
    if (m_archive.FindText(head.indexText) != m_count) {
        m_report.DamageAt(head.position)
            << "a later record is object " << Quoted(head.indexText) << ", too, and counts\n";
        return; // nothing leads to this one
    }
    if (!head.label.empty() && m_archive.FindLabel(head.label) != m_count)
        m_report.DamageAt(head.position)
            << "a later record has the label " << Quoted(head.label) << ", too, and counts\n";
    if (head.IsBitArray() && !m_archive.Picture(head)) {
        m_report.DamageAt(head.payload)
            << "the record of object " << Quoted(head.indexText) << " holds no whole bit array\n";
    } else if (!head.IsBitArray()) {
        CheckNode(head);
    }
}

void RecordInspector::CheckNode(const RecordHead& head)
{
    const std::optional<NodeFields> node = m_archive.Node(head);
    if (!node) {
        if (head.IsNode())
            m_report.DamageAt(head.payload)
                << "the record of object " << Quoted(head.indexText) << " holds no whole node\n";
        return;
    }
    m_uses.isNode[m_count] = true;
    std::vector<std::uint64_t> lost;
    const auto refer = [&](std::uint64_t index) {
        if (index == 0)
            return;
        const std::uint32_t number = m_archive.Find(index);
        if (number == ArchiveFile::kNone) {
            lost.push_back(index);
            return;
        }
        m_uses.Add(number + 1);
        ++m_uses.references[number];
    };
    refer(node->object);
    for (const std::vector<std::uint64_t>& list : node->lists)
        std::ranges::for_each(list, refer);
    TellLost(head, lost);
    CheckChildren(head, node->lists[NodeFields::Children]);
}

void RecordInspector::TellLost(const RecordHead& head, const std::vector<std::uint64_t>& lost)
{
    constexpr std::size_t most = 5;
    if (lost.empty() || !m_lost.Shows())
        return;
    std::ostream& line = m_report.DamageAt(head.payload);
    line << "object " << Quoted(head.indexText) << " refers to " << lost.size()
         << " without a record:";
    for (std::size_t i = 0; i < std::min(lost.size(), most); ++i)
        line << (i == 0 ? " " : ", ") << Quoted(IndexText(lost[i]));
    line << (lost.size() > most ? ", ...\n" : "\n");
}

// The child list decides: who stands in two refuses itself when the document is read.
void RecordInspector::CheckChildren(const RecordHead& head,
                                    const std::vector<std::uint64_t>& children)
{
    for (const std::uint64_t index : children) {
        const std::uint32_t number = index == 0 ? ArchiveFile::kNone : m_archive.Find(index);
        if (number == ArchiveFile::kNone)
            continue;
        std::uint32_t& parent = m_uses.parents[number];
        if (parent != ArchiveFile::kNone) {
            m_report.DamageAt(head.payload)
                << "object " << Quoted(IndexText(index)) << " is a child of "
                << Quoted(head.indexText) << ", and of another node or twice\n";
        } else {
            parent = m_count;
        }
    }
}

// Goes up from each node; a way that comes back to itself is a circle.
void RecordInspector::CheckCircles()
{
    std::vector<std::uint32_t> passedFrom(m_count, ArchiveFile::kNone);
    for (std::uint32_t start = 0; start < m_count; ++start) {
        std::uint32_t node = start;
        while (node != ArchiveFile::kNone && passedFrom[node] == ArchiveFile::kNone) {
            passedFrom[node] = start;
            node = m_uses.parents[node];
        }
        if (node == ArchiveFile::kNone || passedFrom[node] != start)
            continue;
        const RecordHead head = m_archive.Head(node);
        m_report.DamageAt(head.payload)
            << "object " << Quoted(head.indexText) << " stands below itself\n";
        m_uses.parents[node] = ArchiveFile::kNone; // so that it is shown, and what is below it
    }
}

void RecordInspector::End()
{
    m_shown.End("", "records");
    m_lost.End("", "objects that refer to lost ones");
    m_report.Line() << m_count << " whole records\n";
    Cut shown = m_report.NewCut();
    for (const auto& [nameAndVersion, count] : m_classes) {
        if (shown.Shows()) {
            m_report.Line() << "class " << Quoted(nameAndVersion.first) << " version "
                            << nameAndVersion.second << ": " << count.records << " records, "
                            << count.bytes << " bytes\n";
        }
    }
    shown.End("", "classes");
    EntrySink* const entries = m_report.Export();
    for (auto count = m_classes.begin(); entries != nullptr && count != m_classes.end(); ++count)
        entries->ClassOfRecords(Utf8(count->first.first), count->first.second,
                                count->second.records, count->second.bytes);
}

} // namespace

RecordUses SurveyRecords(ArchiveFile& archive, Report& report)
{
    RecordInspector inspector(archive, report);
    inspector.InspectAll();
    return std::move(inspector).Uses();
}

void InspectArchive(BlockReader& file, Report& report)
{
    report.Line() << "archive\n";
    FileHeader document;
    if (!InspectHeader(file, document, report))
        return;
    ArchiveFile archive(file, document.formatVersion);
    RecordUses uses = SurveyRecords(archive, report);
    if (!file.IsGood())
        return;
    if (report.IsShown())
        ShowTrees(archive, std::move(uses), report);
    else if (TreeSink* const trees = report.Export() ? report.Export()->Trees(archive) : nullptr)
        WalkTrees(archive, std::move(uses), *trees, report);
}
