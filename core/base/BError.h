#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"

/// What the library throws: a code and four texts, thrown by value and caught by reference.
///
/// Argument 0 is by convention a key that begins with "$" and stands for the message in the user's
/// language, the others are its inserts. The codes stand in core/base/ErrorCodes.h; 0 means no
/// error. A BError belongs to one thread.
class QD_CORE_API BError : public BSmartObj {
public:
    /// Not explicit: a code alone is an error without arguments.
    BError(int code);
    /// A null pointer gives an empty argument.
    BError(int code, const WChar* argument0, const WChar* argument1, const WChar* argument2,
           const WChar* argument3);
    BError(int code, WString argument0, WString argument1, WString argument2, WString argument3);
    BError(const BError& other);

    // The order of the virtual functions is part of the interface.

    ~BError() override;
    [[nodiscard]] virtual int Error() const;
    /// The argument at `index`, 0 to 3; empty for any other index.
    [[nodiscard]] virtual WString Argument(int index);
    /// Throws a copy of this object.
    [[noreturn]] virtual void Throw() const;
    virtual BError& operator=(const BError& other);
    [[nodiscard]] virtual bool IsFailure() const;
    /// Throws a copy of `error` unless its code is 0.
    virtual void Check(BError& error) const;
    /// Throws an error of `code` with this object's arguments, unless `code` is 0.
    virtual void Check(int code) const;

    /// What the code and the arguments say, a sentence in English for a log or a debugger; of an
    /// application's codes the number. Empty when there is no memory for it.
    [[nodiscard]] WString Text() const noexcept;

    /// The same argument of an error that is const.
    [[nodiscard]] WString Argument(int index) const;

private:
    static constexpr int kArgumentCount = 4;

    std::int32_t m_code;
    WString m_arguments[kArgumentCount];
};

/// The system's text for the calling thread's last error; empty when it has none.
[[nodiscard]] QD_CORE_API WString GetLastErrorMessage();
