#pragma once

#include <string>

/// Watches the calls of this program on Linux that put a file in place, while it lives: `fsync`,
/// `fchmod` and `rename`. Time passes faster meanwhile: a second from one look at the clock to the
/// next, for those who wait.
class SystemCalls {
public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    /// The calls so far: "fsync rename fsync ".
    [[nodiscard]] std::string Made() const;
    /// From here on the calls of `name` fail with `error`.
    void Fail(const char* name, int error);
    /// The process ends as if it were killed when it is about to call `name`.
    void EndBefore(const char* name);
    /// The same once the call is done.
    void EndAfter(const char* name);
};
