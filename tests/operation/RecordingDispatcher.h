#pragma once

#include "core/operation/BDispatcher.h"

#include <cstdint>
#include <functional>
#include <memory>
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

    /// What it answers from here on.
    void Answer(bool answer) { m_recorder->m_answer = answer; }
    /// Calls `action` with each message that is sent, but for those that it sends itself.
    void OnSend(std::function<void(const Message&)> action)
    {
        m_recorder->m_onSend = std::move(action);
    }

private:
    class Recorder : public BDispatcher {
    public:
        bool Send(unsigned int number, std::uint64_t first, std::uint64_t second) override
        {
            const Message message{number, first, second};
            m_sent.push_back(message);
            if (m_onSend && !std::exchange(m_isActing, true)) {
                const std::unique_ptr<bool, void (*)(bool*)> end(
                    &m_isActing, [](bool* isActing) { *isActing = false; });
                m_onSend(message);
            }
            return m_answer;
        }
        bool Post(unsigned int number, std::uint64_t first, std::uint64_t second) override
        {
            const std::scoped_lock lock(m_mutex);
            m_posted.push_back({number, first, second});
            return m_answer;
        }
        unsigned long ThreadId() const override { return m_threadId; }
        bool AddReceiver(BMessageReceiver*) override { return false; }
        bool RemoveReceiver(BMessageReceiver*) override { return false; }

        const unsigned long m_threadId = QDCurrentThreadId();
        std::mutex m_mutex;
        Messages m_sent;
        Messages m_posted; // guarded by m_mutex
        std::function<void(const Message&)> m_onSend;
        bool m_isActing = false;
        bool m_answer = true;
    };
    SP<Recorder> m_recorder = new Recorder;
};
