#include "tools/qdinspect/ArchiveDiff.h"

#include "core/base/BlockReader.h"

#include "tools/qdinspect/ArchiveFile.h"
#include "tools/qdinspect/ArchiveTree.h"
#include "tools/qdinspect/Progress.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

// Two archives, compared along their trees.
//
// Indices and places mean nothing from one file to the other, so a node is found again by its path:
// by its text below the node that was found before, the second sister of a text by its being the
// second. Roots go by their labels where they have some. Nothing but the children's texts of the
// nodes above is in memory; payloads are compared piece by piece. An object's payload may hold
// indices of others, which only its class knows, and then differs when those do.

namespace {

using platform::WideText;
using platform::WideView;

constexpr std::uint32_t kNone = ArchiveFile::kNone;

class ClassCounts : public EntrySink {
public:
    void Property(const char*, const Json&) override {}
    [[nodiscard]] bool WantsEntry() override { return false; }
    void Entry(const Json&, std::uint64_t) override {}
    void ClassOfRecords(const std::string& name, int version, std::uint64_t records,
                        std::uint64_t) override
    {
        counts[{name, version}] = records;
    }

    std::map<std::pair<std::string, int>, std::uint64_t> counts; // records by name and version
};

struct Side {
    explicit Side(BlockReader& reader)
        : file(reader)
    {}

    [[nodiscard]] bool Survey();
    [[nodiscard]] NodeFields Node(const RecordHead& head)
    {
        return archive->Node(head).value_or(NodeFields());
    }
    // Of a node: 0 is no object, and neither is an index without a record.
    [[nodiscard]] std::uint32_t Find(std::uint64_t index)
    {
        return index == 0 ? kNone : archive->Find(index);
    }

    BlockReader& file;
    FileHeader header;
    std::optional<ArchiveFile> archive;
    RecordUses uses;
    std::vector<bool> isPassed; // nodes
    ClassCounts classes;
};

bool Side::Survey()
{
    std::ostream silent(nullptr);
    Report report(silent, silent, silent, true);
    report.ExportTo(classes);
    if (!InspectHeader(file, header, report))
        return false;
    archive.emplace(file, header.formatVersion);
    uses = SurveyRecords(*archive, report);
    isPassed.resize(uses.isNode.size());
    return file.IsGood();
}

// What is compared of a record, and what it is found again by.
struct Item {
    std::uint32_t number = kNone;
    WideText key;
    std::size_t place = 0;    // in its list
    std::uint64_t sister = 1; // among those of one key
};

Item ItemOf(std::uint32_t number, WideText key)
{
    Item item;
    item.number = number;
    item.key = std::move(key);
    return item;
}

struct ItemPair {
    Item before; // `kNone` where it is new
    Item now;    // `kNone` where it is gone
};

std::vector<ItemPair> Paired(std::vector<Item> before, std::vector<Item> now)
{
    std::unordered_map<WideText, std::vector<std::size_t>> places; // in `now`
    for (std::size_t i = 0; i < now.size(); ++i) {
        std::vector<std::size_t>& sisters = places[now[i].key];
        sisters.push_back(i);
        now[i].place = i;
        now[i].sister = sisters.size();
    }
    std::unordered_map<WideText, std::size_t> seen;
    std::vector<ItemPair> pairs;
    for (Item& item : before) {
        item.sister = ++seen[item.key];
        const auto found = places.find(item.key);
        Item other;
        if (found != places.end() && item.sister <= found->second.size())
            std::swap(other, now[found->second[item.sister - 1]]);
        pairs.push_back({std::move(item), std::move(other)});
    }
    for (Item& item : now) {
        if (item.number != kNone)
            pairs.push_back({{}, std::move(item)});
    }
    return pairs;
}

// Of those that are in both lists.
bool IsReordered(const std::vector<ItemPair>& pairs)
{
    std::size_t last = 0;
    for (const ItemPair& pair : pairs) {
        if (pair.before.number == kNone || pair.now.number == kNone)
            continue;
        if (pair.now.place < last)
            return true;
        last = pair.now.place;
    }
    return false;
}

class ArchiveComparison {
public:
    ArchiveComparison(Side& before, Side& now, std::ostream& out, Progress& progress)
        : m_before(before)
        , m_now(now)
        , m_out(out)
        , m_progress(progress)
        , m_nodes(static_cast<std::uint64_t>(std::ranges::count(before.uses.isNode, true)))
    {}

    [[nodiscard]] bool Tell();

private:
    struct Level {
        std::string name; // of the node above
        std::vector<ItemPair> pairs;
        std::size_t next = 0;
    };

