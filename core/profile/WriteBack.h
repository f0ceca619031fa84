#pragma once

#include "core/base/WString.h"
#include "core/platform/WideText.h"
#include "core/profile/PendingDefaults.h"

#include <cassert>
#include <optional>

/// A default on its way from a reader through the virtual writers of its object into the file: what
/// the reader found in its place, so that the write leaves alone what somebody else put there
/// meanwhile. Lives on the reader's stack; readers that a writer calls nest theirs.
class WriteBack {
public:
    /// While the reader still looks. `pending` is the reader's object's, and outlives this, as does
    /// `key`.
    WriteBack(PendingDefaults& pending, const WString& section, const WString& key)
        : m_pending(pending)
        , m_outer(pending.innermost)
        , m_section(section)
        , m_key(key)
    {
        m_pending.innermost = this;
    }
    /// For a reader that has `found` this in the file.
    WriteBack(PendingDefaults& pending, const WString& section, const WString& key,
              const WString& found)
        : WriteBack(pending, section, key)
    {
        m_found = found;
        m_isWriting = true;
    }
    ~WriteBack()
    {
        assert(m_pending.innermost == this);
        m_pending.innermost = m_outer;
    }
    WriteBack(const WriteBack&) = delete;
    WriteBack& operator=(const WriteBack&) = delete;

    /// From now on the default is written. The reader was given `text`; what the file holds may be
    /// another text, so this says only that there is none.
    void Begin(const WString& text)
    {
        if (!m_found && text.IsEmpty())
            m_found = text;
        m_isWriting = true;
    }

    /// The file holds `text` for those who are looking for `key` in `section`.
    static void Found(const PendingDefaults& pending, const WString& section, const WString& key,
                      const WString& text)
    {
        for (WriteBack* each = pending.innermost; each != nullptr; each = each->m_outer) {
            if (!each->m_isWriting && each->IsFor(section, key))
                each->m_found = text;
        }
    }

    /// What a write of `key` in `section` may replace, empty for no or an empty text; null when it
    /// may replace anything, as that is no default or nobody told what it was made from.
    [[nodiscard]] static const WString* Replaced(const PendingDefaults& pending,
                                                 const WString& section, const WString& key)
    {
        for (const WriteBack* each = pending.innermost; each != nullptr; each = each->m_outer) {
            if (each->m_isWriting && each->IsFor(section, key))
                return each->m_found ? &*each->m_found : nullptr;
        }
        return nullptr;
    }

private:
    using View = platform::WideView; // no names that collate alike

    [[nodiscard]] bool IsFor(const WString& section, const WString& key) const
    {
        return View(m_key) == View(key) && View(m_section) == View(section);
    }

    PendingDefaults& m_pending;
    WriteBack* m_outer;
    WString m_section; // a writer may make another one current
    const WString& m_key;
    std::optional<WString> m_found;
    bool m_isWriting = false; // the reader no longer looks
};
