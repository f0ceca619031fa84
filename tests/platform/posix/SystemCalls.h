#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

/// Watches the calls of this program on Linux that put a file in place or lock one, while it lives:
/// `fsync`, `fchmod`, `rename` and `flock`; also `read`, `fread` and `readdir`, which it does not
/// tell. Time passes faster meanwhile: a second from one look at the clock to the next, for those
/// who wait.
class SystemCalls {
public:
    SystemCalls() { s_current = this; }
    ~SystemCalls() { s_current = nullptr; }
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    /// The calls so far: "fsync rename fsync ".
    [[nodiscard]] std::string Made() const { return m_made; }
    /// The call of `name` behind the next `before` ones fails with `error`.
    void Fail(const std::string& name, int error, int before = 0)
    {
        m_failing = name;
        m_error = error;
        m_before = before;
    }
    /// Before the next `read`, once: what others do meanwhile.
    void BeforeRead(std::function<void()> act) { m_beforeRead = std::move(act); }

    // What the library's calls become.

    static int Make(const char* name, const std::function<int()>& call);
    static bool Fails(const char* name); // in `errno`
    static void AboutToRead();
    static std::uint32_t TickCount();

private:
    static inline SystemCalls* s_current = nullptr;

    std::string m_made, m_failing;
    std::function<void()> m_beforeRead;
    int m_error = 0, m_before = 0; // of what fails
    std::uint32_t m_seconds = 0;
};