    void TellHeaders();
    void TellClasses();
    void TellLoose();
    void TellTrees();
    [[nodiscard]] Level TellPair(const ItemPair& pair);
    void TellNodes(const RecordHead& headBefore, const NodeFields& before,
                   const RecordHead& headNow, const NodeFields& now);
    void TellHeld(const char* role, const std::vector<std::uint64_t>& before,
                  const std::vector<std::uint64_t>& now);
    void TellObjects(const std::string& role, const ItemPair& pair);
    void TellAspect(const std::string& before, const std::string& now);
    void TellLine(char sign, const std::string& what);

    [[nodiscard]] std::vector<Item> Roots(Side& side) const;
    [[nodiscard]] std::vector<Item> Children(Side& side, std::uint32_t parent,
                                             const NodeFields& node) const;
    [[nodiscard]] std::vector<Item> Objects(Side& side,
                                            const std::vector<std::uint64_t>& indices) const;
    [[nodiscard]] static std::vector<Item> Loose(Side& side);
    // The first byte that differs behind those positions, from the first on.
    [[nodiscard]] std::optional<std::uint64_t> OtherByte(std::uint64_t before,
                                                         std::uint64_t endBefore, std::uint64_t now,
                                                         std::uint64_t endNow);
    [[nodiscard]] std::optional<std::uint64_t> OtherByteOf(std::uint32_t before,
                                                           const RecordHead& headBefore,
                                                           std::uint32_t now,
                                                           const RecordHead& headNow);

    Side& m_before;
    Side& m_now;
    std::ostream& m_out;
    Progress& m_progress;
    std::uint64_t m_nodes; // of the first file
    std::uint64_t m_passedNodes = 0;
    std::vector<Level> m_levels;
    // Of objects that nodes share, so that each pair is read once.
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::optional<std::uint64_t>> m_otherBytes;
    bool m_differs = false;
};

std::string VersionText(const std::string& name, int version)
{
    return Quoted(name) + " version " + std::to_string(version);
}

std::string NameOf(const Item& item)
{
    const std::string text = Quoted(WideView(item.key));
    return item.sister == 1 ? text : text + '#' + std::to_string(item.sister);
}

std::string LabelText(const RecordHead& head)
{
    return head.label.empty() ? "no label" : "label " + Quoted(head.label);
}

std::string Flags(const NodeFields& node)
{
    return std::string(node.isActive ? "active" : "inactive") +
           (node.isLocked ? ", locked" : ", not locked");
}

// Goes by what the file holds, not by what a text shows of it.
WideText Wide(std::string_view bytes)
{
    WideText wide;
    for (const char byte : bytes)
        wide += static_cast<WChar>(static_cast<unsigned char>(byte));
    return wide;
}

bool ArchiveComparison::Tell()
{
    TellHeaders();
    TellClasses();
    TellTrees();
    TellLoose();
    return m_differs;
}

// The nodes above the one at hand, few of them where there are many.
void ArchiveComparison::TellLine(char sign, const std::string& what)
{
    constexpr std::size_t most = 16;
    m_differs = true;
    m_progress.HideForOutput();
    m_out << sign << ' ';
    for (std::size_t i = 1; i < m_levels.size(); ++i) {
        if (i > 1)
            m_out << '/';
        if (i == 2 && m_levels.size() > most) {
            m_out << "..." << m_levels.size() - most << " more.../";
            i = m_levels.size() - most + 2;
        }
        m_out << m_levels[i].name;
    }
    m_out << (m_levels.size() > 1 && !what.empty() ? ": " : "") << what << '\n';
}

void ArchiveComparison::TellAspect(const std::string& before, const std::string& now)
{
    if (before == now)
        return;
    TellLine('-', before);
    TellLine('+', now);
}

void ArchiveComparison::TellHeaders()
{
    const auto line = [](const char* what, const std::string& name, int version) {
        return what + VersionText(name, version);
    };
    const FileHeader& before = m_before.header;
    const FileHeader& now = m_now.header;
    const std::pair<std::string, std::string> lines[] = {
        {line("document ", before.documentClass, before.documentVersion),
         line("document ", now.documentClass, now.documentVersion)},
        {line("written by ", before.archiveClass, before.formatVersion),
         line("written by ", now.archiveClass, now.formatVersion)}};
    for (const auto& [lineBefore, lineNow] : lines) {
        if (lineBefore != lineNow) {
            TellLine('-', lineBefore);
            TellLine('+', lineNow);
        }
    }
}

void ArchiveComparison::TellClasses()
{
    const auto tell = [&](char sign, const ClassCounts& classes, const ClassCounts& others) {
        for (const auto& [nameAndVersion, records] : classes.counts) {
            const auto other = others.counts.find(nameAndVersion);
            if (other == others.counts.end() || other->second != records)
                TellLine(sign, "class " + VersionText(nameAndVersion.first, nameAndVersion.second) +
                                   ": " + std::to_string(records) + " records");
        }
    };
    tell('-', m_before.classes, m_now.classes);
    tell('+', m_now.classes, m_before.classes);
}

std::vector<Item> ArchiveComparison::Roots(Side& side) const
{
    std::vector<Item> roots;
    for (std::uint32_t i = 0; i < side.uses.isNode.size(); ++i) {
        if (!side.uses.isNode[i] || side.uses.parents[i] != kNone)
            continue;
        const RecordHead head = side.archive->Head(i);
        roots.push_back(ItemOf(i, head.label.empty() ? side.Node(head).text : Wide(head.label)));
    }
    return roots;
}

std::vector<Item> ArchiveComparison::Children(Side& side, std::uint32_t parent,
                                              const NodeFields& node) const
{
    std::vector<Item> children;
    for (const std::uint64_t index : node.lists[NodeFields::Children]) {
        const std::uint32_t number = side.Find(index);
        if (number == kNone || !side.uses.isNode[number] || side.isPassed[number] ||
            side.uses.parents[number] != parent)
            continue;
        side.isPassed[number] = true;
        children.push_back(ItemOf(number, side.Node(side.archive->Head(number)).text));
    }
    return children;
}

// By their class, nodes by their text.
std::vector<Item> ArchiveComparison::Objects(Side& side,
                                             const std::vector<std::uint64_t>& indices) const
{
    std::vector<Item> objects;
    for (const std::uint64_t index : indices) {
        const std::uint32_t number = side.Find(index);
        if (number == kNone)
            continue;
        const RecordHead head = side.archive->Head(number);
        WideText key = Wide(head.className);
        if (side.uses.isNode[number])
            key.append(1, WChar(' ')).append(side.Node(head).text);
        objects.push_back(ItemOf(number, std::move(key)));
    }
    return objects;
}

std::vector<Item> ArchiveComparison::Loose(Side& side)
{
    std::vector<Item> objects;
    for (std::uint32_t i = 0; i < side.uses.isNode.size(); ++i) {
        if (side.uses.isNode[i] || side.uses.references[i] != 0)
            continue;
        const RecordHead head = side.archive->Head(i);
        objects.push_back(ItemOf(i, Wide(head.label.empty() ? head.className : head.label)));
    }
    return objects;
}

void ArchiveComparison::TellLoose()
{
    for (const ItemPair& pair : Paired(Loose(m_before), Loose(m_now)))
        TellObjects("held by no node: ", pair);
}

void ArchiveComparison::TellTrees()
{
    m_levels.push_back({{}, Paired(Roots(m_before), Roots(m_now)), 0});
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        if (level.next == level.pairs.size()) {
            m_levels.pop_back();
            continue;
        }
        const ItemPair pair = std::move(level.pairs[level.next++]);
        if (pair.before.number != kNone)
            m_progress.Show(++m_passedNodes, m_nodes);
        Level below = TellPair(pair);
        if (!below.pairs.empty())
            m_levels.push_back(std::move(below));
    }
}

