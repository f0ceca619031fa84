#include "tools/qdinspect/Html.h"

#include "tools/qdinspect/Report.h"

#include <bit>

namespace {

// The character at `i`, which moves behind it. The text is UTF-8 that this program made.
char32_t TakeCharacter(std::string_view utf8, std::size_t& i)
{
    const auto lead = static_cast<unsigned char>(utf8[i++]);
    if (lead < 0x80)
        return lead;
    const int size = std::countl_one(lead);
    char32_t character = lead & (0x7Fu >> size);
    for (int byte = 1; byte < size && i < utf8.size(); ++byte)
        character = character << 6 | (static_cast<unsigned char>(utf8[i++]) & 0x3Fu);
    return character;
}

const char* Entity(char32_t character)
{
    switch (character) {
    case U'&': return "&amp;";
    case U'<': return "&lt;";
    case U'>': return "&gt;";
    case U'"': return "&quot;";
    case U'\'': return "&#39;";
    default: return nullptr;
    }
}

std::string ToHtml(std::string_view utf8, std::string_view before, std::string_view behind)
{
    std::string html;
    for (std::size_t i = 0; i < utf8.size();) {
        const std::size_t start = i;
        const char32_t character = TakeCharacter(utf8, i);
        if (const char* const entity = Entity(character))
            html += entity;
        else if (const std::string escape = EscapeOf(character); !escape.empty())
            html.append(before).append(escape).append(behind);
        else
            html.append(utf8.substr(start, i - start));
    }
    return html;
}

} // namespace

std::string Html(std::string_view utf8)
{
    return ToHtml(utf8, "<span class=\"escape\">", "</span>");
}

std::string PlainHtml(std::string_view utf8)
{
    return ToHtml(utf8, "", "");
}

std::string QuotedHtml(std::string_view utf8)
{
    return "<q>" + Html(utf8) + "</q>";
}
