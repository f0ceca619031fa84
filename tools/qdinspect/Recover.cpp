#include "core/archive/Encoding.h"
#include "core/base/BlockReader.h"
#include "core/tree/NodePayload.h"

#include "tools/qdinspect/ArchiveTree.h"
#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/NewFile.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

// A new archive of what is whole in a damaged one.
//
// Records are copied as they stand: nobody here knows their classes. So it takes two steps. The
// first copies the whole records, those behind a broken one, too, into a file beside the new one.
// That is an archive whose records can be surveyed: the second step copies it, with a 0 for each
// reference that leads nowhere, and for each child that stands in two lists or below itself, as a
// program would refuse these. Of two objects with one label the later keeps it, as it is the one
// that programs find. Nodes that nobody holds any more go under a node "recovered". It takes the
// place of the first labelled record that was lost, so that a program finds it, unless another has
// that label.

namespace {

class ArchiveRecovery {
public:
    ArchiveRecovery(BlockReader& file, std::ostream& messages, Progress& progress)
        : m_file(file)
        , m_messages(messages)
        , m_progress(progress)
    {}

    [[nodiscard]] bool CopyWholeRecords(NewFile& out);
    [[nodiscard]] bool Mend(BlockReader& part, NewFile& out);

private:
    // False for one that is not whole.
    [[nodiscard]] bool CopyRecord(ArchiveFile& archive, const RecordHead& head, NewFile& out);
    void FindFaults(ArchiveFile& archive, std::uint64_t start, const RecordUses& uses);
    void FindFaults(ArchiveFile& archive, const NodeFields& node, std::uint32_t number,
                    const RecordUses& uses);
    void TakeLabel(const RecordHead& head, std::uint32_t number);
    void FindOrphans(ArchiveFile& archive, const RecordUses& uses);
    [[nodiscard]] std::uint64_t MostIndex() const;
    [[nodiscard]] std::uint64_t FreeIndex(ArchiveFile& archive) const;
    [[nodiscard]] std::string FreeLabel() const;
    void WriteRecoveredNode(NewFile& out, std::uint64_t freeIndex) const;

    BlockReader& m_file;
    std::ostream& m_messages;
    Progress& m_progress;
    FileHeader m_header;
    std::string m_lostLabel;
    std::uint64_t m_lastIndex = 0;
    std::uint64_t m_copied = 0;
    bool m_hasLost = false;
    enum class EEdited { Record, Label, Reference };
    // What is left out, and zeros in its place.
    struct Edit {
        EEdited what;
        std::uint64_t position;
        std::uint64_t size;
        std::uint64_t zeros;
    };

