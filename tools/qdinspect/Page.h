#pragma once

#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/Report.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class PagePart;

/// What a first reading of a file finds out for the head of its page.
class PageSurvey : public EntrySink {
public:
    struct ClassCount {
        std::string name;
        int version;
        std::uint64_t records;
        std::uint64_t bytes;
    };

    void Property(const char* name, const Json& value) override;
    [[nodiscard]] bool WantsEntry() override
    {
        ++entries;
        return false;
    }
    void Entry(const Json&, std::uint64_t) override {}
    void ClassOfRecords(const std::string& name, int version, std::uint64_t records,
                        std::uint64_t bytes) override
    {
        classes.push_back({name, version, records, bytes});
    }

    std::vector<std::pair<std::string, std::string>> properties; // names and values
    std::uint64_t entries = 0;
    std::vector<ClassCount> classes; // of an archive's records
};

/// What a page is about.
struct PageSubject {
    std::string name; // of the file
    EKind kind = EKind::Unknown;
    std::vector<Finding> findings;
    bool isWhole = true;
    bool showsAll = false;
};

/// Writes a file's content as one HTML page that needs nothing else, entry by entry, so that few of
/// them are in memory. Long lists are cut with a count, so that a browser can open the page.
class Page : public EntrySink {
public:
    /// All must outlive the page.
    Page(std::ostream& out, const PageSubject& subject, const PageSurvey& survey);
    ~Page() override;

    void Property(const char*, const Json&) override {}
    [[nodiscard]] bool WantsEntry() override;
    void Entry(const Json& entry, std::uint64_t end) override;
    [[nodiscard]] TreeSink* Trees(ArchiveFile& archive) override;
    void End();

private:
    void EndEntries();

    std::ostream& m_out;
    const PageSubject& m_subject;
    std::vector<const Finding*> m_findings; // by their numbers
    std::uint64_t m_left;                   // entries that are still written
    std::uint64_t m_leftOut = 0;
    std::unique_ptr<PagePart> m_part;
    bool m_hasEntries = true; // may have more
};