// What is below a node that came or went is not told.
ArchiveComparison::Level ArchiveComparison::TellPair(const ItemPair& pair)
{
    Level level;
    level.name = NameOf(pair.before.number != kNone ? pair.before : pair.now);
    m_levels.push_back({level.name, {}, 0});
    if (pair.before.number == kNone || pair.now.number == kNone) {
        TellLine(pair.now.number == kNone ? '-' : '+', "");
    } else {
        const RecordHead headBefore = m_before.archive->Head(pair.before.number);
        const RecordHead headNow = m_now.archive->Head(pair.now.number);
        const NodeFields before = m_before.Node(headBefore);
        const NodeFields now = m_now.Node(headNow);
        TellNodes(headBefore, before, headNow, now);
        level.pairs = Paired(Children(m_before, pair.before.number, before),
                             Children(m_now, pair.now.number, now));
        if (IsReordered(level.pairs))
            TellLine('+', "children in another order");
    }
    m_levels.pop_back();
    return level;
}

void ArchiveComparison::TellNodes(const RecordHead& headBefore, const NodeFields& before,
                                  const RecordHead& headNow, const NodeFields& now)
{
    TellAspect("text " + Quoted(WideView(before.text)), "text " + Quoted(WideView(now.text)));
    TellAspect(VersionText(headBefore.className, headBefore.version),
               VersionText(headNow.className, headNow.version));
    TellAspect(LabelText(headBefore), LabelText(headNow));
    TellAspect(Flags(before), Flags(now));
    TellHeld("object ", {before.object}, {now.object});
    TellHeld("attribute ", before.lists[NodeFields::Attributes], now.lists[NodeFields::Attributes]);
    TellHeld("annotation ", before.lists[NodeFields::Annotations],
             now.lists[NodeFields::Annotations]);
    // What a class that is derived from the node's has written behind it.
    const std::uint64_t endBefore = headBefore.payload + headBefore.payloadSize;
    const std::uint64_t endNow = headNow.payload + headNow.payloadSize;
    if (OtherByte(before.end, endBefore, now.end, endNow)) {
        TellLine('-', std::to_string(endBefore - before.end) + " bytes of its class");
        TellLine('+', std::to_string(endNow - now.end) + " bytes of its class, others");
    }
}

