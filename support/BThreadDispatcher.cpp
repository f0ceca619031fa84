#include "support/BThreadDispatcher.h"

#include "core/operation/BMessageReceiver.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <condition_variable>
#include <deque>
#include <exception>
#include <utility>
#include <vector>

// The dispatcher is counted, and its last reference may go inside a receiver, on its own thread,
// which cannot wait for itself. So all that the thread uses stands in a queue that it shares with
// the dispatcher, and goes on with that until it is told to end.
//
// No lock is held while a receiver is called: it may send, post, add and remove receivers, itself
// included, and shut the dispatcher down. In return each call under way is noted, so that a thread
// that removes a receiver can wait for the end of its call, and the place of a removed one stays,
// empty, until no delivery is going through the list.
//
// Mutex and condition variables of the standard library: waiting on atomics loses wake-ups with the
// compiler for Windows.

/// The messages, the receivers and what the thread does with them.
class BThreadDispatcher::Queue {
public:
    Queue() = default;
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue() { assert(m_messages.empty() && m_innermost == nullptr && m_deliveries == 0); }

    bool Send(unsigned int message, std::uint64_t first, std::uint64_t second);
    bool Post(unsigned int message, std::uint64_t first, std::uint64_t second);
    bool AddReceiver(BMessageReceiver* receiver);
    bool RemoveReceiver(BMessageReceiver* receiver);
    void Close();

    /// The thread's function.
    void Run();
    void WaitUntilRunning();

    [[nodiscard]] unsigned long ThreadId() const { return m_threadId; }
    [[nodiscard]] bool IsOwnThread() const { return m_threadId == QDCurrentThreadId(); }

private:
    static constexpr unsigned long kNotStarted = 0;

    /// Where a sender waits for the end of the delivery.
    struct Answer {
        bool isThere = false;
        std::exception_ptr exception;
    };
    /// A call of a receiver that is under way.
    struct ReceiverCall {
        BMessageReceiver* receiver;
        ReceiverCall* outer; // inside of which this one was made
    };
    struct Message {
        unsigned int number;
        std::uint64_t first, second;
        Answer* answer; // null when posted
    };

    [[nodiscard]] bool Append(const Message& message);
    [[nodiscard]] bool IsBeingCalled(const BMessageReceiver* receiver) const;
    [[nodiscard]] std::exception_ptr Deliver(const Message& message,
                                             std::unique_lock<std::mutex>& lock);
    [[nodiscard]] std::exception_ptr Call(BMessageReceiver& receiver, const Message& message,
                                          std::unique_lock<std::mutex>& lock);

    std::atomic<unsigned long> m_threadId = kNotStarted;

    std::mutex m_lock;
    std::condition_variable m_arrived;  // a message came or the queue was closed
    std::condition_variable m_answered; // the thread began, or a message or a call came to its end
    std::deque<Message> m_messages;     // guarded by m_lock
    bool m_closed = false;              // guarded by m_lock
    std::vector<BMessageReceiver*> m_receivers; // guarded by m_lock; null where one was removed
    ReceiverCall* m_innermost = nullptr;        // guarded by m_lock
    int m_deliveries = 0;                       // guarded by m_lock; under way, one in the other
};

bool BThreadDispatcher::Queue::Send(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    Answer answer;
    std::unique_lock lock(m_lock);
    if (IsOwnThread()) {
        // At once, past those that are queued: this thread would wait for itself.
        answer.exception = Deliver({message, first, second, nullptr}, lock);
    } else {
        if (!Append({message, first, second, &answer}))
            return false;
        m_answered.wait(lock, [&] { return answer.isThere; });
    }
    lock.unlock();
    if (answer.exception)
        std::rethrow_exception(answer.exception);
    return true;
}

bool BThreadDispatcher::Queue::Post(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    const std::scoped_lock lock(m_lock);
    return Append({message, first, second, nullptr});
}

bool BThreadDispatcher::Queue::AddReceiver(BMessageReceiver* receiver)
{
    const std::scoped_lock lock(m_lock);
    if (receiver == nullptr || std::ranges::count(m_receivers, receiver) != 0)
        return false;
    m_receivers.push_back(receiver);
    return true;
}

