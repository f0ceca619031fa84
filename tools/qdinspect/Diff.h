#pragma once

#include "tools/qdinspect/Report.h"

#include <iosfwd>
#include <map>
#include <string>

/// The entries of a profile or a language file by their keys, whatever their order.
class KeyedEntries : public EntrySink {
public:
    void Property(const char*, const Json&) override {}
    /// Of two entries with one key the later counts, unless the entry says otherwise.
    void Entry(const Json& entry, std::uint64_t end) override;

    /// Prints what differs, a line a key: "-" was only there before, "+" is only there now. False
    /// when nothing does.
    [[nodiscard]] bool TellDifferences(const KeyedEntries& now, std::ostream& out) const;

private:
    std::map<std::string, std::string> m_entries; // what is printed of each
};
