#include "examples/Document.h"

#include "core/base/ClassRegistry.h"
#include "core/tree/BNodeItr.h"
#include "support/SaveArchive.h"

#include "examples/View.h"

#include <unordered_map>

// The document of the demonstration. It has what makes documents hard to save: objects that several
// nodes share, a chain of revisions thousands of nodes deep, references between objects, and texts
// beyond ASCII. Its classes show what an object does to be in a document: it writes its fields in
// `WriteData`, a registered function reads them in that order, and another object that it refers to
// is put in place when all are read.

namespace {

constexpr const char* kDocumentClass = "class MeasurementDocument";
constexpr int kDocumentVersion = 1;
constexpr const char* kRootLabel = "root";

constexpr int kScans = 2'000;
constexpr int kScansPerCalibration = 50;
constexpr int kRevisions = 5'000;

// Under the name that stands in the file, by which an archive finds what reads the object.
template <typename T>
void Register()
{
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(T)), &T::Read);
}

SP<BNode> AddNode(BNode& parent, const WString& text)
{
    SP<BNode> node(new BNode);
    node->SetText(text);
    parent.AddChild(node.Get(), -1);
    return node;
}

void AddScans(BNode& branch)
{
    SP<Calibration> calibration;
    WString text;
    for (int i = 0; i < kScans; ++i) {
        if (i % kScansPerCalibration == 0) {
            text.Printf(QD_W("Sensor %d"), i / kScansPerCalibration);
            calibration = new Calibration(text, 1.0, 1.0 + i * 1e-6, 0.5);
        }
        text.Printf(QD_W("Scan%04d"), i + 1);
        const SP<BNode> node = AddNode(branch, text);
        node->SetObj(new Scan(1000 + 7 * i, 0.01 * (i % 97), calibration));
        if (i % 11 == 0)
            node->Deactivate();
    }
}

void AddFeatures(BNode& branch, BNode& scans)
{
    for (const WChar* kind : {QD_W("Plane"), QD_W("Plane"), QD_W("Cylinder"), QD_W("Sphere")}) {
        const SP<BNode> feature = AddNode(branch, branch.ChildTextSuggestion(kind));
        feature->AddAttrib(new Tolerance(QD_W("$IDS_Form"), 0.05));
        feature->AddAttrib(new Tolerance(QD_W("$IDS_Position"), 0.1 * branch.ChildNum()));
        feature->SetObj(scans.Child(branch.ChildNum())->GetObj()); // shared with the scan's node
        feature->AddAnnotation(new Remark(QD_W("Ma\u00DF \u00FCberpr\u00FCft, \u00B15 \u00B5m")));
    }
    branch.Child(0)->Lock(true);
}

// Each below the one before: walking, saving and deleting must not take stack for each level.
void AddRevisions(BNode& branch)
{
    SP<BNode> revision(&branch);
    WString text;
    for (int i = 0; i < kRevisions; ++i) {
        text.Printf(QD_W("$IDS_Revision %d"), i + 1);
        revision = AddNode(*revision, text);
    }
}

// Numbers objects in order of first sight, so that sharing can be compared between two trees.
class Sightings {
public:
    std::size_t Number(const BSmartObj* object)
    {
        return object == nullptr
                   ? 0
                   : m_numbers.try_emplace(object, m_numbers.size() + 1).first->second;
    }

private:
    std::unordered_map<const BSmartObj*, std::size_t> m_numbers;
};

// A node and what it has, as one line.
WString Described(BNode& node, Sightings& sightings)
{
    // Without addresses, so that two trees with the same content and sharing give the same lines.
    WString line;
    line.Printf(QD_W("%s, %d children, active %d, locked %d"), node.GetText().CStr(),
                node.ChildNum(), node.IsActive() ? 1 : 0, node.IsLocked() ? 1 : 0);
    const auto add = [&](BSmartObj* object) {
        WString part;
        part.Printf(QD_W("; #%d %s"), static_cast<int>(sightings.Number(object)),
                    object == nullptr ? QD_W("") : object->Properties().CStr());
        line += part;
    };
    add(node.GetObj());
    if (auto* scan = dynamic_cast<Scan*>(node.GetObj()))
        add(scan->GetCalibration());
    for (BNodeAttribItr itr(node); itr; ++itr)
        add(itr.Current());
    for (BNodeAnnotationItr itr(node); itr; ++itr)
        add(itr.Current());
    return line;
}

} // namespace

Calibration::Calibration(WString sensor, double scaleX, double scaleY, double scaleZ)
    : m_sensor(sensor)
    , m_scale{scaleX, scaleY, scaleZ}
{}

