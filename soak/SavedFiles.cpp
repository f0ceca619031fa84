#include "soak/SavedFiles.h"

#include "core/archive/BArchive.h"
#include "core/base/BProblem.h"
#include "core/base/ErrorCodes.h"
#include "core/diag/BProfiler.h"
#include "core/language/BLanguageMap.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"
#include "core/tree/BNode.h"
#include "support/SaveArchive.h"

#include "soak/OtherProcess.h"
#include "soak/SoakFolder.h"

#include <fstream>
#include <iterator>
#include <string>

namespace fs = std::filesystem;

namespace {

int Value(int worker, int number)
{
    return worker * kNumbers + number;
}

/// The one value of all pieces of a file; none when they differ.
class OneValue {
public:
    void Add(int value)
    {
        ++m_count;
        m_isOne = m_isOne && (m_count == 1 || value == m_value);
        m_value = value;
    }
    [[nodiscard]] std::optional<int> Get() const
    {
        return m_isOne && m_count == kPieces ? std::optional(m_value) : std::nullopt;
    }

private:
    int m_value = 0, m_count = 0;
    bool m_isOne = true;
};

const WString kSection(QD_W("Section")), kKey(QD_W("Key")), kExtra(QD_W("Extra")),
    kKept(QD_W("Kept"));

WString WorkerKey(int worker)
{
    return kKey + WString::FromInt(worker);
}

// So long that a document has several blocks of a disk.
WString PieceText(int value)
{
    WString padding;
    padding.Fill(100, QD_W('x'));
    return WString::FromInt(value) + padding;
}

BProblem g_refusal;

/// `isSaved`; where it is false, `problem` is kept.
bool Told(bool isSaved, const BProblem& problem)
{
    if (!isSaved)
        g_refusal = problem;
    return isSaved;
}

bool SaveDocument(const fs::path& folder, int worker, int number)
{
    const auto insert = [&](BArchive& archive) { InsertPieces(archive, Value(worker, number)); };
    BProblem problem;
    const bool isSaved =
        SaveArchive(Wide(folder / "document.qda"), "class Document", 1, insert, &problem);
    return Told(isSaved, problem);
}

std::optional<int> ReadDocument(const fs::path& folder, int, int)
{
    BArchive archive(Wide(folder / "document.qda"), BArchive::ModeRead, "class Document", 1);
    OneValue value;
    for (int i = 0; i < kPieces; ++i) {
        const SP<BSmartObj> object = archive.TakeOut(BString::FromInt(i));
        const auto* const node = dynamic_cast<BNode*>(object.Get());
        const int number = node != nullptr ? node->GetText().AtoI() : -1;
        value.Add(number >= 0 && node->GetText() == PieceText(number) ? number : -1);
    }
    return value.Get();
}

bool SaveBinary(const fs::path& folder, int worker, int number)
{
    BBinProfile profile(Wide(folder / "settings.bin"), ProfileNew);
    for (int i = 0; i < kPieces; ++i)
        profile.WriteInt(i, kKey, Value(worker, number));
    const bool isSaved = profile.Save();
    return Told(isSaved, profile.Problem());
}

std::optional<int> ReadBinary(const fs::path& folder, int, int)
{
    BBinProfile profile(Wide(folder / "settings.bin"), ProfileReadOnly);
    OneValue value;
    for (int i = 0; i < kPieces; ++i)
        value.Add(profile.ReadInt(i, kKey, -1));
    return value.Get();
}

// A key that comes and goes at the end, as that is written in other ways, within a page of memory
// and across.
WString ExtraKey(int worker)
{
    WString padding;
    padding.Fill(800, QD_W('x'));
    return kExtra + WString::FromInt(worker) + padding;
}

// Beside it a section that nobody changes any more.
bool SaveText(const fs::path& folder, int worker, int number)
{
    BProfile profile(Wide(folder / "settings.ini"), ProfileReadWrite);
    if (!profile.ExistsSection(kKept)) {
        profile.SetSection(kKept);
        for (int i = 0; i < kPieces; ++i)
            profile.WriteInt(i, kKey, i);
    }
    profile.SetSection(kSection);
    const WString extra = ExtraKey(worker);
    if (number % 4 == 0)
        profile.DeleteKey(extra);
    const bool isSaved = (number % 4 != 1 || profile.WriteInt(extra, number)) &&
                         profile.WriteInt(WorkerKey(worker), Value(worker, number));
    return Told(isSaved, profile.Problem());
}

std::optional<int> ReadText(const fs::path& folder, int worker, int)
{
    BProfile profile(Wide(folder / "settings.ini"), ProfileReadOnly);
    profile.SetSection(kKept);
    for (int i = 0; i < kPieces; ++i) {
        if (profile.ReadInt(i, kKey, -1) != i)
            return std::nullopt;
    }
    profile.SetSection(kSection);
    if (profile.ReadInt(ExtraKey(worker), 1) % 4 != 1)
        return std::nullopt;
    return profile.ReadInt(WorkerKey(worker), -1);
}

bool SaveIni(const fs::path& folder, int worker, int number)
{
    const BIniProfile profile(Wide(folder / "probe.ini"), kSection, true);
    const bool isSaved = profile.WriteInt(WorkerKey(worker), Value(worker, number));
    return Told(isSaved, profile.Problem());
}

std::optional<int> ReadIni(const fs::path& folder, int worker, int)
{
    return BIniProfile(Wide(folder / "probe.ini"), kSection, false).GetInt(WorkerKey(worker), -1);
}

const WString kTexts(QD_W("texts.lng"));

// Each exports a master of its own, and merges it into the one translation.
bool SaveLanguage(const fs::path& folder, int worker, int number)
{
    const fs::path master = folder / ("master" + std::to_string(worker));
    const WString merged = Wide(folder / "merged");
    fs::create_directory(master);
    BProblem problem;
    if (fs::create_directory(folder / "merged") &&
        BLanguageMap().ExportMapFile(Wide(folder / "merged/texts.lng"), problem) != kErrorNone)
        return Told(false, problem);
    BLanguageMap map;
    const WString text = WString::FromInt(Value(worker, number));
    for (int i = 0; i < kPieces; ++i)
        map.Add(WString(QD_W("$ID_")) + WString::FromInt(i), text, text, true, false);
    int newEntries = 0;
    const bool isSaved = map.ExportMapFile(Wide(master / "texts.lng"), problem) == kErrorNone &&
                         BLanguageMap::MergeMapFile(Wide(master), merged, merged, kTexts,
                                                    newEntries, problem) == kErrorNone;
    return Told(isSaved, problem);
}

std::optional<int> ReadLanguage(const fs::path& folder, int, int)
{
    BLanguageMap map;
    if (map.ImportMapFile(Wide(folder / "merged/texts.lng"), nullptr, true, true) != kErrorNone)
        return std::nullopt;
    OneValue value;
    for (int i = 0; i < kPieces; ++i) {
        WString text;
        value.Add(map.Find(WString(QD_W("$ID_")) + WString::FromInt(i), text, false) ? text.AtoI()
                                                                                     : -1);
    }
    return value.Get();
}

const WString kRegistryKey(QD_W("Software\\Test"));

bool SaveRegistry(const fs::path& folder, int worker, int number)
{
    KeepRegistryIn(folder);
    BConfigRegistry config(kRegistryKey);
    const bool isSaved = config.WriteInt(WorkerKey(worker), Value(worker, number)) == kErrorNone;
    return Told(isSaved, BProblem::OfSystem());
}

std::optional<int> ReadRegistry(const fs::path& folder, int worker, int)
{
    KeepRegistryIn(folder);
    int value = -1;
    return BConfigRegistry(kRegistryKey).ReadInt(WorkerKey(worker), value) == kErrorNone
               ? std::optional(value)
               : std::nullopt;
}

bool SaveLog(const fs::path& folder, int worker, int number)
{
    BProfiler::SetLogfilePath(Wide(folder / ""));
    BProfiler::Start(WString(QD_W("run ")) + WString::FromInt(Value(worker, number)));
    BProfiler::Step(QD_W("step"));
    BProfiler::Stop(WString());
    const BProblem problem = BProfiler::Problem();
    return Told(!problem, problem);
}

/// The last number of which all since `floor` stand in the log, which is then taken away. The run
/// that was being written may be torn.
std::optional<int> ReadLog(const fs::path& folder, int worker, int floor)
{
    int number = floor;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        file.close();
        const auto has = [&](int next) {
            const std::u16string line = u"\tStart\trun " +
                                        fs::path(std::to_string(Value(worker, next))).u16string() +
                                        u"\r\n";
            return bytes.find(std::string(reinterpret_cast<const char*>(line.data()),
                                          line.size() * sizeof line[0])) != bytes.npos;
        };
        while (has(number + 1))
            ++number;
        if (worker == kWorkers - 1)
            fs::remove(entry.path());
    }
    return Value(worker, number);
}

const SavedFile kFiles[] = {
    {"archive", true, SaveDocument, ReadDocument},
    {"binary profile", true, SaveBinary, ReadBinary},
    {"text profile", false, SaveText, ReadText, true},
    {"INI file", false, SaveIni, ReadIni, true},
    {"language file", true, SaveLanguage, ReadLanguage},
    {"registry", false, SaveRegistry, ReadRegistry},
    {"profiler log", false, SaveLog, ReadLog},
};

} // namespace

std::span<const SavedFile> SavedFiles()
{
    return kFiles;
}

std::string LastRefusal()
{
    return g_refusal.Text().AsUtf8();
}

void InsertPieces(BArchive& archive, int value)
{
    for (int i = 0; i < kPieces; ++i) {
        const SP<BNode> node(new BNode);
        node->SetText(PieceText(value));
        archive.Insert(node.Get(), BString::FromInt(i));
    }
}
