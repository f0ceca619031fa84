#include "core/platform/posix/RegistryCache.h"

#include "core/platform/SeededHash.h"

#include <cstring>
#include <new>
#include <utility>

// Most of the time of a read goes into two locks of the file, taken and given back, though hardly
// ever somebody has written. Whether somebody has, the index of the log tells: SQLite's own readers
// look there first, without a lock, and take their pages for good while it is the same (SQLite,
// "WAL-mode File Format", 2.1: two copies of 48 bytes with a counter of the writes).
namespace platform {

namespace {

std::uint64_t HashOf(std::int64_t key, WideView foldedName)
{
    return SeededHash(foldedName) ^ SeededHash(static_cast<std::uint64_t>(key));
}

auto IsFor(std::int64_t key, WideView foldedName)
{
    return [key, foldedName](const auto& value) {
        return value->key == key && value->foldedName == foldedName;
    };
}

} // namespace

const WideText* RegistryCache::Find(std::int64_t key, WideView foldedName)
{
    if (m_logIndex == nullptr)
        return nullptr;
    if (!IsCurrent()) {
        Forget();
        std::memcpy(m_state.data(), m_logIndex, m_state.size());
        return nullptr;
    }
    const auto* const found = m_values.Find(HashOf(key, foldedName), IsFor(key, foldedName));
    return found != nullptr ? &(*found)->text : nullptr;
}

void RegistryCache::Keep(std::int64_t key, WideView foldedName, const WideText& text) noexcept
try {
    constexpr std::size_t most = 8 << 20; // a registry of settings has much less
    const std::size_t size = sizeof(std::unique_ptr<Value>) + sizeof(Value) +
                             (foldedName.size() + text.size()) * sizeof(WChar);
    // Copies that differ are those of a write that is under way.
    const bool isWhole =
        std::memcmp(m_state.data(), m_state.data() + kHeaderSize, kHeaderSize) == 0;
    if (m_logIndex == nullptr || !isWhole || !IsCurrent() || size > most)
        return;
    if (m_size > most - size)
        Forget();
    auto value = std::make_unique<Value>(Value{key, WideText(foldedName), text});
    const auto place = m_values.FindOrFree(HashOf(key, foldedName), IsFor(key, foldedName));
    if (!place.isFree)
        return;
    m_values.Fill(place, std::move(value));
    m_size += size;
} catch (const std::bad_alloc&) {
    // What was read is read all the same.
}

bool RegistryCache::IsCurrent() const noexcept
{
    return std::memcmp(m_state.data(), m_logIndex, m_state.size()) == 0;
}

void RegistryCache::Forget() noexcept
{
    m_values.Clear();
    m_size = 0;
}

} // namespace platform
