#pragma once

#include "core/base/BMap.h"
#include "core/base/WString.h"
#include "core/platform/PageAllocator.h"
#include "core/platform/ProbeTable.h"
#include "core/platform/SeededHash.h"
#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdint>
#include <ratio>
#include <string>

/// The entries of a language map: ordered by the collation of their keys, and found by a hash of
/// the key's units, as nearly all keys that are asked for are spelled like the entry's.
class LanguageTable {
public:
    using View = platform::WideView;

    struct Entry {
        WString key, defaultText, text;
    };

    /// A key with what a table asks of its units, for who looks for it first and then adds it.
    struct Key {
        explicit Key(View key) noexcept;

        View units; // borrowed
        std::uint32_t hash;
        bool isAscii; // "$" and letters, digits and "_" of ASCII, a valid key
    };

    /// The entry whose key is equal to `key` by collation; null when there is none. Good until the
    /// table changes.
    [[nodiscard]] const Entry* Find(View key) const;
    [[nodiscard]] const Entry* Find(const Key& key) const;

    /// Tells that `key` will soon be looked for, as ProbeTable::Expect does.
    void Expect(View key) const noexcept;

    /// Adds an entry under its key, which has none. True when the key is plain, that is without
    /// "_", and the default text is, without regard to case, the text of another plain key, too.
    /// Where memory is missing, `std::bad_alloc` leaves the table as it was.
    bool Add(const Key& key, Entry entry);
    /// The same in place of an entry that `Find` gave, whose key is equal: spelled as the new one
    /// from then on.
    bool Replace(const Entry& old, Entry entry);
    void RemoveAll();

    /// Default texts in the order of their keys.
    [[nodiscard]] const BMap<WString, WString>& Defaults() const noexcept { return m_defaults; }

private:
    // How many plain keys have a default text, case ignored; spelled as one of them.
    struct PlainText {
        std::size_t count;
        WString text;
    };

    [[nodiscard]] const Entry* FindUnits(std::uint32_t hash, View key) const;
    [[nodiscard]] const Entry* FindCollated(View key) const;
    [[nodiscard]] std::uint32_t HashOfPlain(const WString& text);
    // Counts a plain key, for which there is room; whether another one has the text.
    bool AddPlain(std::uint32_t hash, const WString& text) noexcept;
    void RemovePlain(std::uint32_t hash, const WString& text) noexcept;

    // Entries are large, and programs ask for keys that are there: so the tables are rather full.
    template <class T>
    using Table = platform::ProbeTable<T, platform::PageAllocator<T>, std::ratio<4, 5>>;

    BMap<WString, WString> m_defaults;
    // Entries stand in the table itself, so that a look-up touches one place and two texts.
    Table<Entry> m_entries;
    Table<PlainText> m_plainTexts;
    std::uint64_t m_foreignKeys = 0; // that hold more than ASCII
    std::string m_collationKey;      // kept for its room
};
