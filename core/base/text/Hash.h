#pragma once

#include "core/base/BText.h"
#include "core/platform/Collation.h"
#include "core/platform/SeededHash.h"

#include <new>
#include <string>
#include <type_traits>

// The hash for the tables of the standard library; our own dictionaries go by `BKeyTraits`.

// By the sort key, which alone is the same for texts that the collation takes for equal.
template <class String>
std::size_t BText<String>::Hash() const
{
    std::string key;
    if constexpr (std::is_same_v<String, WString>) {
        platform::AppendCollationKey(CStr(), Length(), platform::ECase::Matters, key);
    } else {
        const WString wide(Self());
        if (!wide.CStr(0) && !IsEmpty())
            throw std::bad_alloc();
        platform::AppendCollationKey(wide, wide.Length(), platform::ECase::Matters, key);
    }
    return platform::SeededHash(key.data(), key.size());
}
