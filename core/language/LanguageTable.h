#pragma once

#include "core/base/BMap.h"
#include "core/base/WString.h"
#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/// The entries of a language map: ordered by the collation of their keys, and found by a hash of
/// the key's units, as nearly all keys that are asked for are spelled like the entry's.
class LanguageTable {
public:
    using View = platform::WideView;

    struct Entry {
        WString key, defaultText, text;
    };

    /// The entry whose key is equal to `key` by collation; null when there is none. Good until the
    /// table changes.
    [[nodiscard]] const Entry* Find(View key) const;

    /// Adds an entry under a key that has none. True when the key is plain, that is without "_",
    /// and the default text is, without regard to case, the text of another plain key, too.
    bool Add(Entry entry);
    /// Removes an entry that `Find` gave.
    void Remove(const Entry& entry);
    void RemoveAll();

    /// Default texts in the order of their keys.
    [[nodiscard]] const BMap<WString, WString>& Defaults() const noexcept { return m_defaults; }

private:
    // Entries stand in the slots themselves, so that a look-up touches one place and two texts.
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t length = 0; // of the key; 0 in an empty slot
        Entry entry;
    };
    struct KeyHash {
        std::size_t operator()(const std::string& bytes) const;
    };

    [[nodiscard]] std::size_t Home(std::uint32_t hash) const noexcept;
    [[nodiscard]] std::size_t Next(std::size_t slot) const noexcept;
    [[nodiscard]] const Entry* FindUnits(View key) const;
    [[nodiscard]] Slot& EmptySlot(std::uint32_t hash);
    void Grow();
    void RemoveSlot(std::size_t hole);
    [[nodiscard]] const std::string& CollationKey(const WString& text);

    BMap<WString, WString> m_defaults;
    std::vector<Slot> m_slots; // none, or a power of two; an entry stands at or behind its home
    int m_shift = 0;           // from a hash to its home
    // How many plain keys have a default text, by its collation key without case.
    std::unordered_map<std::string, std::uint64_t, KeyHash> m_plainKeys;
    std::uint64_t m_foreignKeys = 0; // that hold more than ASCII
    std::string m_collationKey;      // kept for its room
};
