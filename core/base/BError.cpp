#include "core/base/BError.h"

#include "core/base/ErrorCodes.h"
#include "core/platform/SystemError.h"

#include <utility>

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

WString BError::Argument(int index) const
{
    return const_cast<BError*>(this)->Argument(index); // a derived class may answer
}

WString GetLastErrorMessage()
{
    return platform::LastErrorText().c_str();
}
