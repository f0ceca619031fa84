#include "core/units/BUnitSystem.h"

#include "core/operation/BDispatcher.h"
#include "core/operation/Messages.h"
#include "core/platform/Thread.h"

#include <cassert>
#include <mutex>
#include <utility>

// The process's system is made when it is first asked for, under a lock and not as a static object:
// its construction posts to the dispatcher, which an application registers after the start.
namespace {

constexpr double kMillimetresPerInch = 25.4;

std::mutex g_lock;
[[maybe_unused]] const bool g_isHeldAtFork = (platform::HoldAtFork<g_lock>(), true);
// Holds one reference; guarded by g_lock. A plain pointer, so that no static object of an
// application finds it destroyed.
constinit BUnitSystem* g_instance = nullptr;

} // namespace

BUnitSystem::BUnitSystem()
{
    ChangeUnit(UnitMillimeter);
    ChangeUnit(UnitClassTemperature, QD_W("\u00B0C"), 1.0, 1);
    ChangeUnit(UnitDegree);
}

BUnitSystem::BUnitSystem(const BUnitSystem& other) = default;
BUnitSystem::BUnitSystem(BUnitSystem&& other) noexcept = default;
BUnitSystem& BUnitSystem::operator=(const BUnitSystem& other) = default;
BUnitSystem& BUnitSystem::operator=(BUnitSystem&& other) noexcept = default;
BUnitSystem::~BUnitSystem() = default;

const BUnit& BUnitSystem::Unit(EUnitClass unitClass) const
{
    assert(unitClass >= 0 && unitClass < kClassCount);
    return m_units[unitClass];
}

void BUnitSystem::ChangeUnit(EUnitClass unitClass, WString symbol, double factor, int precision)
{
    assert(unitClass >= 0 && unitClass < kClassCount);
    m_units[unitClass] = BUnit(std::move(symbol), factor, precision);
    // Posted and not sent: receivers show all their values anew, which no caller here waits for.
    QDPost(kMessageUnitChanged, static_cast<std::uint64_t>(unitClass), 0);
}

void BUnitSystem::ChangeUnit(EUnit unit)
{
    switch (unit) {
    case UnitMillimeter:
        ChangeUnit(UnitClassLength, QD_W("mm"), 1.0, 3);
        ChangeUnit(UnitClassArea, QD_W("mm\u00B2"), 1.0, 3);
        ChangeUnit(UnitClassVolume, QD_W("mm\u00B3"), 1.0, 3);
        break;
    // Inches are for lengths: areas and volumes stay in the unit that they have.
    case UnitInch: ChangeUnit(UnitClassLength, QD_W("\""), 1.0 / kMillimetresPerInch, 4); break;
    case UnitThou:
        ChangeUnit(UnitClassLength, QD_W("Thou"), 1000.0 / kMillimetresPerInch, 1);
        break;
    case UnitDegree: ChangeUnit(UnitClassAngle, QD_W("\u00B0"), 1.0, 2); break;
    }
}

SP<BUnitSystem> BUnitSystem::Instance()
{
    {
        const std::lock_guard guard(g_lock);
        if (g_instance != nullptr)
            return g_instance;
    }
    // Made without the lock, for it posts to the dispatcher; of two threads one keeps its own.
    SP<BUnitSystem> made = new BUnitSystem;
    const std::lock_guard guard(g_lock);
    if (g_instance == nullptr) {
        BSmartObj::Ref(made.Get());
        g_instance = made.Get();
    }
    return g_instance;
}

void BUnitSystem::RegisterInstance(SP<BUnitSystem> system)
{
    BSmartObj::Ref(system.Get());
    BUnitSystem* before = nullptr;
    {
        const std::lock_guard guard(g_lock);
        before = std::exchange(g_instance, system.Get());
    }
    BSmartObj::Unref(before); // without the lock: its destruction may ask for the instance
}
