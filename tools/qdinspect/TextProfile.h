#pragma once

#include "core/platform/WideText.h"

#include <string_view>

/// A line of a text profile. The views are into the line.
struct TextLine {
    enum EKind { Empty, Comment, Section, Key, Other };

    EKind kind = Empty;
    platform::WideView name; // of the section or the key; the line of another kind
    platform::WideView value;
    bool isClosed = true; // a bracket ends the name of the section
};

[[nodiscard]] TextLine ParseLine(platform::WideView line);

/// Names go without regard to case: of ASCII here, which is that of nearly all of them.
[[nodiscard]] platform::WideText Folded(platform::WideView name);

/// The type that a value was probably written with: "int", "block", "double", "bool" or "text".
[[nodiscard]] const char* TypeOf(std::string_view value);
