#include "tools/qdinspect/Diff.h"

#include <nlohmann/json.hpp>
#include <ostream>

// Two files of settings or texts, compared by what programs find in them: neither the place of an
// entry counts, nor the case of the names in profiles (of ASCII, which is that of nearly all).

namespace {

std::string Folded(std::string name, bool isFolded)
{
    for (char& character : name) {
        if (isFolded && character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    }
    return name;
}

} // namespace

void KeyedEntries::Entry(const Json& entry, std::uint64_t)
{
    if (entry.contains("counts") && !entry["counts"].get<bool>())
        return;
    const bool isProfile = entry.contains("section");
    std::string key;
    if (isProfile)
        key.append("[").append(entry["section"].get<std::string>()).append("] ");
    key = Folded(key.append(entry["key"].dump()), isProfile);
    std::string text = key;
    for (const char* const field : {"type", "value", "default", "translation"}) {
        if (entry.contains(field))
            text.append(" ").append(entry[field].dump());
    }
    m_entries.insert_or_assign(std::move(key), std::move(text));
}

bool KeyedEntries::TellDifferences(const KeyedEntries& now, std::ostream& out) const
{
    bool differs = false;
    const auto tell = [&](const char* sign, const std::string& text) {
        out << sign << ' ' << text << '\n';
        differs = true;
    };
    auto before = m_entries.begin();
    auto after = now.m_entries.begin();
    while (before != m_entries.end() || after != now.m_entries.end()) {
        const bool isGone = after == now.m_entries.end() ||
                            (before != m_entries.end() && before->first < after->first);
        const bool isNew = before == m_entries.end() ||
                           (after != now.m_entries.end() && after->first < before->first);
        const bool isSame = !isGone && !isNew && before->second == after->second;
        if (!isSame && !isNew)
            tell("-", before->second);
        if (!isSame && !isGone)
            tell("+", after->second);
        if (!isNew)
            ++before;
        if (!isGone)
            ++after;
    }
    return differs;
}