void Calibration::WriteData(BArchive& archive) const
{
    archive << m_sensor << m_scale[0] << m_scale[1] << m_scale[2];
}

WString Calibration::Properties()
{
    WString text;
    text.Printf(QD_W("$IDS_CalibratedBy %s: %g %g %g"), m_sensor.CStr(), m_scale[0], m_scale[1],
                m_scale[2]);
    return text;
}

SP<BSmartObj> Calibration::Read(BArchive& archive, int)
{
    SP<Calibration> calibration(new Calibration);
    archive >> calibration->m_sensor;
    for (double& scale : calibration->m_scale)
        archive >> scale;
    return calibration;
}

Scan::Scan(std::int64_t pointCount, double deviation, SP<Calibration> calibration)
    : m_pointCount(pointCount)
    , m_deviation(deviation)
    , m_calibration(calibration)
{}

void Scan::WriteData(BArchive& archive) const
{
    // The calibration is written by its index, and once, however many scans share it.
    archive << m_pointCount << m_deviation << m_calibration.Get();
}

void Scan::UpdateAssociations(BArchive& archive)
{
    const SP<BSmartObj> object = archive.QueryObject(m_calibrationIndex);
    // Null where a damaged document has something else there.
    m_calibration = dynamic_cast<Calibration*>(object.Get());
}

WString Scan::Properties()
{
    WString text;
    text.Printf(QD_W("%I64d $IDS_Points, $IDS_Deviation "), m_pointCount);
    return text + LengthText(m_deviation);
}

SP<BSmartObj> Scan::Read(BArchive& archive, int)
{
    SP<Scan> scan(new Scan);
    archive >> scan->m_pointCount >> scan->m_deviation >> scan->m_calibrationIndex;
    // Now it may not be there yet; `UpdateAssociations` puts the object in place of the index.
    archive.TakeOutLater(reinterpret_cast<std::uintptr_t>(scan->m_calibrationIndex));
    return scan;
}

Tolerance::Tolerance(WString name, double millimetres)
    : m_name(name)
    , m_millimetres(millimetres)
{}

void Tolerance::WriteData(BArchive& archive) const
{
    archive << m_name << m_millimetres;
}

WString Tolerance::Properties()
{
    return m_name + QD_W(" $IDS_Within ") + LengthText(m_millimetres);
}

SP<BSmartObj> Tolerance::Read(BArchive& archive, int)
{
    SP<Tolerance> tolerance(new Tolerance);
    archive >> tolerance->m_name >> tolerance->m_millimetres;
    return tolerance;
}

Remark::Remark(WString text)
    : m_text(text)
{}

void Remark::WriteData(BArchive& archive) const
{
    archive << m_text;
}

WString Remark::Properties()
{
    return m_text;
}

SP<BSmartObj> Remark::Read(BArchive& archive, int)
{
    SP<Remark> remark(new Remark);
    archive >> remark->m_text;
    return remark;
}

void RegisterDocumentClasses()
{
    Register<Calibration>();
    Register<Scan>();
    Register<Tolerance>();
    Register<Remark>();
}

SP<BNode> MakeDocument()
{
    SP<BNode> root(new BNode);
    root->SetText(QD_W("Turbine blade"));
    const SP<BNode> scans = AddNode(*root, QD_W("$IDS_Scans"));
    AddScans(*scans);
    AddFeatures(*AddNode(*root, QD_W("$IDS_Features")), *scans);
    AddRevisions(*AddNode(*root, QD_W("$IDS_History")));
    return root;
}

WString FirstDifference(BNode& a, BNode& b)
{
    Sightings seenInA;
    Sightings seenInB;
    BNodeItr itrA(&a, BNodeItr::All);
    BNodeItr itrB(&b, BNodeItr::All);
    for (; itrA && itrB; ++itrA, ++itrB) {
        const WString lineA = Described(*itrA.Current(), seenInA);
        const WString lineB = Described(*itrB.Current(), seenInB);
        if (lineA != lineB)
            return lineA + QD_W("  <>  ") + lineB;
    }
    // One tree may be the beginning of the other.
    return itrA.IsValid() == itrB.IsValid() ? WString() : WString(QD_W("one tree has more nodes"));
}

bool SaveDocument(const WString& path, BNode& root)
{
    return SaveArchive(path, kDocumentClass, kDocumentVersion,
                       [&](BArchive& archive) { archive.Insert(&root, kRootLabel); });
}

SP<BNode> LoadDocument(const WString& path)
{
    BArchive archive(path, BArchive::ModeRead, kDocumentClass, kDocumentVersion);
    const SP<BSmartObj> root = archive.TakeOut(kRootLabel);
    return SP<BNode>(dynamic_cast<BNode*>(root.Get()));
}
