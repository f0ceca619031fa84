#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// A text in UTF-8 as HTML shows it between tags, with marked escapes for what a browser would not
/// show as it is. It has tags of its own, so it is nothing for an attribute or a title.
[[nodiscard]] std::string Html(std::string_view utf8);

/// The same without marks, as a title or an attribute in quotes takes it.
[[nodiscard]] std::string PlainHtml(std::string_view utf8);

/// A text in quotes, so that one without characters is seen.
[[nodiscard]] std::string QuotedHtml(std::string_view utf8);
