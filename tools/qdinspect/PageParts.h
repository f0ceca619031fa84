#pragma once

#include "tools/qdinspect/Report.h"

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

class ArchiveFile;
class PageSurvey;

/// The part of a page that is of one kind of file.
class PagePart {
public:
    using Findings = std::vector<const Finding*>; // of one entry

    PagePart() = default;
    virtual ~PagePart() = default;
    PagePart(const PagePart&) = delete;
    PagePart& operator=(const PagePart&) = delete;

    virtual void Entry(const Json& entry, const Findings& findings) = 0;
    virtual void EndEntries(std::uint64_t leftOut) = 0;
    /// What takes the trees behind the entries; null where there are none.
    [[nodiscard]] virtual TreeSink* Trees(ArchiveFile&, std::uint64_t /*mostNodes*/)
    {
        return nullptr;
    }
    virtual void End() {}
};

[[nodiscard]] std::unique_ptr<PagePart> NewArchivePart(std::ostream& out, const PageSurvey& survey);
[[nodiscard]] std::unique_ptr<PagePart> NewProfilePart(std::ostream& out);
[[nodiscard]] std::unique_ptr<PagePart> NewLanguagePart(std::ostream& out);
[[nodiscard]] std::unique_ptr<PagePart> NewLogPart(std::ostream& out);

/// Begins the row of an entry, marked where something is wrong with it.
void BeginRow(std::ostream& out, const PagePart::Findings& findings);
/// The findings of an entry, for a cell of its row.
void WriteNotes(std::ostream& out, const PagePart::Findings& findings);
/// Tells what a list was cut by.
void WriteLeftOut(std::ostream& out, std::uint64_t count, const char* entries);
/// A text of an entry as HTML.
[[nodiscard]] std::string HtmlOf(const Json& text);
