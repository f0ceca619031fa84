#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/units/BUnit.h"

/// Classes of quantities; each has one unit in which it is shown.
enum EUnitClass : int {
    UnitClassNone = 0, // a mere number; the system never changes its unit
    UnitClassLength = 1,
    UnitClassArea = 2,
    UnitClassVolume = 3,
    UnitClassTemperature = 4,
    UnitClassAngle = 5,
};

/// Settings that `BUnitSystem::ChangeUnit` knows by name.
enum EUnit : int {
    UnitMillimeter = 0, // length, area and volume
    UnitInch = 1,       // length
    UnitThou = 2,       // length, thousandths of an inch
    UnitDegree = 3,     // angle
};

/// The units in which a process shows its quantities, one for each class.
///
/// A new system has "mm" with 3 decimals (also squared and cubed), "°C" with 1 and "°" with 2.
/// Every change of a unit is posted to the dispatcher as `kMessageUnitChanged`, those that the
/// construction makes included; without a dispatcher nothing is posted.
///
/// One thread at a time; only `Instance` and `RegisterInstance` may be called on any threads at
/// once.
class QD_CORE_API BUnitSystem : public BSmartObj {
public:
    BUnitSystem();
    // Copies have the same units, and nothing is posted.
    BUnitSystem(const BUnitSystem& other);
    BUnitSystem(BUnitSystem&& other) noexcept;
    BUnitSystem& operator=(const BUnitSystem& other);
    BUnitSystem& operator=(BUnitSystem&& other) noexcept;
    ~BUnitSystem() override;

    /// The unit of a class, which must be one of the six; good as long as the system.
    [[nodiscard]] const BUnit& Unit(EUnitClass unitClass) const;

    /// Gives a class, which must be one of the six, another unit.
    void ChangeUnit(EUnitClass unitClass, WString symbol, double factor, int precision);
    /// Applies a named setting; nothing happens for a value that names none.
    /// Intended: inch and thou leave area and volume alone, which drawings keep in millimetres.
    void ChangeUnit(EUnit unit);

    /// The process's unit system, never empty: without one a default is made and kept.
    [[nodiscard]] static SP<BUnitSystem> Instance();
    /// Replaces the process's unit system and releases the one before. An empty pointer makes the
    /// next `Instance` start with a fresh default.
    static void RegisterInstance(SP<BUnitSystem> system);

private:
    static constexpr int kClassCount = 6;

    BUnit m_units[kClassCount]; // by EUnitClass
};
