// The calling thread's last error, and the way from errno to the Windows numbers.
//
// Any thread; each has its own.
#ifndef ZVSUPPORT_PLATFORM_POSIX_LAST_ERROR_H
#define ZVSUPPORT_PLATFORM_POSIX_LAST_ERROR_H

#include "platform/win32.h"

namespace zv::platform::posix {

// The Windows number for an errno value. `fault` is what a failing device (EIO) stands for:
// ERROR_READ_FAULT, ERROR_WRITE_FAULT or, where neither fits, ERROR_GEN_FAILURE. Numbers without a
// counterpart are ERROR_GEN_FAILURE.
DWORD errorFromErrno(int number, DWORD fault = ERROR_GEN_FAILURE) noexcept;

// Sets the last error to errorFromErrno(number, fault).
void setErrorFromErrno(int number, DWORD fault = ERROR_GEN_FAILURE) noexcept;

// Sets the last error and answers `failure`: the end of a call that failed.
template <typename Answer>
Answer failWith(DWORD error, Answer failure) noexcept {
    SetLastError(error);
    return failure;
}

// The frame of every call that uses memory: what is thrown inside becomes `failure` and the last
// error 14.
template <typename Answer, typename Body>
Answer guarded(Answer failure, Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return failWith(ERROR_OUTOFMEMORY, failure);
    }
}

} // namespace zv::platform::posix

#endif
