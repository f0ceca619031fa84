#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/platform/Export.h"

#include <cstdint>

/// The process's progress display, which also knows whether the user wants to break off. The
/// application derives it and registers it at start-up; the library only asks for breaks.
///
/// Registration is for start-up and shut-down: it must not run beside a computation. One that is
/// still registered when the process ends is not destroyed.
class QD_CORE_API BProgressManager : public BSmartObj {
public:
    ~BProgressManager() override;

    // The order of the virtual functions is part of the interface.

    /// A computation begins that reports `units` of progress in all. The library does not call it.
    virtual void BeginLongOperation(std::uint64_t units) = 0;
    /// Whether the user wants to break off. The library passes false.
    virtual bool BreakLongOperation(bool ask) = 0;
    /// The computation is over. The library does not call it.
    virtual void EndLongOperation() = 0;
    /// Throws when the user wants to break off.
    virtual void TestUserBreak() = 0;

    /// Replaces the process's manager and releases the one before; an empty pointer unregisters.
    static void RegisterInstance(SP<BProgressManager> manager);
    /// The registered manager; empty when there is none.
    [[nodiscard]] static SP<BProgressManager> Instance();
    /// False without a manager.
    static bool InstanceBreakLongOperation(bool ask);
    /// Nothing without a manager.
    static void InstanceTestUserBreak();
};
