#pragma once

#include "core/archive/BArchive.h"
#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/tree/BAttribute.h"
#include "core/tree/BNode.h"

// The document of a small measurement application: scans of a part, features that were fitted to
// them, and the history of revisions. All of it hangs in one tree of nodes.

/// What a sensor was calibrated to; many scans share one calibration.
class Calibration : public BSmartObj {
public:
    Calibration() = default;
    Calibration(WString sensor, double scaleX, double scaleY, double scaleZ);

    void WriteData(BArchive& archive) const override;
    WString Properties() override;
    std::uint64_t AllocatedMemory() const override { return sizeof *this; }
    static SP<BSmartObj> Read(BArchive& archive, int version);

private:
    WString m_sensor;
    double m_scale[3] = {1, 1, 1}; // millimetres a step
};

/// One scan: how many points it has and how far they lie from the nominal surface.
class Scan : public BSmartObj {
public:
    Scan() = default;
    Scan(std::int64_t pointCount, double deviation, SP<Calibration> calibration);

    void WriteData(BArchive& archive) const override;
    void UpdateAssociations(BArchive& archive) override;
    WString Properties() override;
    std::uint64_t AllocatedMemory() const override { return sizeof *this; }
    static SP<BSmartObj> Read(BArchive& archive, int version);

    [[nodiscard]] Calibration* GetCalibration() const { return m_calibration.Get(); }

private:
    std::int64_t m_pointCount = 0;
    double m_deviation = 0; // millimetres
    SP<Calibration> m_calibration;
    void* m_calibrationIndex = nullptr; // between `Read` and `UpdateAssociations`
};

/// A permitted deviation of a feature.
class Tolerance : public BAttribute {
public:
    Tolerance() = default;
    Tolerance(WString name, double millimetres);

    WString Name() const override { return m_name; }
    void WriteData(BArchive& archive) const override;
    WString Properties() override;
    static SP<BSmartObj> Read(BArchive& archive, int version);

private:
    WString m_name;
    double m_millimetres = 0;
};

/// Somebody's remark on a feature.
class Remark : public BSmartObj {
public:
    Remark() = default;
    explicit Remark(WString text);

    void WriteData(BArchive& archive) const override;
    WString Properties() override;
    static SP<BSmartObj> Read(BArchive& archive, int version);

private:
    WString m_text;
};

/// Registers the classes above, so that archives can rebuild them.
void RegisterDocumentClasses();

/// A document with a wide branch of scans and a deep one of revisions; the same each time.
SP<BNode> MakeDocument();

/// Empty when the trees are the same: texts, flags, attributes, annotations, objects, and which of
/// these are shared. Otherwise where they differ.
WString FirstDifference(BNode& a, BNode& b);

/// Both answer whether the file could be written or read as a whole.
bool SaveDocument(const WString& path, BNode& root);
SP<BNode> LoadDocument(const WString& path);
