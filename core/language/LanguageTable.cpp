#include "core/language/LanguageTable.h"

#include "core/platform/Collation.h"

#include <algorithm>
#include <cassert>
#include <string_view>
#include <utility>

// Texts are asked for by the thousand while a window is built, nearly always as the program spells
// its keys. So a hash of the units comes first, and only a key that it misses is looked up in the
// order of the collation; where neither the map nor that key has more than ASCII, not even that.

namespace {

using View = LanguageTable::View;

// Half of it, as much as the table takes.
std::uint32_t HashOf(View key)
{
    return static_cast<std::uint32_t>(platform::SeededHash(key));
}

View ViewOf(const WString& text)
{
    return {text.CStr(), text.Length()};
}

bool HasText(const WString& text, const WString& other)
{
    return platform::Collate(text, other, platform::ECase::Ignored) == 0;
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

// Inlined, as the programs' look-ups wait for memory, and the fewer steps there are between two,
// the more of that the processor does at once.
inline const LanguageTable::Entry* LanguageTable::FindUnits(std::uint32_t hash, View key) const
{
    return m_entries.Find(hash, [key](const Entry& entry) {
        const View known = ViewOf(entry.key);
        return std::equal(key.begin(), key.end(), known.begin(), known.end());
    });
}

LanguageTable::Key::Key(View key) noexcept
    : units(key)
    , hash(HashOf(key))
    , isAscii(IsAsciiKey(key))
{}

const LanguageTable::Entry* LanguageTable::Find(View key) const
{
    const Entry* const entry = FindUnits(HashOf(key), key);
    if (entry != nullptr)
        return entry;
    return m_foreignKeys == 0 && IsAsciiKey(key) ? nullptr : FindCollated(key);
}

const LanguageTable::Entry* LanguageTable::Find(const Key& key) const
{
    const Entry* const entry = FindUnits(key.hash, key.units);
    if (entry != nullptr)
        return entry;
    return m_foreignKeys == 0 && key.isAscii ? nullptr : FindCollated(key.units);
}

const LanguageTable::Entry* LanguageTable::FindCollated(View key) const
{
    const auto* const item = m_defaults.Find(platform::WideText(key).c_str());
    if (item == nullptr)
        return nullptr;
    const View known = ViewOf(item->key);
    const Entry* const entry = FindUnits(HashOf(known), known);
    assert(entry != nullptr); // both know each entry
    return entry;
}

void LanguageTable::Expect(View key) const noexcept
{
    m_entries.Expect(HashOf(key));
}

bool LanguageTable::Add(const Key& key, Entry entry)
{
    assert(!key.units.empty() && key.units == ViewOf(entry.key) && Find(key) == nullptr);
    // What may lack memory comes first: an entry that only the order or only the hash knew would be
    // listed and not found.
    const auto place = m_entries.FindOrFree(key.hash, [](const Entry&) { return false; });
    const bool isPlain = IsPlain(key.units);
    const std::uint32_t plainHash = isPlain ? HashOfPlain(entry.defaultText) : 0;
    m_defaults.Insert(entry.key, entry.defaultText);

    const bool isShared = isPlain && AddPlain(plainHash, entry.defaultText);
    m_foreignKeys += key.isAscii ? 0 : 1;
    m_entries.Fill(place, std::move(entry));
    return isShared;
}

bool LanguageTable::Replace(const Entry& old, Entry entry)
{
    const View key = ViewOf(entry.key), oldKey = ViewOf(old.key);
    // As above: what may lack memory comes first, so that the old entry stays unless the new one
    // takes its place.
    const std::uint32_t plainHash = IsPlain(key) ? HashOfPlain(entry.defaultText) : 0;
    const std::uint32_t oldPlainHash = IsPlain(oldKey) ? HashOfPlain(old.defaultText) : 0;
    auto* const item = m_defaults.Find(old.key);
    assert(item != nullptr && item->key == entry.key);
    assert(IsAsciiKey(oldKey) || m_foreignKeys != 0);

    if (IsPlain(oldKey))
        RemovePlain(oldPlainHash, old.defaultText);
    const bool isShared = IsPlain(key) && AddPlain(plainHash, entry.defaultText);
    m_foreignKeys += IsAsciiKey(key) ? 0 : 1;
    m_foreignKeys -= IsAsciiKey(oldKey) ? 0 : 1;
    item->key = entry.key; // equal to the one before, so the order stays
    item->value = entry.defaultText;
    m_entries.Vacate(*const_cast<Entry*>(FindUnits(HashOf(oldKey), oldKey)));
    // The slot that became free is room enough: the table does not grow here.
    const auto place = m_entries.FindOrFree(HashOf(key), [](const Entry&) { return false; });
    m_entries.Fill(place, std::move(entry));
    return isShared;
}

void LanguageTable::RemoveAll()
{
    m_defaults.RemoveAll();
    m_entries.Clear();
    m_plainTexts.Clear();
    m_foreignKeys = 0;
}

// The hash of a text that is to be counted, and room for it.
std::uint32_t LanguageTable::HashOfPlain(const WString& text)
{
    m_plainTexts.Reserve(m_plainTexts.Count() + 1);
    m_collationKey.clear();
    platform::AppendCollationKey(text, text.Length(), platform::ECase::Ignored, m_collationKey);
    const auto hash =
        static_cast<std::uint32_t>(platform::SeededHash(std::string_view(m_collationKey)));
    m_plainTexts.Expect(hash);
    return hash;
}

bool LanguageTable::AddPlain(std::uint32_t hash, const WString& text) noexcept
{
    const auto place = m_plainTexts.FindOrFree(hash, [&](const PlainText& known) {
        return m_plainTexts.HasHash(known, hash) && HasText(known.text, text);
    });
    if (place.isFree) {
        m_plainTexts.Fill(place, {1, text});
        return false;
    }
    ++place.entry->count;
    return true;
}

void LanguageTable::RemovePlain(std::uint32_t hash, const WString& text) noexcept
{
    PlainText* const slot = m_plainTexts.Find(hash, [&](const PlainText& known) {
        return m_plainTexts.HasHash(known, hash) && HasText(known.text, text);
    });
    assert(slot != nullptr);
    if (slot->count > 1)
        --slot->count;
    else
        m_plainTexts.Vacate(*slot);
}