    std::vector<Edit> m_edits;
    std::map<std::string, std::pair<std::uint32_t, Edit>> m_labels; // who has each; taken from it
    std::vector<bool> m_isHeld;                                     // by the record's number
    std::vector<std::uint64_t> m_orphans;                           // indices
};

bool ArchiveRecovery::CopyWholeRecords(NewFile& out)
{
    std::ostream silent(nullptr);
    Report report(silent, m_messages, silent, false);
    if (!InspectHeader(m_file, m_header, report))
        return false;
    const std::uint64_t start = m_file.Position();
    m_file.MoveTo(0);
    out.Copy(m_file, start);
    ArchiveFile archive(m_file, m_header.formatVersion);
    RecordHead head;
    while (m_file.Left() != 0 && m_file.IsGood()) {
        m_progress.Show(m_file.Position(), m_file.Size());
        if (archive.ReadHead(head)) {
            // What is damaged may be the size, and the next record stand before its end.
            const bool isCopied = CopyRecord(archive, head, out);
            m_file.MoveTo(isCopied ? head.payload + head.payloadSize : head.payload);
            if (!isCopied)
                archive.FindNextRecord();
            continue;
        }
        m_hasLost = true;
        if (m_lostLabel.empty())
            m_lostLabel = head.label;
        m_file.MoveTo(head.position + 1);
        archive.FindNextRecord();
        m_messages << "bytes " << head.position << " to " << m_file.Position() << " are lost\n";
    }
    m_progress.Hide();
    m_messages << m_copied << " whole records\n";
    return m_file.IsGood();
}

bool ArchiveRecovery::CopyRecord(ArchiveFile& archive, const RecordHead& head, NewFile& out)
{
    const std::optional<std::uint64_t> index = NArchive::IndexOfText(head.indexText);
    const bool isBroken = !index || !head.HasClass() || (head.IsNode() && !archive.Node(head)) ||
                          (head.IsBitArray() && !archive.Picture(head));
    if (isBroken) {
        m_messages << "object " << Quoted(head.indexText) << " of class " << Quoted(head.className)
                   << " at byte " << head.position << " is lost\n";
        m_hasLost = true;
        if (m_lostLabel.empty())
            m_lostLabel = head.label;
        return false;
    }
    m_lastIndex = std::max(m_lastIndex, *index);
    ++m_copied;
    m_file.MoveTo(head.position);
    out.Copy(m_file, head.payload + head.payloadSize);
    return true;
}

bool ArchiveRecovery::Mend(BlockReader& part, NewFile& out)
{
    std::ostream silent(nullptr);
    Report report(silent, silent, silent, false);
    FileHeader header;
    if (!InspectHeader(part, header, report))
        return false;
    const std::uint64_t start = part.Position();
    ArchiveFile archive(part, header.formatVersion);
    const RecordUses uses = SurveyRecords(archive, report);
    FindFaults(archive, start, uses);
    FindOrphans(archive, uses);
    std::ranges::sort(m_edits, {}, &Edit::position);
    part.MoveTo(0);
    for (const Edit& edit : m_edits) {
        out.Copy(part, edit.position);
        out.Write(std::string(edit.zeros, '\0'));
        part.MoveTo(edit.position + edit.size);
    }
    out.Copy(part, part.Size());
    const auto references = std::ranges::count(m_edits, EEdited::Reference, &Edit::what);
    m_messages << references << " references to lost or misplaced objects are taken out\n";
    if (m_orphans.empty())
        return part.IsGood();
    WriteRecoveredNode(out, FreeIndex(archive));
    m_messages << m_orphans.size() << " nodes stand below a node \"recovered\"\n";
    return part.IsGood();
}

void ArchiveRecovery::FindFaults(ArchiveFile& archive, std::uint64_t start, const RecordUses& uses)
{
    BlockReader& part = archive.File();
    m_isHeld.resize(uses.isNode.size());
    part.MoveTo(start);
    RecordHead head;
    for (std::uint32_t number = 0; number < uses.isNode.size() && archive.ReadHead(head);
         ++number) {
        // Where two records have one index, the later counts.
        if (archive.FindText(head.indexText) != number) {
            m_messages << "the first object " << Quoted(head.indexText) << " is lost\n";
            m_isHeld[number] = true;
            m_edits.push_back({EEdited::Record, head.position,
                               head.payload + head.payloadSize - head.position, 0});
        } else {
            TakeLabel(head, number);
            if (const auto node = uses.isNode[number] ? archive.Node(head) : std::nullopt)
                FindFaults(archive, *node, number, uses);
        }
        part.MoveTo(head.payload + head.payloadSize);
    }
}

void ArchiveRecovery::FindFaults(ArchiveFile& archive, const NodeFields& node, std::uint32_t number,
                                 const RecordUses& uses)
{
    const std::uint64_t referenceSize = NArchive::ReferenceSize(m_header.formatVersion);
    std::size_t place = 0;
    const auto refer = [&](std::uint64_t index, bool isChild) {
        const std::uint64_t at = node.places[place++];
        if (index == 0)
            return;
        const std::uint32_t found = archive.Find(index);
        const bool isFault = found == ArchiveFile::kNone ||
                             (isChild && (uses.parents[found] != number || m_isHeld[found]));
        if (isFault)
            m_edits.push_back({EEdited::Reference, at, referenceSize, referenceSize});
        else if (isChild) // an object may be an annotation in many places
            m_isHeld[found] = true;
    };
    refer(node.object, false);
    for (int list = 0; list < NodeFields::ListCount; ++list) {
        for (const std::uint64_t index : node.lists[list])
            refer(index, list == NodeFields::Children);
    }
}

void ArchiveRecovery::TakeLabel(const RecordHead& head, std::uint32_t number)
{
    if (head.label.empty())
        return;
    constexpr std::uint64_t lengthSize = NArchive::kTagAndLengthSize - 1;
    const std::uint64_t place =
        head.position + NArchive::kTagAndLengthSize + head.indexText.size() + 1;
    const std::pair taken(number,
                          Edit{EEdited::Label, place, lengthSize + head.label.size(), lengthSize});
    const auto [found, isFirst] = m_labels.try_emplace(head.label, taken);
    if (isFirst)
        return;
    m_messages << "the first label " << Quoted(head.label) << " is lost\n";
    m_edits.push_back(std::exchange(found->second, taken).second);
}

// The object with index 1 is mostly the document's root, which a program asks for.
void ArchiveRecovery::FindOrphans(ArchiveFile& archive, const RecordUses& uses)
{
    if (!m_hasLost && m_edits.empty())
        return;
    for (std::uint32_t number = 0; number < uses.isNode.size(); ++number) {
        if (!uses.isNode[number] || m_isHeld[number])
            continue;
        const RecordHead head = archive.Head(number);
        const std::optional<std::uint64_t> index = NArchive::IndexOfText(head.indexText);
        const bool isFound = !head.label.empty() && m_labels.at(head.label).first == number;
        if (!isFound && index && *index > 1 && *index <= MostIndex())
            m_orphans.push_back(*index);
    }
}

std::uint64_t ArchiveRecovery::MostIndex() const
{
    return NArchive::ReferenceSize(m_header.formatVersion) == 4 ? UINT32_MAX : UINT64_MAX;
}

// Not the next one behind the largest: that is mostly of an object that was lost, to which records
// of unknown classes may still refer. As many as the file has bytes cannot be lost.
std::uint64_t ArchiveRecovery::FreeIndex(ArchiveFile& archive) const
{
    std::uint64_t index = 1;
    if (m_file.Size() < MostIndex() - (std::min)(m_lastIndex, MostIndex()))
        index = m_lastIndex + m_file.Size() + 1;
    while (archive.Find(index) != ArchiveFile::kNone)
        ++index;
    return index;
}

std::string ArchiveRecovery::FreeLabel() const
{
    std::string label = m_lostLabel.empty() ? "recovered" : m_lostLabel;
    for (int i = 1; m_labels.contains(label); ++i)
        label = i == 1 ? "recovered" : "recovered " + std::to_string(i);
    return label;
}

void ArchiveRecovery::WriteRecoveredNode(NewFile& out, std::uint64_t freeIndex) const
{
    constexpr std::string_view text = "recovered";
    const std::size_t referenceSize = NArchive::ReferenceSize(m_header.formatVersion);
    std::string bytes;
    const auto append = [&](auto number, std::size_t size) {
        bytes.append(reinterpret_cast<const char*>(&number), size);
    };
    const auto appendText = [&](std::string_view narrow) {
        bytes += NArchive::kTextTag;
        append(static_cast<std::uint32_t>(narrow.size()), sizeof(std::uint32_t));
        bytes += narrow;
    };
    const std::uint64_t none = 0;
    append(none, referenceSize);
    append(static_cast<std::int32_t>(m_orphans.size()), sizeof(std::int32_t));
    for (const std::uint64_t index : m_orphans)
        append(index, referenceSize);
    append(none, sizeof(std::int32_t)); // attributes
    appendText(text);
    append(none, referenceSize); // parent
    bytes += NNode::kActiveFlag;
    append(static_cast<std::int32_t>(text.size()), sizeof(std::int32_t));
    for (const char character : text)
        append(static_cast<WChar>(character), sizeof(WChar));
    append(none, sizeof(std::int32_t)); // annotations
    const std::string payload = std::move(bytes);
    bytes.clear();
    appendText(IndexText(freeIndex));
    appendText(FreeLabel());
    appendText("class BNode");
    append(NNode::kPayloadVersion, sizeof(std::int32_t));
    append(std::uint64_t{payload.size()}, m_header.formatVersion >= 8 ? 8 : 4);
    out.Write(bytes);
    out.Write(payload);
}

} // namespace

EOutcome RecoverArchive(BlockReader& file, const platform::WideText& newPath,
                        std::ostream& messages, Progress& progress)
{
    ArchiveRecovery recovery(file, messages, progress);
    const platform::WideText partPath = newPath + QD_W(".part");
    NewFile part(partPath, NewFile::ESync::No);
    if (!recovery.CopyWholeRecords(part))
        return EOutcome::NothingThere;
    if (!part.Close())
        return EOutcome::Unwritten;
    BlockReader copied(platform::OpenStream(partPath.c_str(), QD_W("rb")));
    NewFile out(newPath);
    if (!copied.IsGood() || !recovery.Mend(copied, out) || !out.Close())
        return EOutcome::Unwritten;
    copied.Close(); // before the part is removed
    out.Keep();
    return EOutcome::Whole;
}