bool BThreadDispatcher::Queue::RemoveReceiver(BMessageReceiver* receiver)
{
    std::unique_lock lock(m_lock);
    const auto found = std::ranges::find(m_receivers, receiver);
    if (receiver == nullptr || found == m_receivers.end())
        return false;
    *found = nullptr;
    if (m_deliveries == 0)
        std::erase(m_receivers, nullptr);
    // On the dispatcher's thread the call that is under way is the one that this stands in.
    if (!IsOwnThread())
        m_answered.wait(lock, [&] { return !IsBeingCalled(receiver); });
    return true;
}

void BThreadDispatcher::Queue::Close()
{
    const std::scoped_lock lock(m_lock);
    m_closed = true;
    m_arrived.notify_one();
}

void BThreadDispatcher::Queue::WaitUntilRunning()
{
    std::unique_lock lock(m_lock);
    m_answered.wait(lock, [this] { return m_threadId != kNotStarted; });
}

void BThreadDispatcher::Queue::Run()
{
    std::unique_lock lock(m_lock);
    m_threadId = QDCurrentThreadId();
    m_answered.notify_all();
    for (;;) {
        m_arrived.wait(lock, [&] { return m_closed || !m_messages.empty(); });
        if (m_messages.empty())
            break;
        const Message message = m_messages.front();
        m_messages.pop_front();
        std::exception_ptr exception = Deliver(message, lock);
        if (message.answer != nullptr) {
            assert(!message.answer->isThere);
            *message.answer = {true, std::move(exception)};
            m_answered.notify_all();
        }
    }
    // The id may belong to another thread soon.
    m_threadId = kNoDispatcherThread;
}

bool BThreadDispatcher::Queue::Append(const Message& message)
{
    if (m_closed)
        return false;
    m_messages.push_back(message);
    m_arrived.notify_one();
    return true;
}

bool BThreadDispatcher::Queue::IsBeingCalled(const BMessageReceiver* receiver) const
{
    const ReceiverCall* call = m_innermost;
    while (call != nullptr && call->receiver != receiver)
        call = call->outer;
    return call != nullptr;
}

std::exception_ptr BThreadDispatcher::Queue::Deliver(const Message& message,
                                                     std::unique_lock<std::mutex>& lock)
{
    std::exception_ptr exception;
    ++m_deliveries;
    // By index, as receivers may come meanwhile and move the vector; they stand behind these.
    const std::size_t count = m_receivers.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (m_receivers[i] == nullptr)
            continue;
        if (std::exception_ptr thrown = Call(*m_receivers[i], message, lock); thrown && !exception)
            exception = std::move(thrown);
    }
    assert(m_deliveries > 0);
    if (--m_deliveries == 0)
        std::erase(m_receivers, nullptr);
    return exception;
}

std::exception_ptr BThreadDispatcher::Queue::Call(BMessageReceiver& receiver,
                                                  const Message& message,
                                                  std::unique_lock<std::mutex>& lock)
{
    std::exception_ptr exception;
    ReceiverCall call{&receiver, m_innermost};
    m_innermost = &call;
    lock.unlock();
    try {
        receiver.Receive(message.number, message.first, message.second);
    } catch (...) {
        exception = std::current_exception();
    }
    lock.lock();
    assert(m_innermost == &call);
    m_innermost = call.outer;
    m_answered.notify_all();
    return exception;
}

BThreadDispatcher::BThreadDispatcher()
    : m_queue(std::make_shared<Queue>())
    , m_thread([queue = m_queue] { queue->Run(); })
{
    m_queue->WaitUntilRunning(); // so that `ThreadId` is known from the start
}

BThreadDispatcher::~BThreadDispatcher()
{
    Shutdown();
    if (m_thread.joinable())
        m_thread.detach(); // the last reference went inside a receiver
}

bool BThreadDispatcher::Send(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    return m_queue->Send(message, first, second);
}

bool BThreadDispatcher::Post(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    return m_queue->Post(message, first, second);
}

unsigned long BThreadDispatcher::ThreadId() const
{
    return m_queue->ThreadId();
}

bool BThreadDispatcher::AddReceiver(BMessageReceiver* receiver)
{
    return m_queue->AddReceiver(receiver);
}

bool BThreadDispatcher::RemoveReceiver(BMessageReceiver* receiver)
{
    return m_queue->RemoveReceiver(receiver);
}

void BThreadDispatcher::Shutdown() noexcept
{
    m_queue->Close();
    // Several threads may shut it down; each returns when the thread has ended.
    if (m_queue->IsOwnThread())
        return;
    const std::scoped_lock lock(m_joining);
    if (m_thread.joinable())
        m_thread.join();
}
