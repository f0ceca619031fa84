#pragma once

#include "core/platform/Types.h"

#include <cstdint>
#include <vector>

#if __has_include(<windows.h>)
# include <windows.h>
#else
# include <mutex>
# include <utility>
#endif

struct WindowMessage {
    unsigned int number;
    std::uint64_t first;
    std::int64_t second;
    bool operator==(const WindowMessage&) const = default;
};

/// A window of the platform that keeps the application's messages posted to it.
#if __has_include(<windows.h>)
class MessageWindow {
public:
    MessageWindow()
        : m_handle(::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                     nullptr, nullptr))
    {}
    ~MessageWindow() { ::DestroyWindow(m_handle); }
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;

    [[nodiscard]] HWND Handle() const { return m_handle; }
    /// What was posted since the last call; on the thread that made the window.
    std::vector<WindowMessage> Received()
    {
        std::vector<WindowMessage> received;
        MSG message = {};
        while (::PeekMessageW(&message, m_handle, WM_USER, WM_APP - 1, PM_REMOVE))
            received.push_back({message.message, message.wParam, message.lParam});
        return received;
    }

private:
    HWND m_handle;
};
#else
class MessageWindow final : public QDWindow {
public:
    bool Post(unsigned int message, std::uint64_t first, std::int64_t second) override
    {
        const std::scoped_lock lock(m_mutex);
        m_received.push_back({message, first, second});
        return true;
    }
    [[nodiscard]] HWND Handle() { return this; }
    /// What was posted since the last call.
    std::vector<WindowMessage> Received()
    {
        const std::scoped_lock lock(m_mutex);
        return std::exchange(m_received, {});
    }

private:
    std::mutex m_mutex;
    std::vector<WindowMessage> m_received; // guarded by m_mutex
};
#endif
