#pragma once

#include "core/operation/BDispatcher.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

/// A dispatcher with a thread and a queue of its own.
///
/// Messages from other threads are delivered one after the other in the order in which they came,
/// sent and posted ones alike; a send on the dispatcher's thread is delivered at once. A message
/// goes to all receivers in the order in which they were added. Every function may be called on any
/// thread and from inside a receiver.
///
/// A process that was forked has no such thread: before it uses what reports to the dispatcher, it
/// registers another one, or none.
///
/// What a receiver throws while a message is sent passes on to the sender, once all receivers have
/// had the message; what it throws while a posted one is delivered is lost.
///
///     SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
///     dispatcher->AddReceiver(&receiver);
///     BDispatcher::RegisterDispatcher(dispatcher);
///     ...
///     BDispatcher::RegisterDispatcher(nullptr);
///     dispatcher->Shutdown();
class BThreadDispatcher : public BDispatcher {
public:
    /// Starts the thread; throws std::system_error when there can be none.
    BThreadDispatcher();
    BThreadDispatcher(const BThreadDispatcher&) = delete;
    BThreadDispatcher& operator=(const BThreadDispatcher&) = delete;
    /// As `Shutdown`.
    ~BThreadDispatcher() override;

    /// False once `Shutdown` has begun; a receiver that still handles a message may go on sending.
    bool Send(unsigned int message, std::uint64_t first, std::uint64_t second) override;
    /// False once `Shutdown` has begun. A message for which the answer was true is delivered.
    bool Post(unsigned int message, std::uint64_t first, std::uint64_t second) override;
    /// `kNoDispatcherThread` once the thread has ended.
    [[nodiscard]] unsigned long ThreadId() const override;
    /// Not counted: the receiver is removed before it is destroyed. It gets the messages whose
    /// delivery begins from now on.
    bool AddReceiver(BMessageReceiver* receiver) override;
    /// Afterwards `receiver` is not called any more and may be destroyed: a call that is under way
    /// is waited for, unless this thread is the dispatcher's and so inside of it.
    bool RemoveReceiver(BMessageReceiver* receiver) override;

    /// Takes no further messages, delivers those that are queued and ends the thread. Inside a
    /// receiver it returns at once, and the rest follows when the receiver is done.
    void Shutdown() noexcept;

private:
    class Queue;

    std::shared_ptr<Queue> m_queue; // shared with the thread, which may outlive this object
    std::mutex m_joining;
    std::thread m_thread; // guarded by m_joining
};
