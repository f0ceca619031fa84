// The code of docs/documents.md.

#include "core/archive/BArchive.h"
#include "core/base/BArray.h"
#include "core/base/BProblem.h"
#include "core/base/ClassRegistry.h"
#include "core/tree/BNode.h"
#include "support/SaveArchive.h"

#include "examples/guides/Guides.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>

/// The tip of a probe; several probes may share one.
class ProbeTip : public BSmartObj {
public:
    explicit ProbeTip(double diameter = 0)
        : m_diameter(diameter)
    {}

    [[nodiscard]] double Diameter() const noexcept { return m_diameter; }

    void WriteData(BArchive& archive) const override { archive << m_diameter; }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<ProbeTip> tip(new ProbeTip);
        archive >> tip->m_diameter;
        return tip;
    }

private:
    double m_diameter; // millimetres
};

/// A probe with a name, its tip and the offsets that were measured with it.
class Probe : public BSmartObj {
public:
    Probe() = default;
    Probe(const WString& name, SP<ProbeTip> tip)
        : m_name(name)
        , m_tip(tip)
    {}

    [[nodiscard]] ProbeTip* Tip() const noexcept { return m_tip.Get(); }
    [[nodiscard]] BArray<double>& Offsets() noexcept { return m_offsets; }

    int Version() const override { return 2; } // 2: with offsets
    void WriteData(BArchive& archive) const override;
    static SP<BSmartObj> Read(BArchive& archive, int version);
    void UpdateAssociations(BArchive& archive) override;
    bool VerifyObj() override { return static_cast<bool>(m_tip); }

private:
    void ReadOffsets(BArchive& archive);

    WString m_name;
    SP<ProbeTip> m_tip;
    void* m_tipIndex = nullptr; // between `Read` and `UpdateAssociations`
    BArray<double> m_offsets;
};

void Probe::WriteData(BArchive& archive) const
{
    archive << m_name << m_tip.Get(); // the tip's index; the tip gets a record of its own
    archive << static_cast<int>(m_offsets.Count());
    for (const double offset : m_offsets)
        archive << offset;
}

SP<BSmartObj> Probe::Read(BArchive& archive, int version)
{
    SP<Probe> probe(new Probe);
    archive >> probe->m_name >> probe->m_tipIndex;
    archive.TakeOutLater(reinterpret_cast<std::uintptr_t>(probe->m_tipIndex));
    if (version >= 2)
        probe->ReadOffsets(archive);
    return probe;
}

void Probe::ReadOffsets(BArchive& archive)
{
    int count = 0;
    archive >> count;
    if (count < 0 || static_cast<std::uint64_t>(count) > archive.BytesLeft() / sizeof(double))
        throw ArchiveFormatFault;
    for (int i = 0; i < count; ++i) {
        double offset = 0;
        archive >> offset;
        m_offsets.Append(offset);
    }
}

void Probe::UpdateAssociations(BArchive& archive)
{
    const SP<BSmartObj> tip = archive.QueryObject(m_tipIndex);
    m_tip = dynamic_cast<ProbeTip*>(tip.Get());
}

/// A plane of a part, in the part's tree.
class PlaneNode : public BNode {
public:
    int Version() const override { return 2; } // 2: with the number of points
    void WriteData(BArchive& archive) const override
    {
        BNode::WriteData(archive);
        archive << m_flatness << m_pointCount;
    }
    static SP<BSmartObj> Read(BArchive& archive, int version)
    {
        const SP<PlaneNode> plane(new PlaneNode);
        plane->ReadData(archive);
        archive >> plane->m_flatness;
        if (version >= 2)
            archive >> plane->m_pointCount;
        return plane;
    }

    double m_flatness = 0; // millimetres
    int m_pointCount = 0;  // 0 from files before version 2
};

void RegisterProbeClasses()
{
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(Probe)), &Probe::Read);
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(ProbeTip)), &ProbeTip::Read);
}

bool SaveProbe(const WString& path, const SP<Probe>& probe)
{
    return SaveArchive(path, "class ProbeDocument", 1,
                       [&](BArchive& archive) { archive.Insert(probe.Get(), "probe"); });
}

SP<Probe> LoadProbe(const WString& path)
{
    BArchive archive(path, BArchive::ModeRead, "class ProbeDocument", 1);
    const SP<BSmartObj> object = archive.TakeOut("probe");
    return SP<Probe>(dynamic_cast<Probe*>(object.Get())); // null: no such file, or damaged
}

SP<Probe> OpenProbe(const WString& path)
{
    BArchive archive(path, BArchive::ModeRead, "class ProbeDocument", 1);
    const SP<BSmartObj> object = archive.TakeOut("probe");
    if (BProblem problem = archive.Problem()) { // also where only a part is missing
        problem.path.Clear();                   // the user has just chosen it
        std::printf("The probe did not load: %s.\n", problem.Text().AsUtf8().c_str());
        if (problem.code == EProblem::NewerFormat)
            std::puts("Please update the program.");
    }
    return SP<Probe>(dynamic_cast<Probe*>(object.Get()));
}

static void ShowProbe(const WString& path)
{
    RegisterProbeClasses();
    const SP<Probe> probe(new Probe(QD_W("P1"), new ProbeTip(3.5)));
    probe->Offsets().Append(0.25);
    if (!SaveProbe(path, probe))
        return;
    if (const SP<Probe> loaded = LoadProbe(path))
        std::printf("A probe with a tip of %g mm and the offset %g mm came back.\n",
                    loaded->Tip()->Diameter(), loaded->Offsets()[0]);
}

static void ShowPlane(const WString& path)
{
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(PlaneNode)), &PlaneNode::Read);
    const SP<PlaneNode> plane(new PlaneNode);
    plane->m_flatness = 0.25;
    plane->m_pointCount = 9;
    plane->AddChild(new BNode, -1);
    const auto insert = [&](BArchive& archive) { archive.Insert(plane.Get(), "plane"); };
    if (!SaveArchive(path, "class Part", 1, insert))
        return;
    BArchive archive(path, BArchive::ModeRead, "class Part", 1);
    const SP<BSmartObj> object = archive.TakeOut("plane");
    if (const auto* loaded = dynamic_cast<PlaneNode*>(object.Get()))
        std::printf("A plane of %d points, flat to %g mm, came back with %d child.\n",
                    loaded->m_pointCount, loaded->m_flatness, loaded->ChildNum());
}

// Of another document, and of one that lost its end.
static void ShowProblems(const WString& folder)
{
    OpenProbe(folder + QD_W("plane.qda"));
    const WString path = folder + QD_W("probe.qda");
    std::filesystem::resize_file(path.CStr(), 100);
    OpenProbe(path);
}

void ShowDocuments(const WString& folder)
{
    ShowProbe(folder + QD_W("probe.qda"));
    ShowPlane(folder + QD_W("plane.qda"));
    ShowProblems(folder);
}
