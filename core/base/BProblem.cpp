#include "core/base/BProblem.h"

#include "core/platform/FormatText.h"
#include "core/platform/SystemError.h"
#include "core/platform/WideText.h"

#include <algorithm>
#include <iterator>
#include <new>

// The words are put together when somebody asks for them, not where something fails: a reader of
// settings may miss a thousand keys that nobody asks about.

namespace {

using platform::WideText;
using platform::WideView;

// "%n" is the name, "%=" the number, "%#" that of an object, which is not 0, "%@" the position,
// "%d" the detail and "%s" what the system says. What stands in brackets is left out where one of
// them in it is missing.
struct Wording {
    EProblem code;
    WideView text;
};
constexpr Wording kWordings[] = {
    {EProblem::NotThere, QD_W("not there[ (%s)]")},
    {EProblem::NoPermission, QD_W("no permission[ (%s)]")},
    {EProblem::NoRoom, QD_W("no room to write[ (%s)]")},
    {EProblem::InUse, QD_W("in use by another program[ (%s)]")},
    {EProblem::Memory, QD_W("memory ran out")},
    {EProblem::System, QD_W("the system failed[ (%s)]")},
    {EProblem::OtherKind, QD_W("no %n")},
    {EProblem::NewerFormat, QD_W("format %=, which is newer than this program")},
    {EProblem::Damaged, QD_W("damaged[ at byte %@][, in object %#][ of \"%n\"]")},
    {EProblem::OtherDocument, QD_W("a document of \"%n\", not of \"%d\"")},
    {EProblem::OtherArchive, QD_W("written by \"%n\", not by \"%d\"")},
    {EProblem::OldDocument, QD_W("version %= of its document, older than %d")},
    {EProblem::NoSuchObject, QD_W("no object \"%n\"")},
    {EProblem::UnknownClass, QD_W("[object %# at byte %@ is ]of \"%n\", which is not registered")},
    {EProblem::ObjectUnread, QD_W("an object[ (%#[ of \"%n\"] at byte %@)] cannot be read")},
    {EProblem::ObjectRefused, QD_W("object[ %#] of \"%n\" refuses itself[; %d]")},
    {EProblem::TooDeep, QD_W("objects are nested deeper than the stack reaches")},
    {EProblem::ObjectUnwritten, QD_W("object[ %#][ of \"%n\"] cannot be written")},
    {EProblem::NoValue, QD_W("no value[ under \"%n\"][ in section \"%d\"]")},
    {EProblem::OtherValue, QD_W("no such value under \"%n\"[ in section \"%d\"]")},
    {EProblem::OutOfRange, QD_W("%= under \"%n\"[ in section \"%d\"] is out of range")},
    {EProblem::KeyInvalid, QD_W("line %@: \"%n\" is no key")},
    {EProblem::KeyTwice, QD_W("line %@: the key \"%n\" is there already")},
    {EProblem::TextMissing, QD_W("line %@: \"%n\" lacks a text")},
    {EProblem::TextTwice, QD_W("line %@: another key has the text of \"%n\"")},
};

WideText Digits(std::int64_t number)
{
    WChar digits[platform::kIntegerTextRoom];
    return {digits, platform::IntegerText(number, 10, digits)};
}

// Without the line end that some systems put there.
WideText SystemText(int error)
{
    WideText text = error != 0 ? platform::ErrorText(error) : WideText();
    text.erase(text.find_last_not_of(QD_W("\r\n .")) + 1);
    return text;
}

WideText Insert(const BProblem& problem, WChar sign)
{
    switch (sign) {
    case '=': return Digits(problem.number);
    case '#': return problem.number != 0 ? Digits(problem.number) : WideText();
    case '@':
        return problem.position != BProblem::kNowhere
                   ? Digits(static_cast<std::int64_t>(problem.position))
                   : WideText();
    case 's': return SystemText(problem.systemError);
    default: return (sign == 'n' ? problem.name : problem.detail).CStr();
    }
}

// Appends the wording up to a bracket that closes, and takes it off `rest`; false when an insert of
// it is empty. A bracket within another is left out alone.
bool AppendUpToBracket(WideText& out, WideView& rest, const BProblem& problem)
{
    bool isWhole = true;
    while (!rest.empty()) {
        const WChar unit = rest.front();
        rest.remove_prefix(1);
        if (unit == ']')
            break;
        if (unit == '[') {
            WideText part;
            if (AppendUpToBracket(part, rest, problem))
                out += part;
        } else if (unit == '%') {
            const WideText insert = Insert(problem, rest.front());
            isWhole = isWhole && !insert.empty();
            out += insert;
            rest.remove_prefix(1);
        } else {
            out += unit;
        }
    }
    return isWhole;
}

EProblem ProblemOf(platform::EFailure failure)
{
    using platform::EFailure;
    switch (failure) {
    case EFailure::Missing: return EProblem::NotThere;
    case EFailure::Denied: return EProblem::NoPermission;
    case EFailure::NoRoom: return EProblem::NoRoom;
    case EFailure::NoMemory: return EProblem::Memory;
    case EFailure::InUse: return EProblem::InUse;
    case EFailure::None: // it did not say why
    case EFailure::Other: break;
    }
    return EProblem::System;
}

} // namespace

BProblem BProblem::OfSystem()
{
    return OfSystem(platform::LastErrorCode());
}

BProblem BProblem::OfSystem(std::int32_t systemError)
{
    return {.code = ProblemOf(platform::FailureOf(systemError)), .systemError = systemError};
}

WString BProblem::Text() const noexcept
try {
    const auto* const wording = std::ranges::find(kWordings, code, &Wording::code);
    if (wording == std::end(kWordings))
        return {};
    WideText text = path.CStr();
    if (!text.empty())
        text += QD_W(": ");
    WideView rest = wording->text;
    AppendUpToBracket(text, rest, *this);
    return text.c_str();
} catch (const std::bad_alloc&) {
    return {};
}