void ArchiveComparison::TellHeld(const char* role, const std::vector<std::uint64_t>& before,
                                 const std::vector<std::uint64_t>& now)
{
    for (const ItemPair& pair : Paired(Objects(m_before, before), Objects(m_now, now)))
        TellObjects(role, pair);
}

std::string ObjectText(Side& side, std::uint32_t number, const RecordHead& head)
{
    if (side.uses.isNode[number])
        return "node " + Quoted(WideView(side.Node(head).text));
    return VersionText(head.className, head.version) + ", " + std::to_string(head.payloadSize) +
           " bytes" + (head.label.empty() ? "" : " label " + Quoted(head.label));
}

void ArchiveComparison::TellObjects(const std::string& role, const ItemPair& pair)
{
    const auto [before, now] = std::pair(pair.before.number, pair.now.number);
    const RecordHead headBefore = before == kNone ? RecordHead() : m_before.archive->Head(before);
    const RecordHead headNow = now == kNone ? RecordHead() : m_now.archive->Head(now);
    const std::string textBefore = before == kNone ? "" : ObjectText(m_before, before, headBefore);
    std::string textNow = now == kNone ? "" : ObjectText(m_now, now, headNow);
    const bool isNode = before != kNone && m_before.uses.isNode[before];
    if (!isNode && textBefore == textNow) { // nodes are compared where they stand
        const std::optional<std::uint64_t> byte = OtherByteOf(before, headBefore, now, headNow);
        if (byte)
            textNow += ", others from byte " + std::to_string(*byte) + " on";
    }
    if (textBefore == textNow)
        return;
    if (before != kNone)
        TellLine('-', role + textBefore);
    if (now != kNone)
        TellLine('+', role + textNow);
}

std::optional<std::uint64_t> ArchiveComparison::OtherByte(std::uint64_t before,
                                                          std::uint64_t endBefore,
                                                          std::uint64_t now, std::uint64_t endNow)
{
    constexpr std::uint64_t mostPiece = 1u << 16;
    const std::uint64_t size = std::min(endBefore - before, endNow - now);
    m_before.file.MoveTo(before, m_before.file.Size());
    m_now.file.MoveTo(now, m_now.file.Size());
    for (std::uint64_t done = 0; done < size;) {
        const std::uint64_t piece = std::min(mostPiece, size - done);
        const char* const bytes = m_before.file.Peek(piece);
        const char* const others = m_now.file.Peek(piece);
        if (bytes == nullptr || others == nullptr)
            return done;
        if (std::memcmp(bytes, others, piece) != 0)
            return done + static_cast<std::uint64_t>(
                              std::mismatch(bytes, bytes + piece, others).first - bytes);
        done += piece;
        m_before.file.MoveTo(before + done);
        m_now.file.MoveTo(now + done);
    }
    return endBefore - before == endNow - now ? std::nullopt : std::optional(size);
}

std::optional<std::uint64_t> ArchiveComparison::OtherByteOf(std::uint32_t before,
                                                            const RecordHead& headBefore,
                                                            std::uint32_t now,
                                                            const RecordHead& headNow)
{
    const auto read = [&] {
        return OtherByte(headBefore.payload, headBefore.payload + headBefore.payloadSize,
                         headNow.payload, headNow.payload + headNow.payloadSize);
    };
    if (m_before.uses.references[before] < 2)
        return read();
    const auto [known, isNew] = m_otherBytes.try_emplace({before, now});
    if (isNew)
        known->second = read();
    return known->second;
}

} // namespace

std::optional<bool> TellArchiveDifferences(BlockReader& before, BlockReader& now, std::ostream& out,
                                           Progress& progress)
{
    Side sideBefore(before);
    Side sideNow(now);
    if (!sideBefore.Survey() || !sideNow.Survey())
        return std::nullopt;
    return ArchiveComparison(sideBefore, sideNow, out, progress).Tell();
}
