#pragma once

#include "core/operation/BDispatcher.h"

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

/// Stands in for an application's dispatcher while it lives, on the thread that made it, and keeps
/// what is sent and posted.
class RecordingDispatcher {
public:
    struct Message {
        unsigned int number;
        std::uint64_t first, second;
        bool operator==(const Message&) const = default;
    };

    RecordingDispatcher() { BDispatcher::RegisterDispatcher(m_recorder.Get()); }
    ~RecordingDispatcher() { BDispatcher::RegisterDispatcher(nullptr); }
    RecordingDispatcher(const RecordingDispatcher&) = delete;
    RecordingDispatcher& operator=(const RecordingDispatcher&) = delete;

    /// What was sent since the last call.
    std::vector<Message> Sent() { return std::exchange(m_recorder->m_sent, {}); }
    std::vector<Message> Posted() { return std::exchange(m_recorder->m_posted, {}); }

    /// Does something else, too, when the next message is sent.
    void OnSend(std::function<void()> action) { m_recorder->m_onSend = std::move(action); }

private:
    class Recorder : public BDispatcher {
    public:
        bool Send(unsigned int number, std::uint64_t first, std::uint64_t second) override
        {
            m_sent.push_back({number, first, second});
            if (const auto action = std::exchange(m_onSend, nullptr))
                action();
            return true;
        }
        bool Post(unsigned int number, std::uint64_t first, std::uint64_t second) override
        {
            m_posted.push_back({number, first, second});
            return true;
        }
        unsigned long ThreadId() const override { return m_threadId; }
        bool AddReceiver(BMessageReceiver*) override { return false; }
        bool RemoveReceiver(BMessageReceiver*) override { return false; }

        const unsigned long m_threadId = QDCurrentThreadId();
        std::vector<Message> m_sent, m_posted;
        std::function<void()> m_onSend;
    };
    SP<Recorder> m_recorder = new Recorder;
};
