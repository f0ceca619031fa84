#pragma once

#include "core/platform/ProbeTable.h"
#include "core/platform/WideText.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace platform {

/// Texts that were read from a database, as long as nobody writes to it. One thread at a time.
class RegistryCache {
public:
    /// `logIndex` is what the processes share of the log's index, and outlives this; null when
    /// there is none, and then nothing is kept.
    explicit RegistryCache(const void* logIndex) noexcept
        : m_logIndex(logIndex)
    {}

    /// The text of the value, null when it has to be read; good until the next call.
    [[nodiscard]] const WideText* Find(std::int64_t key, WideView foldedName);
    /// Keeps what was read since `Find` gave null, unless somebody has written since.
    void Keep(std::int64_t key, WideView foldedName, const WideText& text) noexcept;

private:
    // The header of the index, which stands there twice.
    static constexpr std::size_t kHeaderSize = 48;
    using State = std::array<std::byte, 2 * kHeaderSize>;

    struct Value {
        std::int64_t key;
        WideText foldedName, text;
    };

    [[nodiscard]] bool IsCurrent() const noexcept;
    void Forget() noexcept;

    const void* m_logIndex;
    State m_state = {}; // of the database when the values were read
    ProbeTable<std::unique_ptr<Value>> m_values;
    std::size_t m_size = 0; // of the values, in bytes
};

} // namespace platform
