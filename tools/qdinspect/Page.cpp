#include "tools/qdinspect/Page.h"

#include "tools/qdinspect/Html.h"
#include "tools/qdinspect/PageParts.h"
#include "tools/qdinspect/PageTemplate.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>

// The frame of a page: head, what is wrong, the search, and then the part that the kind makes.
//
// A file is read twice: what is wrong with it, known at its end, is what a reader wants to see
// first, and beside the entry that it is about. Keeping the entries instead would keep the file in
// memory.
//
// Elements are written as they come, and texts of the file go between tags only, never into an
// attribute or a script.

namespace {

// Of nodes as of other entries. A browser shows so many at once; a hundred times as many make it
// take gigabytes.
constexpr std::uint64_t kMostEntries = 10000;
constexpr std::size_t kMostFindings = 1000;

const char* KindTitle(EKind kind)
{
    switch (kind) {
    case EKind::Archive: return "Archive";
    case EKind::BinaryProfile: return "Binary profile";
    case EKind::TextProfile: return "Text profile";
    case EKind::Language: return "Language file";
    case EKind::Log: return "Profiler's log";
    case EKind::Unknown: break;
    }
    return "";
}

std::unique_ptr<PagePart> NewPart(std::ostream& out, EKind kind, const PageSurvey& survey)
{
    switch (kind) {
    case EKind::Archive: return NewArchivePart(out, survey);
    case EKind::Language: return NewLanguagePart(out);
    case EKind::Log: return NewLogPart(out);
    default: return NewProfilePart(out);
    }
}

std::string_view Template(std::string_view from, std::string_view to)
{
    const std::string_view page = kPageTemplate;
    const std::size_t start = from.empty() ? 0 : page.find(from) + from.size();
    return page.substr(start, to.empty() ? page.npos : page.find(to) - start);
}

void WriteFact(std::ostream& out, std::string_view name, const std::string& value)
{
    out << "<div><dt>" << Html(name) << "</dt><dd>" << Html(value) << "</dd></div>\n";
}

void WriteHead(std::ostream& out, const PageSubject& subject, const PageSurvey& survey)
{
    out << "<header>\n<h1>" << Html(subject.name) << "</h1>\n<p>" << KindTitle(subject.kind)
        << " &nbsp; <span class=\"state "
        << (subject.isWhole ? "whole\">whole" : "damage\">damaged") << "</span></p>\n"
        << "<dl class=\"facts\">\n";
    for (const auto& [name, value] : survey.properties)
        WriteFact(out, name, value);
    const bool isArchive = subject.kind == EKind::Archive;
    WriteFact(out,
              isArchive                    ? "records"
              : subject.kind == EKind::Log ? "lines"
                                           : "entries",
              std::to_string(survey.entries));
    out << "</dl>\n</header>\n";
}

void WriteFindings(std::ostream& out, const std::vector<Finding>& findings, bool isDamage,
                   const char* title)
{
    const auto isWanted = [&](const Finding& finding) { return finding.isDamage == isDamage; };
    const auto count = static_cast<std::size_t>(std::ranges::count_if(findings, isWanted));
    if (count == 0)
        return;
    out << "<section>\n<h2 class=\"" << (isDamage ? "damage" : "suspicious") << "\">" << title
        << " (" << count << ")</h2>\n<ul class=\"findings\">\n";
    std::size_t written = 0;
    for (const Finding& finding : findings) {
        if (!isWanted(finding) || written++ >= kMostFindings)
            continue;
        out << "<li><a href=\"#" << finding.unit[0] << finding.number << "\">" << finding.unit
            << ' ' << finding.number << "</a>: " << Html(finding.text) << "</li>\n";
    }
    out << "</ul>\n";
    WriteLeftOut(out, count - std::min(count, kMostFindings), "of them");
    out << "</section>\n";
}

void WriteSearch(std::ostream& out)
{
    out << R"(<div class="search" role="search" hidden>
<label>Search <input type="search" id="search" autocomplete="off" aria-describedby="found"></label>
<button type="button" id="previous" aria-label="Previous match">&uarr;</button>
<button type="button" id="next" aria-label="Next match">&darr;</button>
<button type="button" id="open-all">Open all</button>
<button type="button" id="close-all">Close all</button>
<label><input type="checkbox" id="marked-only"> only what is wrong</label>
<output id="found" aria-live="polite"></output>
</div>
)";
}

