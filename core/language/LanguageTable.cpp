#include "core/language/LanguageTable.h"

#include "core/base/BKeyTraits.h"
#include "core/platform/Collation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <utility>

namespace {

using View = LanguageTable::View;

constexpr std::size_t kWordUnits = sizeof(std::uint64_t) / sizeof(WChar);
constexpr std::size_t kHashedUnits = 64; // longer keys take the general hash

// Drawn for the process, so that nobody can prepare keys that collide.
struct HashKeys {
    HashKeys()
    {
        std::random_device device;
        for (std::uint32_t& key : words)
            key = device();
        factor = std::uint64_t{device()} << 32 | device() | 1;
    }
    std::array<std::uint32_t, 2 * kHashedUnits / kWordUnits> words;
    std::uint64_t factor;
};

// NH: Black, Halevi, Krawczyk, Krovetz and Rogaway, "UMAC", CRYPTO 1999. Two texts collide with
// a probability of 2^-32; no 0 unit stands in a text, so the padding is unambiguous.
std::uint32_t HashOf(View text)
{
    static const HashKeys keys;
    if (text.size() > kHashedUnits)
        return static_cast<std::uint32_t>(QDSeededHash(text.data(), text.size() * sizeof(WChar)));
    std::uint64_t sum = 0;
    const std::uint32_t* key = keys.words.data();
    const auto add = [&sum, &key](std::uint64_t word) {
        const std::uint32_t low = static_cast<std::uint32_t>(word) + key[0];
        const std::uint32_t high = static_cast<std::uint32_t>(word >> 32) + key[1];
        sum += std::uint64_t{low} * high;
        key += 2;
    };
    const WChar* at = text.data();
    std::size_t left = text.size();
    for (; left >= kWordUnits; left -= kWordUnits, at += kWordUnits) {
        std::uint64_t word = 0;
        std::memcpy(&word, at, sizeof word);
        add(word);
    }
    if (left != 0) {
        std::uint64_t word = 0;
        for (; left != 0; --left)
            word = word << 16 | at[left - 1];
        add(word);
    }
    return static_cast<std::uint32_t>(sum * keys.factor >> 32);
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

std::size_t LanguageTable::KeyHash::operator()(const std::string& bytes) const
{
    return QDSeededHash(bytes.data(), bytes.size());
}

const LanguageTable::Entry* LanguageTable::Find(View key) const
{
    const Entry* const entry = FindUnits(key);
    if (entry != nullptr || (m_foreignKeys == 0 && IsAsciiKey(key)))
        return entry;
    const auto* const item = m_defaults.Find(platform::WideText(key).c_str());
    return item != nullptr ? FindUnits(ViewOf(item->key)) : nullptr;
}

bool LanguageTable::Add(Entry entry)
{
    const View key = ViewOf(entry.key); // stays where it is when the entry moves
    m_defaults.Insert(entry.key, entry.defaultText);
    m_foreignKeys += IsAsciiKey(key) ? 0 : 1;
    const bool isShared = IsPlain(key) && m_plainKeys[CollationKey(entry.defaultText)]++ != 0;
    if (m_defaults.Count() > m_slots.size() / 4 * 3)
        Grow();
    const std::uint32_t hash = HashOf(key);
    EmptySlot(hash) = {hash, static_cast<std::uint32_t>(key.size()), std::move(entry)};
    return isShared;
}

void LanguageTable::Remove(const Entry& entry)
{
    const View key = ViewOf(entry.key);
    m_foreignKeys -= IsAsciiKey(key) ? 0 : 1;
    if (IsPlain(key)) {
        const auto texts = m_plainKeys.find(CollationKey(entry.defaultText));
        if (--texts->second == 0)
            m_plainKeys.erase(texts);
    }
    m_defaults.Remove(entry.key);
    std::size_t slot = Home(HashOf(key));
    while (&m_slots[slot].entry != &entry)
        slot = Next(slot);
    RemoveSlot(slot);
}

void LanguageTable::RemoveAll()
{
    *this = LanguageTable();
}

std::size_t LanguageTable::Home(std::uint32_t hash) const noexcept
{
    return hash >> m_shift;
}

std::size_t LanguageTable::Next(std::size_t slot) const noexcept
{
    return (slot + 1) & (m_slots.size() - 1);
}

const LanguageTable::Entry* LanguageTable::FindUnits(View key) const
{
    if (m_slots.empty())
        return nullptr;
    const std::uint32_t hash = HashOf(key);
    for (std::size_t index = Home(hash); m_slots[index].length != 0; index = Next(index)) {
        const Slot& slot = m_slots[index];
        if (slot.hash == hash && slot.length == key.size() &&
            std::memcmp(slot.entry.key, key.data(), key.size() * sizeof(WChar)) == 0)
            return &slot.entry;
    }
    return nullptr;
}

LanguageTable::Slot& LanguageTable::EmptySlot(std::uint32_t hash)
{
    std::size_t slot = Home(hash);
    while (m_slots[slot].length != 0)
        slot = Next(slot);
    return m_slots[slot];
}

void LanguageTable::Grow()
{
    constexpr std::size_t kFewest = 16;
    constexpr int kShiftOfFewest = 32 - 4;

    std::vector<Slot> old(std::max(2 * m_slots.size(), kFewest));
    old.swap(m_slots);
    m_shift = old.empty() ? kShiftOfFewest : m_shift - 1;
    for (Slot& slot : old) {
        if (slot.length != 0)
            EmptySlot(slot.hash) = std::move(slot);
    }
}

// Moves up what would otherwise not be found behind the hole.
void LanguageTable::RemoveSlot(std::size_t hole)
{
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t slot = Next(hole); m_slots[slot].length != 0; slot = Next(slot)) {
        const std::size_t fromHome = (slot - Home(m_slots[slot].hash)) & mask;
        if (fromHome < ((slot - hole) & mask))
            continue;
        m_slots[hole] = std::move(m_slots[slot]);
        hole = slot;
    }
    m_slots[hole] = Slot();
}

const std::string& LanguageTable::CollationKey(const WString& text)
{
    m_collationKey.clear();
    platform::AppendCollationKey(text, text.Length(), platform::ECase::Ignored, m_collationKey);
    return m_collationKey;
}
