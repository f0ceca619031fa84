#include "core/language/LanguageTable.h"

#include "core/platform/Collation.h"

#include <algorithm>
#include <cassert>
#include <utility>

// Texts are asked for by the thousand while a window is built, nearly always as the program spells
// its keys. So a hash of the units comes first, and only a key that it misses is looked up in the
// order of the collation; where neither the map nor that key has more than ASCII, not even that.

namespace {

using View = LanguageTable::View;

// Half of it, so that a slot tells its key's length besides.
std::uint32_t HashOf(View key)
{
    return static_cast<std::uint32_t>(platform::SeededHash(key));
}

View ViewOf(const WString& text)
{
    return {text.CStr(), text.Length()};
}

bool IsPlain(View key)
{
    return key.find(WChar('_')) == View::npos;
}

// Letters, digits and "_" of ASCII, of which no two texts are equal unless their units are.
bool IsAsciiKey(View key)
{
    constexpr auto isOfKey = [](WChar unit) {
        const WChar lower = unit | 0x20;
        return (lower >= 'a' && lower <= 'z') || (unit >= '0' && unit <= '9') || unit == '_';
    };
    return key.starts_with(WChar('$')) && std::all_of(key.begin() + 1, key.end(), isOfKey);
}

} // namespace

const LanguageTable::Entry* LanguageTable::Find(View key) const
{
    const Slot* slot = FindUnits(key);
    if (slot == nullptr && (m_foreignKeys != 0 || !IsAsciiKey(key))) {
        const auto* const item = m_defaults.Find(platform::WideText(key).c_str());
        slot = item != nullptr ? FindUnits(ViewOf(item->key)) : nullptr;
        assert((item != nullptr) == (slot != nullptr)); // both know each entry
    }
    return slot != nullptr ? &slot->entry : nullptr;
}

bool LanguageTable::Add(Entry entry)
{
    const View key = ViewOf(entry.key); // stays where it is when the entry moves
    assert(!key.empty() && Find(key) == nullptr);
    // What may lack memory comes first: an entry that only the order or only the hash knew would be
    // listed and not found. A count of 0 that stays behind says nothing.
    const std::uint32_t hash = HashOf(key);
    Slot& slot = m_slots.FindOrFree(hash, [](const Slot&) { return false; });
    std::uint64_t* const plainKeys =
        IsPlain(key) ? &m_plainKeys[CollationKey(entry.defaultText)] : nullptr;
    m_defaults.Insert(entry.key, entry.defaultText);

    const bool isShared = plainKeys != nullptr && (*plainKeys)++ != 0;
    m_foreignKeys += IsAsciiKey(key) ? 0 : 1;
    m_slots.Fill(slot, {hash, static_cast<std::uint32_t>(key.size()), std::move(entry)});
    return isShared;
}

bool LanguageTable::Replace(const Entry& old, Entry entry)
{
    const View key = ViewOf(entry.key), oldKey = ViewOf(old.key);
    // As above: what may lack memory comes first, so that the old entry stays unless the new one
    // takes its place.
    std::uint64_t* const plainKeys =
        IsPlain(key) ? &m_plainKeys[CollationKey(entry.defaultText)] : nullptr;
    const auto oldPlainKeys =
        IsPlain(oldKey) ? m_plainKeys.find(CollationKey(old.defaultText)) : m_plainKeys.end();
    auto* const item = m_defaults.Find(old.key);
    assert(item != nullptr && item->key == entry.key);
    assert(!IsPlain(oldKey) || (oldPlainKeys != m_plainKeys.end() && oldPlainKeys->second != 0));
    assert(IsAsciiKey(oldKey) || m_foreignKeys != 0);

    // Down and up before a count of 0 goes, as both may be the same one.
    if (oldPlainKeys != m_plainKeys.end())
        --oldPlainKeys->second;
    const bool isShared = plainKeys != nullptr && (*plainKeys)++ != 0;
    if (oldPlainKeys != m_plainKeys.end() && oldPlainKeys->second == 0)
        m_plainKeys.erase(oldPlainKeys);
    m_foreignKeys += IsAsciiKey(key) ? 0 : 1;
    m_foreignKeys -= IsAsciiKey(oldKey) ? 0 : 1;
    item->key = entry.key; // equal to the one before, so the order stays
    item->value = entry.defaultText;
    m_slots.Vacate(*const_cast<Slot*>(FindUnits(oldKey)));
    // The slot that became free is room enough: the table does not grow here.
    const std::uint32_t hash = HashOf(key);
    Slot& slot = m_slots.FindOrFree(hash, [](const Slot&) { return false; });
    m_slots.Fill(slot, {hash, static_cast<std::uint32_t>(key.size()), std::move(entry)});
    return isShared;
}

void LanguageTable::RemoveAll()
{
    m_defaults.RemoveAll();
    m_slots.Clear();
    m_plainKeys.clear();
    m_foreignKeys = 0;
}

const LanguageTable::Slot* LanguageTable::FindUnits(View key) const
{
    return m_slots.Find(HashOf(key), [key](const Slot& slot) {
        const WChar* const text = slot.entry.key;
        return std::equal(key.begin(), key.end(), text, text + slot.length);
    });
}

const std::string& LanguageTable::CollationKey(const WString& text)
{
    m_collationKey.clear();
    platform::AppendCollationKey(text, text.Length(), platform::ECase::Ignored, m_collationKey);
    return m_collationKey;
}
