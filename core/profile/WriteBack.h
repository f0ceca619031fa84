#pragma once

#include "core/base/WString.h"
#include "core/platform/WChar.h"

#include <string_view>

/// A default on its way from a reader through the virtual writers of its object into the file: what
/// the reader found in its place, so that the write leaves alone what somebody else put there
/// meanwhile. Lives on the reader's stack; readers that a writer calls nest theirs.
class WriteBack {
public:
    /// `innermost` is the object's list of them and outlives this, as do `key` and `found`.
    WriteBack(const WriteBack*& innermost, const WString& section, const WString& key,
              const WString& found)
        : m_innermost(innermost)
        , m_outer(innermost)
        , m_section(section)
        , m_key(key)
        , m_found(found)
    {
        m_innermost = this;
    }
    ~WriteBack() { m_innermost = m_outer; }
    WriteBack(const WriteBack&) = delete;
    WriteBack& operator=(const WriteBack&) = delete;

    /// What a write of `key` in `section` may replace, empty for no or an empty text; null when it
    /// may replace anything, as that is no default.
    [[nodiscard]] static const WString* Replaced(const WriteBack* innermost, const WString& section,
                                                 const WString& key)
    {
        for (const WriteBack* each = innermost; each != nullptr; each = each->m_outer) {
            if (View(each->m_key) == View(key) && View(each->m_section) == View(section))
                return &each->m_found;
        }
        return nullptr;
    }

private:
    using View = std::basic_string_view<WChar>; // no names that collate alike

    const WriteBack*& m_innermost;
    const WriteBack* m_outer;
    WString m_section; // a writer may make another one current
    const WString& m_key;
    const WString& m_found;
};
