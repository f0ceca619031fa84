#pragma once

#include "core/base/DList.h"
#include "core/operation/BOperationInterface.h"
#include "core/platform/CriticalSection.h"
#include "core/platform/Export.h"
#include "core/platform/Types.h"
#include "core/sync/BSyncableSmartObj.h"

#include <cstdint>

/// Forwards what a worker reports to a window or, while it has none, to the dispatcher, and lets
/// another thread stop the worker. Every function may be called on any thread.
///
///     kMessageWindowStatus    key          0        posted to the window
///     kMessageWindowProgress  at most 99   0        posted to the window
///     kMessageAsyncStatus     this object  key      to the dispatcher, without a window
///     kMessageAsyncProgress   this object  percent  to the dispatcher, without a window
///     kMessageAsyncError      this object  0        to the dispatcher, always
///
/// Messages to the dispatcher are sent on its own thread and posted from all others, so a worker
/// never waits. "This object" is a `BAsyncOperationInterface*` that holds no reference: the
/// application keeps the operation until they are delivered. Messages go out when the operation has
/// given its lock back, so that a receiver may call it; off Windows the window must therefore stay
/// until a report that began before `SetMessageSink` has returned.
class QD_CORE_API BAsyncOperationInterface : public BSyncableSmartObj, public BOperationInterface {
public:
    BAsyncOperationInterface();
    // A copy has its original's lock state, stop flag, error, window and status texts.
    BAsyncOperationInterface(const BAsyncOperationInterface& other);
    BAsyncOperationInterface& operator=(const BAsyncOperationInterface& other);
    ~BAsyncOperationInterface() override;

    // The order of the virtual functions is part of the interface.

    /// What was reported last; code 0 when nothing was.
    [[nodiscard]] virtual BError GetError();
    virtual void SetError(const BError& error);
    /// The window that gets the messages; null for none.
    virtual void SetMessageSink(HWND window);
    [[nodiscard]] virtual HWND GetMessageSink();
    /// Does nothing.
    virtual void ActivateBreak(bool active);
    /// As `IsStopping`, whatever `ask` says.
    virtual bool BreakLongOperation(bool ask);
    /// Throws BError `kErrorUserBreak` once the operation was stopped.
    virtual void TestUserBreak() const;

    /// Whether `Stop` was called.
    [[nodiscard]] bool IsStopping() override;
    [[nodiscard]] bool IsStoppingWeak() override;
    /// Keeps `text` under the next key, 1 for the first, until it is fetched.
    void StatusInfo(const WString& text) override;
    void ProgressInfo(unsigned int percent) override;
    void ErrorInfo(const BError& error) override;
    WString FetchStatusMessage(int key, bool keep) override;
    /// For good: nothing takes it back.
    void Stop() override;

private:
    struct StatusText {
        std::int32_t key;
        WString text;
    };

    [[nodiscard]] bool WasStopped() const;
    /// To the dispatcher.
    void Deliver(unsigned int message, std::uint64_t second) const;

    // Guarded by the lock, and by m_section where two readers meet a writer.
    bool m_stopped = false;
    BError m_error;
    HWND m_sink = nullptr;
    DList<StatusText> m_statusTexts; // in the order of their keys
    std::uint32_t m_statusCounter = 0;

    platform::CriticalSection m_section;
};
