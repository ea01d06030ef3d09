// The exception family of the class library, and the frame that turns whatever was thrown into a
// result code.
//
// Exceptions are thrown by value and caught by reference; their reference count is never used. An
// exception is never shared between threads.
#ifndef ZVSUPPORT_LANG_EXCEPTION_H
#define ZVSUPPORT_LANG_EXCEPTION_H

#include "core/result.h"
#include "lang/object.h"
#include "lang/string.h"

#include <cstdint>
#include <new>
#include <utility>

namespace ZVCL {

class EZvException : public CZvObject {
public:
    EZvException() noexcept = default;
    explicit EZvException(const CZvString& message) noexcept : message(message) {}

    virtual CZvString getMessage() const;
    // The code that the exception stands for; here kFail.
    virtual ResultCode getResult() const;

private:
    CZvString message;
};

// A result code of the core layer or of an interface method, on its way through the class library.
class EZvResultException : public EZvException {
public:
    explicit EZvResultException(ResultCode code) noexcept : result(code) {}
    EZvResultException(ResultCode code, const CZvString& message) noexcept
        : EZvException(message), result(code) {}

    ResultCode getResult() const override;

private:
    ResultCode result;
};

class EZvOutOfMemory : public EZvException, public std::bad_alloc {
public:
    ResultCode getResult() const override; // kOutOfMemory
    const char* what() const noexcept override;
};

// Those that inherit the constructors take a message; the others are made without one.
class EZvCastFailed : public EZvException {};
class EZvClassNotFound : public EZvException {
    using EZvException::EZvException;
};
class EZvCloneNotSupported : public EZvException {};
class EZvIllegalAccess : public EZvException {};
class EZvIllegalState : public EZvException {};
class EZvInvalidCharacter : public EZvException {
    using EZvException::EZvException;
};
class EZvInvalidPath : public EZvException {
    using EZvException::EZvException;
};
class EZvIOError : public EZvException {
    using EZvException::EZvException;
};
class EZvIOTimeout : public EZvIOError {};
class EZvRangeError : public EZvException {
    using EZvException::EZvException;
};
class EZvReadOnly : public EZvException {};
class EZvUnexpectedEOF : public EZvException {};
class EZvUnknownEncoding : public EZvException {
    using EZvException::EZvException;
};
class EZvUnmappableCharacter : public EZvException {};
class EZvUnsupportedOperation : public EZvException {};

class EZvExternal : public EZvException {
public:
    std::uint32_t externalCode = 0;
};
class EZvIntError : public EZvExternal {};
class EZvIntDivByZero : public EZvIntError {};
class EZvIntOverflow : public EZvIntError {};

// Named in the class table for the sake of those who look them up; nothing throws them.
class EZvAccessViolation : public EZvExternal {};
class EZvArrayBounds : public EZvExternal {};
class EZvIllegalInstruction : public EZvExternal {};
class EZvMathError : public EZvExternal {};
class EZvMathDivByZero : public EZvMathError {};
class EZvMathInvalidOp : public EZvMathError {};
class EZvMathOverflow : public EZvMathError {};
class EZvMathUnderflow : public EZvMathError {};
class EZvStackOverflow : public EZvExternal {};
class EZvUserAbort : public EZvExternal {};

// Throws EZvResultException with `code`, without a message.
[[noreturn]] void throwResult(ResultCode code);

// Throws EZvResultException with `code` when it is negative; answers it otherwise.
inline ResultCode throwIfFailed(ResultCode code) {
    if (code < 0)
        throwResult(code);
    return code;
}

// Runs body (which answers a ResultCode) and lets nothing out but a code: an EZvException's
// getResult(), kOutOfMemory for std::bad_alloc, kFail for anything else (a core exception among
// them: calls of the core layer answer codes, which are checked where they are made).
template <typename Body>
ResultCode resultFrame(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (EZvException& exception) {
        return exception.getResult();
    } catch (std::bad_alloc&) {
        return zv::core::kOutOfMemory;
    } catch (...) {
        return zv::core::kFail;
    }
}

} // namespace ZVCL

#endif
