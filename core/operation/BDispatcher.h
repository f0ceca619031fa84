#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/platform/Export.h"

#include <cstdint>

class BMessageReceiver;

/// Stands for the dispatcher's thread where there is none.
inline constexpr unsigned long kNoDispatcherThread = 0xFFFFFFFF;

/// The one object of a process through which the library reaches the user interface. The
/// application derives it and registers it at start-up; the library delivers numbered messages with
/// two parameters to it, and drops them while none is registered.
///
/// Registration is for start-up and shut-down: it must not run beside a delivery on another thread.
/// An application takes its dispatcher back by registering an empty pointer before it ends; one
/// that is still registered then is not destroyed.
///
/// The messages of the library stand in core/operation/Messages.h.
class QD_CORE_API BDispatcher : public BSmartObj {
public:
    ~BDispatcher() override;

    // The order of the virtual functions is part of the interface.

    /// Delivers now and waits until the receivers have handled the message. False when it was not
    /// delivered.
    virtual bool Send(unsigned int message, std::uint64_t first, std::uint64_t second) = 0;
    /// Queues the message and returns. False when it will not be delivered.
    virtual bool Post(unsigned int message, std::uint64_t first, std::uint64_t second) = 0;
    /// Id of the thread that delivers, as `QDCurrentThreadId` tells it there.
    [[nodiscard]] virtual unsigned long ThreadId() const = 0;
    /// Delivers to `receiver`, too, until it is removed. False for null or when it is there
    /// already.
    virtual bool AddReceiver(BMessageReceiver* receiver) = 0;
    /// False when `receiver` was not there.
    virtual bool RemoveReceiver(BMessageReceiver* receiver) = 0;

    /// Replaces the process's dispatcher and releases the one before; an empty pointer unregisters.
    static void RegisterDispatcher(SP<BDispatcher> dispatcher);
    /// The registered dispatcher; empty when there is none.
    [[nodiscard]] static SP<BDispatcher> Instance();

    /// Without a registered dispatcher these answer false and `kNoDispatcherThread`.
    static bool DispatcherSend(unsigned int message, std::uint64_t first, std::uint64_t second);
    static bool DispatcherPost(unsigned int message, std::uint64_t first, std::uint64_t second);
    [[nodiscard]] static unsigned long DispatcherThreadId();
    [[nodiscard]] static bool CurrentThreadIsDispatcherThread();
};

/// `BDispatcher::DispatcherSend` for callers that do not look at the result.
QD_CORE_API void QDSend(unsigned int message, std::uint64_t first, std::uint64_t second);
/// `BDispatcher::DispatcherPost` for callers that do not look at the result.
QD_CORE_API void QDPost(unsigned int message, std::uint64_t first, std::uint64_t second);
/// `BDispatcher::CurrentThreadIsDispatcherThread`.
[[nodiscard]] QD_CORE_API bool QDCurrentThreadIsDispatcherThread();
/// The id of the calling thread that `BDispatcher::ThreadId` is compared with.
[[nodiscard]] QD_CORE_API unsigned long QDCurrentThreadId() noexcept;
