#pragma once

#include "core/operation/BDispatcher.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

/// Stands in for an application's dispatcher while it lives, on the thread that made it, and keeps
/// what is sent and, on any threads, posted.
class RecordingDispatcher {
public:
    struct Message {
        unsigned int number;
        std::uint64_t first, second;
        bool operator==(const Message&) const = default;
    };
    using Messages = std::vector<Message>;
    static constexpr unsigned int kRefused = 0; // the number to which it answers false

    RecordingDispatcher() { BDispatcher::RegisterDispatcher(m_recorder.Get()); }
    ~RecordingDispatcher() { BDispatcher::RegisterDispatcher(nullptr); }
    RecordingDispatcher(const RecordingDispatcher&) = delete;
    RecordingDispatcher& operator=(const RecordingDispatcher&) = delete;

    /// What was sent since the last call.
    Messages Sent() { return std::exchange(m_recorder->m_sent, {}); }
    Messages Posted()
    {
        const std::scoped_lock lock(m_recorder->m_mutex);
        return std::exchange(m_recorder->m_posted, {});
    }

    /// Calls `action` with each message that is sent, but for those that it sends itself, until it
    /// throws.
    void OnSend(std::function<void(const Message&)> action)
    {
        m_recorder->m_onSend = std::move(action);
    }
    /// Calls `action` on the next post, with which another thread may come in between.
    void OnNextPost(std::function<void()> action)
    {
        const std::scoped_lock lock(m_recorder->m_mutex);
        m_recorder->m_onNextPost = std::move(action);
    }

private:
    class Recorder : public BDispatcher {
    public:
        bool Send(unsigned int number, std::uint64_t first, std::uint64_t second) override
        {
            const Message message{number, first, second};
            m_sent.push_back(message);
            if (const auto action = std::exchange(m_onSend, nullptr)) {
                action(message);
                m_onSend = action;
            }
            return number != kRefused;
        }
        bool Post(unsigned int number, std::uint64_t first, std::uint64_t second) override
        {
            std::function<void()> action;
            {
                const std::scoped_lock lock(m_mutex);
                m_posted.push_back({number, first, second});
                action.swap(m_onNextPost);
            }
            if (action)
                action();
            return number != kRefused;
        }
        unsigned long ThreadId() const override { return m_threadId; }
        bool AddReceiver(BMessageReceiver*) override { return false; }
        bool RemoveReceiver(BMessageReceiver*) override { return false; }

        const unsigned long m_threadId = QDCurrentThreadId();
        std::mutex m_mutex;
        Messages m_sent;
        Messages m_posted;                  // guarded by m_mutex
        std::function<void()> m_onNextPost; // guarded by m_mutex
        std::function<void(const Message&)> m_onSend;
    };
    SP<Recorder> m_recorder = new Recorder;
};
