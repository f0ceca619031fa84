#pragma once

#include "core/base/BSharedText.h"
#include "core/platform/CharClass.h"
#include "core/platform/WChar.h"

#include <string_view>

// What the sections of `BText` ask about texts and single units. A section is the part of `BText`'s
// members that its name says, with the functions that only they need; `BText.cpp` makes them for
// both string classes.

namespace NText {

template <class Char>
using View = std::basic_string_view<Char>;

template <class Char>
View<Char> Measured(const Char* text) noexcept
{
    return View<Char>(text, platform::Length(text));
}

// Whether `predicate` holds for each unit.
template <class Char, class Predicate>
bool All(const Char* text, Predicate predicate)
{
    while (*text && predicate(*text))
        ++text;
    return !*text;
}

template <class Char>
const Char* OrEmpty(const Char* text) noexcept
{
    return text ? text : BSharedText<Char>().Text();
}

template <class Char>
auto OneOf(View<Char> set) noexcept
{
    return [set](Char unit) { return set.find(unit) != platform::kNotFound; };
}

template <class Char>
auto Exactly(Char wanted) noexcept
{
    return [wanted](Char unit) { return unit == wanted; };
}

template <class Char>
bool IsBlank(Char unit) noexcept
{
    return platform::IsSpace(unit);
}

} // namespace NText
