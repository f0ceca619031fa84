#pragma once

#include "core/base/BText.h"
#include "core/base/text/Units.h"
#include "core/platform/Collation.h"

// Order and equality, which are the platform's collation: what a user takes for the same text is
// the same, and lists stand as the user sorts them. Texts of the same units are equal without a
// look at their weights.

template <class String>
int BText<String>::Cmp(const String& other) const noexcept
{
    return platform::Collate(CStr(), other.CStr(), platform::ECase::Matters);
}

template <class String>
int BText<String>::ICmp(const String& other) const noexcept
{
    return platform::Collate(CStr(), other.CStr(), platform::ECase::Ignored);
}

template <class String>
bool BText<String>::Equal(const String& other) const noexcept
{
    return IsSame(other) || Cmp(other) == 0;
}

template <class String>
bool BText<String>::Equal(const Char* text) const noexcept
{
    return CmpText(text) == 0;
}

template <class String>
bool BText<String>::IEqual(const String& other) const noexcept
{
    return IsSame(other) || ICmp(other) == 0;
}

template <class String>
bool BText<String>::IEqual(const Char* text) const noexcept
{
    return platform::Collate(CStr(), NText::OrEmpty(text), platform::ECase::Ignored) == 0;
}

template <class String>
int BText<String>::CmpText(const Char* text) const noexcept
{
    return platform::Collate(CStr(), NText::OrEmpty(text), platform::ECase::Matters);
}
