#include "tools/qdinspect/Html.h"
#include "tools/qdinspect/PageParts.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

// Profiles and language files: tables, a row an entry.

namespace {

constexpr std::size_t kMostDigits = 128; // of a block, two a byte

// The digits of a block in pairs, so that lines break between bytes.
std::string BlockText(const std::string& digits)
{
    std::string text = std::to_string(digits.size() / 2) + " bytes";
    for (std::size_t i = 0; i < std::min(digits.size(), kMostDigits); i += 2)
        text.append(i == 0 ? ": " : " ").append(digits, i, 2);
    return text + (digits.size() > kMostDigits ? " ..." : "");
}

std::string ValueHtml(const std::string& type, const Json& value)
{
    if (!value.is_string())
        return Html(value.dump());
    if (type == "block")
        return Html(BlockText(value.get<std::string>()));
    const bool isText = type == "text" || type == "narrow text";
    return isText ? QuotedHtml(value.get<std::string>()) : HtmlOf(value);
}

class ProfilePart : public PagePart {
public:
    explicit ProfilePart(std::ostream& out)
        : m_out(out)
    {
        out << "<div class=\"scroll\">\n<table>\n<thead><tr><th scope=\"col\">Key</th>"
               "<th scope=\"col\">Type</th><th scope=\"col\">Value</th>"
               "<th scope=\"col\" class=\"optional number\">Place</th></tr></thead>\n";
    }

    void Entry(const Json& entry, const Findings& findings) override
    {
        EnterSection(entry["section"].get<std::string>());
        const bool counts = !entry.contains("counts") || entry["counts"].get<bool>();
        const std::string type = entry["type"].get<std::string>();
        BeginRow(m_out, findings);
        m_out << "<th scope=\"row\"" << (counts ? "" : " class=\"ignored\"") << '>'
              << HtmlOf(entry["key"]) << "</th><td class=\"type\">" << Html(type)
              << "</td><td class=\"value" << (counts ? "" : " ignored") << "\">"
              << ValueHtml(type, entry["value"]);
        WriteNotes(m_out, findings);
        const bool isBinary = entry.contains("at");
        m_out << "</td><td class=\"where number optional\">" << (isBinary ? "byte " : "line ")
              << entry[isBinary ? "at" : "line"].dump() << "</td></tr>\n";
    }

    void EndEntries(std::uint64_t leftOut) override
    {
        m_out << (m_hasSection ? "</tbody>\n" : "") << "</table>\n</div>\n";
        WriteLeftOut(m_out, leftOut, "values");
    }

private:
    void EnterSection(const std::string& section)
    {
        if (m_hasSection && section == m_section)
            return;
        m_out << (m_hasSection ? "</tbody>\n" : "")
              << "<tbody>\n<tr><th colspan=\"4\" scope=\"rowgroup\">[" << Html(section)
              << "]</th></tr>\n";
        m_hasSection = true;
        m_section = section;
    }

    std::ostream& m_out;
    std::string m_section;
    bool m_hasSection = false;
};

class LanguagePart : public PagePart {
public:
    explicit LanguagePart(std::ostream& out)
        : m_out(out)
    {
        out << "<div class=\"scroll\">\n<table>\n<thead><tr>"
               "<th scope=\"col\" class=\"number\">Line</th><th scope=\"col\">Key</th>"
               "<th scope=\"col\">Default text</th><th "
               "scope=\"col\">Translation</th></tr></thead>\n"
               "<tbody>\n";
    }

    void Entry(const Json& entry, const Findings& findings) override
    {
        BeginRow(m_out, findings);
        m_out << "<td class=\"where number\">" << entry["line"].dump() << "</td><th scope=\"row\">"
              << HtmlOf(entry["key"]) << "</th><td>" << TextHtml(entry["default"]) << "</td><td>"
              << TextHtml(entry["translation"]);
        WriteNotes(m_out, findings);
        m_out << "</td></tr>\n";
    }

    void EndEntries(std::uint64_t leftOut) override
    {
        m_out << "</tbody>\n</table>\n</div>\n";
        WriteLeftOut(m_out, leftOut, "entries");
    }

private:
    static std::string TextHtml(const Json& text)
    {
        return text.get_ref<const std::string&>().empty() ? "<span class=\"missing\">none</span>"
                                                          : QuotedHtml(text.get<std::string>());
    }

    std::ostream& m_out;
};

} // namespace

std::unique_ptr<PagePart> NewProfilePart(std::ostream& out)
{
    return std::make_unique<ProfilePart>(out);
}

std::unique_ptr<PagePart> NewLanguagePart(std::ostream& out)
{
    return std::make_unique<LanguagePart>(out);
}
