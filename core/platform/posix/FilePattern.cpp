#include "core/platform/posix/FilePattern.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace platform {

namespace {

// The steps that stand for no unit of their own. "*" and "?" are always wild in a pattern, and no
// pattern holds a separator.
constexpr WChar kAny = '*';        // any units
constexpr WChar kOne = '?';        // one unit that is no dot; nothing before a dot or the end
constexpr WChar kToLastDot = '\\'; // any units, but not the last dot
constexpr WChar kDot = '/';        // a dot; nothing at the end

constexpr WideView kDropped = u". ";

bool IsWild(WChar unit)
{
    return unit == kAny || unit == kOne;
}

WChar StepOf(WChar unit, WChar next)
{
    switch (unit) {
    case u'*': return next == u'.' ? kToLastDot : kAny;
    case u'?': return kOne;
    case u'.': return IsWild(next) ? kDot : unit;
    default: return unit;
    }
}

} // namespace

FilePattern::FilePattern(WideView pattern)
{
    const std::size_t length = pattern.find_last_not_of(kDropped) + 1;
    const WChar end = pattern.ends_with(u'.') ? u'.' : WChar(0);
    m_steps.reserve(length);
    for (std::size_t i = 0; i < length; ++i)
        m_steps += StepOf(pattern[i], i + 1 < length ? pattern[i + 1] : end);
}

bool FilePattern::Matches(WideView name) const
{
    if (name == u"." || name == u"..")
        return MatchesText(u".") || MatchesText({});
    return MatchesText(name);
}

// Goes along the name with all places of the pattern where it may stand.
bool FilePattern::MatchesText(WideView name) const
{
    const std::size_t lastDot = name.rfind(u'.');
    std::vector<bool> here(m_steps.size() + 1), next(here.size());
    here[0] = true;
    for (std::size_t i = 0;; ++i) {
        const bool isEnd = i == name.size();
        const WChar unit = isEnd ? WChar(0) : name[i];
        const bool endsPart = isEnd || unit == u'.';
        std::fill(next.begin(), next.end(), false);
        for (std::size_t at = 0; at < m_steps.size(); ++at) {
            if (!here[at])
                continue;
            const WChar step = m_steps[at];
            const bool isOptional = step == kAny || step == kToLastDot ||
                                    (step == kOne && endsPart) || (step == kDot && isEnd);
            if (isOptional)
                here[at + 1] = true;
            if (step == kAny || (step == kToLastDot && i != lastDot))
                next[at] = true;
            else if (step == unit || (step == kOne && !endsPart) || (step == kDot && unit == u'.'))
                next[at + 1] = true;
        }
        if (isEnd)
            return here.back();
        here.swap(next);
    }
}

} // namespace platform