std::string PropertyText(const Json& value)
{
    if (value.is_string())
        return value.get<std::string>();
    return value.at("class").get<std::string>() + ", version " + value.at("version").dump();
}

} // namespace

void PageSurvey::Property(const char* name, const Json& value)
{
    properties.emplace_back(name, PropertyText(value));
}

Page::Page(std::ostream& out, const PageSubject& subject, const PageSurvey& survey)
    : m_out(out)
    , m_subject(subject)
    , m_left(subject.showsAll ? (std::numeric_limits<std::uint64_t>::max)() : kMostEntries)
{
    for (const Finding& finding : subject.findings)
        m_findings.push_back(&finding);
    std::ranges::stable_sort(m_findings, {}, &Finding::number);
    out << Template("", "{{title}}") << PlainHtml(subject.name)
        << Template("{{title}}", "{{content}}");
    WriteHead(out, subject, survey);
    WriteSearch(out);
    out << "<main>\n";
    WriteFindings(out, subject.findings, true, "Damaged");
    WriteFindings(out, subject.findings, false, "Suspicious");
    m_part = NewPart(out, subject.kind, survey);
}

Page::~Page() = default;

bool Page::WantsEntry()
{
    const bool isWanted = m_left != 0;
    if (isWanted)
        --m_left;
    else
        ++m_leftOut;
    return isWanted;
}

void Page::Entry(const Json& entry, std::uint64_t end)
{
    const std::uint64_t start = entry.at(entry.contains("at") ? "at" : "line").get<std::uint64_t>();
    const auto number = [](const Finding* finding) { return finding->number; };
    const auto first = std::ranges::lower_bound(m_findings, start, {}, number);
    const auto last = std::ranges::lower_bound(m_findings, end, {}, number);
    m_part->Entry(entry, PagePart::Findings(first, last));
}

void Page::EndEntries()
{
    if (!m_hasEntries)
        return;
    m_hasEntries = false;
    m_part->EndEntries(m_leftOut);
}

TreeSink* Page::Trees(ArchiveFile& archive)
{
    EndEntries();
    return m_part->Trees(archive, m_subject.showsAll ? (std::numeric_limits<std::uint64_t>::max)()
                                                     : kMostEntries);
}

void Page::End()
{
    EndEntries();
    m_part->End();
    m_out << "</main>" << Template("{{content}}", "");
}

void BeginRow(std::ostream& out, const PagePart::Findings& findings)
{
    const bool isDamaged = std::ranges::any_of(findings, &Finding::isDamage);
    out << "<tr class=\"item"
        << (findings.empty() ? ""
            : isDamaged      ? " marked"
                             : " marked suspected")
        << "\">";
}

void WriteNotes(std::ostream& out, const PagePart::Findings& findings)
{
    const Finding* last = nullptr;
    for (const Finding* const finding : findings) {
        out << "<p class=\"note " << (finding->isDamage ? "damage" : "suspicious") << '"';
        if (last == nullptr || last->number != finding->number)
            out << " id=\"" << finding->unit[0] << finding->number << '"';
        out << '>' << Html(finding->text) << "</p>";
        last = finding;
    }
}

void WriteLeftOut(std::ostream& out, std::uint64_t count, const char* entries)
{
    if (count != 0)
        out << "<p class=\"left-out\">" << count << " more " << entries
            << " are left out; --all has them written</p>\n";
}

std::string HtmlOf(const Json& text)
{
    return Html(text.get_ref<const std::string&>());
}
