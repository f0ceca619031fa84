#include "core/base/BError.h"

#include "core/base/ErrorCodes.h"
#include "core/platform/FormatText.h"
#include "core/platform/SystemError.h"
#include "core/platform/WideText.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace {

using platform::WideText;
using platform::WideView;

// What an error says that has this code, and this key as argument 0. The debugger's printers have
// the same table.
struct Wording {
    int code;
    WideView key;
    WideView text;
};
constexpr Wording kWordings[] = {
    {kErrorNone, {}, QD_W("no error")},
    {kErrorGeneral, QD_W("$IDS_ErrorHint16"), QD_W("an archive could not be read or written")},
    {kErrorGeneral, QD_W("$IDS_ErrorHint61"),
     QD_W("a profile that is read only was to be changed")},
    {kErrorMemory, {}, QD_W("a memory manager has no memory left")},
    {kErrorMemory, QD_W("$IDS_ErrorHint26"), QD_W("a block is not of this memory manager")},
    {kErrorUserBreak, {}, QD_W("stopped by the user")},
    {kErrorFileNotWritten, {}, QD_W("a file was not written")},
    {kErrorNoShortPath, {}, QD_W("there is nothing at the path, or it has no short name")},
    {kErrorNoCommandExecution, {}, QD_W("nobody executes commands")},
    {kErrorLanguageKeyInvalid, {}, QD_W("a key is not valid")},
    {kErrorLanguageTextMissing, {}, QD_W("a key lacks a text")},
    {kErrorLanguageTextTwice, {}, QD_W("two keys have one text")},
    {kErrorLanguageKeyTwice, {}, QD_W("a key is there already")},
    {kErrorLanguageLines, {}, QD_W("lines of a language file have faults")},
};

const Wording* FindWording(int code, WideView key)
{
    const auto* const found = std::ranges::find_if(kWordings, [&](const Wording& wording) {
        return wording.code == code && wording.key == key;
    });
    return found != std::end(kWordings) ? found : nullptr;
}

WideText NumberOf(int code)
{
    WChar digits[platform::kIntegerTextRoom];
    return WideText(QD_W("error ")).append(digits, platform::IntegerText(code, 10, digits));
}

} // namespace

BError::BError(int code)
    : m_code(code)
{}

BError::BError(int code, const WChar* argument0, const WChar* argument1, const WChar* argument2,
               const WChar* argument3)
    : m_code(code)
    , m_arguments{argument0, argument1, argument2, argument3}
{}

BError::BError(int code, WString argument0, WString argument1, WString argument2, WString argument3)
    : m_code(code)
    , m_arguments{std::move(argument0), std::move(argument1), std::move(argument2),
                  std::move(argument3)}
{}

BError::BError(const BError& other) = default;

BError::~BError() = default;

int BError::Error() const
{
    return m_code;
}

WString BError::Argument(int index)
{
    if (index < 0 || index >= kArgumentCount)
        return {};
    return m_arguments[index];
}

void BError::Throw() const
{
    throw BError(*this);
}

BError& BError::operator=(const BError& other) = default;

bool BError::IsFailure() const
{
    return Error() != kErrorNone;
}

void BError::Check(BError& error) const
{
    if (error.Error() != kErrorNone)
        throw BError(error);
}

void BError::Check(int code) const
{
    if (code != kErrorNone)
        throw BError(code, m_arguments[0], m_arguments[1], m_arguments[2], m_arguments[3]);
}

WString BError::Text() const noexcept
try {
    const WString key = Argument(0);
    const Wording* const ofKey = FindWording(Error(), key.CStr());
    const Wording* const wording = ofKey != nullptr ? ofKey : FindWording(Error(), {});
    WideText text = wording != nullptr ? WideText(wording->text) : NumberOf(Error());
    const WChar* mark = QD_W(": ");
    for (int i = ofKey != nullptr ? 1 : 0; i < kArgumentCount; ++i) {
        const WString argument = Argument(i);
        if (argument.IsEmpty())
            continue;
        text.append(std::exchange(mark, QD_W(", "))).append(argument.CStr());
    }
    return text.c_str();
} catch (const std::bad_alloc&) {
    return {};
}

WString BError::Argument(int index) const
{
    return const_cast<BError*>(this)->Argument(index); // a derived class may answer
}

WString GetLastErrorMessage()
{
    return platform::LastErrorText().c_str();
}
