// Result codes, the core exception, and the frame that turns one into the other.
//
// A result code is a signed 32-bit number: 0 success, negative failure, positive success with
// information. Inside the core layer failures travel as EZvCoreException; every core function that
// answers a code wraps its body in coreFrame().
#ifndef ZVSUPPORT_CORE_RESULT_H
#define ZVSUPPORT_CORE_RESULT_H

#include <cstdint>
#include <new>
#include <utility>

namespace zv::core {

using ResultCode = std::int32_t;

constexpr ResultCode resultFromBits(std::uint32_t bits) {
    return static_cast<ResultCode>(bits);
}

inline constexpr ResultCode kOk = 0;
inline constexpr ResultCode kFileCreated = 2; // ZvFileOpen made a new file
inline constexpr ResultCode kNotImplemented = resultFromBits(0x80004001);
inline constexpr ResultCode kNoInterface = resultFromBits(0x80004002);
inline constexpr ResultCode kPointer = resultFromBits(0x80004003);
inline constexpr ResultCode kFail = resultFromBits(0x80004005);
inline constexpr ResultCode kNoSuchBackend = resultFromBits(0x80004007);
inline constexpr ResultCode kNameTooLong = resultFromBits(0x80004009);
inline constexpr ResultCode kUnexpected = resultFromBits(0x8000FFFF);
inline constexpr ResultCode kFileNotFound = resultFromBits(0x80070002);
inline constexpr ResultCode kAccessDenied = resultFromBits(0x80070005);
inline constexpr ResultCode kInvalidHandle = resultFromBits(0x80070006);
inline constexpr ResultCode kOutOfMemory = resultFromBits(0x8007000E);
inline constexpr ResultCode kNoMoreItems = resultFromBits(0x80070026);
inline constexpr ResultCode kInvalidArgument = resultFromBits(0x80070057);
inline constexpr ResultCode kAlreadyExists = resultFromBits(0x800700B7);
inline constexpr ResultCode kTimeout = resultFromBits(0x800705B4);

// The code for a Windows error number: 0; 2 and 3 (one code for both), 5, 6, 14, 183; every other
// error is kFail.
ResultCode ResultFromWin32Error(std::uint32_t error);

// A bare holder of one result code, thrown by value and caught by reference.
class EZvCoreException {
public:
    explicit EZvCoreException(ResultCode code) : result(code) {}

    ResultCode result;
};

// Throws EZvCoreException with the code of the calling thread's last Windows error. An error number
// that maps to success (a call that failed without saying why) is thrown as kFail.
[[noreturn]] void throwLastError();

// Throws EZvCoreException with `code` when it is negative; answers it otherwise.
inline ResultCode throwIfFailed(ResultCode code) {
    if (code < 0)
        throw EZvCoreException(code);
    return code;
}

// Runs body (which answers a ResultCode) and lets nothing out but a code: an EZvCoreException's
// own, kOutOfMemory for std::bad_alloc, kFail for anything else.
template <typename Body>
ResultCode coreFrame(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (EZvCoreException& exception) {
        return exception.result;
    } catch (std::bad_alloc&) {
        return kOutOfMemory;
    } catch (...) {
        return kFail;
    }
}

} // namespace zv::core

#endif
