#pragma once

#include "core/platform/WideText.h"

#include "tools/qdinspect/Progress.h"

#include <cstdint>
#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

class ArchiveFile;
class Report;
class TreeSink;

/// Fields stay in the order in which they are set.
using Json = nlohmann::ordered_json;

/// Takes a file's content entry by entry.
class EntrySink {
public:
    EntrySink() = default;
    virtual ~EntrySink() = default;
    EntrySink(const EntrySink&) = delete;
    EntrySink& operator=(const EntrySink&) = delete;

    /// A field of the file; before the first entry.
    virtual void Property(const char* name, const Json& value) = 0;
    /// Whether the next entry is to be made; one that is not counts all the same.
    [[nodiscard]] virtual bool WantsEntry() { return true; }
    /// `end` is the byte, or the line, behind it.
    virtual void Entry(const Json& entry, std::uint64_t end) = 0;
    /// Records of an archive, behind its entries.
    virtual void ClassOfRecords(const std::string& /*name*/, int /*version*/,
                                std::uint64_t /*records*/, std::uint64_t /*bytes*/)
    {}
    /// What takes the trees of an archive behind its entries; null where they are not wanted.
    [[nodiscard]] virtual TreeSink* Trees(ArchiveFile&) { return nullptr; }
};

/// Writes a file's content as JSON, entry by entry, so that no more than one is in memory:
///
///     {"kind": "log", ..., "entries": [...], "damage": [...], "suspicious": [...], "whole": true}
class JsonExport : public EntrySink {
public:
    explicit JsonExport(std::ostream& out)
        : m_out(out)
    {}

    void Property(const char* name, const Json& value) override;
    void Entry(const Json& entry, std::uint64_t end) override;
    void End(const Report& report);

private:
    void BeginEntries();

    std::ostream& m_out;
    bool m_hasProperties = false;
    bool m_hasEntries = false;
};

/// What is wrong at a byte or in a line.
struct Finding {
    const char* unit; // "byte" or "line"
    std::uint64_t number;
    bool isDamage;
    std::string text;
};

/// Cuts a list where it gets long: counts its entries, and tells at the end how many are not shown.
class Cut {
public:
    /// Whether the next entry is shown.
    [[nodiscard]] bool Shows() noexcept { return m_count++ < m_most; }
    /// Whether the entry that was asked for last is, for its further lines.
    [[nodiscard]] bool IsShown() const noexcept { return m_count <= m_most; }
    void End(const char* indent, const char* entries);

private:
    friend Report;
    Cut(Report& report, std::uint64_t most)
        : m_report(&report)
        , m_most(most)
    {}

    Report* m_report;
    std::uint64_t m_most;
    std::uint64_t m_count = 0;
};

/// What an inspection tells: prints line by line, and remembers whether there was damage. What the
/// file holds goes to one stream, its damage and what is suspicious in it to the same or to others.
class Report {
public:
    Report(std::ostream& out, std::ostream& damage, std::ostream& suspicion, bool showsAll)
        : m_out(out)
        , m_damage(damage)
        , m_suspicion(suspicion)
        , m_showsAll(showsAll)
    {}

    /// Has the content written as entries instead of lines, and keeps what is wrong for its end.
    void ExportTo(EntrySink& entries) { m_export = &entries; }
    /// Has what is wrong told for other programs: "german.lng:3: ".
    void TellIn(const std::string& path) { m_path = path; }
    /// Has what is wrong stand out.
    void UseColours() noexcept { m_hasColours = true; }
    /// The bar stays the caller's and outlives this.
    void ShowProgressOn(Progress& progress) noexcept { m_progress = &progress; }
    void TellProgress(std::uint64_t done, std::uint64_t all)
    {
        if (m_progress != nullptr)
            m_progress->Show(done, all);
    }
    /// Null where nobody wants entries.
    [[nodiscard]] EntrySink* Export() const noexcept { return m_export; }
    /// The same where the next entry is wanted.
    [[nodiscard]] EntrySink* NextEntry() const
    {
        return m_export != nullptr && m_export->WantsEntry() ? m_export : nullptr;
    }
    [[nodiscard]] std::vector<Finding> Findings() const;

    [[nodiscard]] std::ostream& Line()
    {
        if (m_progress != nullptr)
            m_progress->HideForOutput();
        return m_out;
    }
    [[nodiscard]] Cut NewCut();
    /// Entries of a list that are shown.
    [[nodiscard]] std::uint64_t MostShown() const noexcept;
    void TellCut(const std::string& indent, std::uint64_t count, const char* entries);
    [[nodiscard]] bool ShowsAll() const noexcept { return m_showsAll; }
    /// Whether what the file holds is printed at all.
    [[nodiscard]] bool IsShown() const;
    /// Begins a line that tells what is damaged at that byte, or in that line, of the file.
    [[nodiscard]] std::ostream& DamageAt(std::uint64_t position);
    [[nodiscard]] std::ostream& DamageInLine(std::uint64_t number);

    /// The same for what programs read well, but nobody can have meant.
    [[nodiscard]] std::ostream& SuspicionInLine(std::uint64_t number);
    /// In another file.
    [[nodiscard]] std::ostream& SuspicionIn(const std::string& path, std::uint64_t line);

    /// Ends what was told with the file's state.
    void TellWhole();
    [[nodiscard]] bool IsWhole() const noexcept { return m_isWhole; }
    [[nodiscard]] bool IsSuspicious() const noexcept { return m_isSuspicious; }

private:
    [[nodiscard]] std::string Marked(const char* text, const char* colour) const;
    [[nodiscard]] std::ostream& Tell(bool isDamage, const char* unit, std::uint64_t number);

    std::ostream& m_out;
    std::ostream& m_damage;
    std::ostream& m_suspicion;
    std::string m_path; // empty unless it stands before what is wrong
    bool m_showsAll;
    bool m_isWhole = true;
    bool m_isSuspicious = false;
    bool m_hasColours = false;
    Progress* m_progress = nullptr;
    EntrySink* m_export = nullptr;
    std::vector<Finding> m_findings; // for the export; their texts, a line each, are in m_texts
    std::ostringstream m_texts;
};

/// A text as a report shows it: UTF-8 in quotes, with escapes for what a terminal does not print as
/// it is, so that no file can act on the terminal.
[[nodiscard]] std::string Quoted(platform::WideView text);
/// A text in the ANSI code page.
[[nodiscard]] std::string Quoted(std::string_view text);

/// What stands there for a character that a terminal or a page would not show as it is; empty for
/// all others.
[[nodiscard]] std::string EscapeOf(char32_t character);

/// A text as it is, in UTF-8. Half of a surrogate pair becomes U+FFFD.
[[nodiscard]] std::string Utf8(platform::WideView text);
[[nodiscard]] std::string Utf8(std::string_view text);

/// A text from UTF-8. Each byte that is part of no character becomes U+FFFD and adds to `faults`.
[[nodiscard]] platform::WideText FromUtf8(std::string_view bytes, std::uint64_t& faults);
