#include "core/result.h"

#include "platform/win32.h"

namespace zv::core {

ResultCode ResultFromWin32Error(std::uint32_t error) {
    switch (error) {
    case ERROR_SUCCESS:
        return kOk;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return kFileNotFound;
    case ERROR_ACCESS_DENIED:
        return kAccessDenied;
    case ERROR_INVALID_HANDLE:
        return kInvalidHandle;
    case ERROR_OUTOFMEMORY:
        return kOutOfMemory;
    case ERROR_ALREADY_EXISTS:
        return kAlreadyExists;
    default:
        return kFail;
    }
}

void throwLastError() {
    const ResultCode code = ResultFromWin32Error(GetLastError());
    throw EZvCoreException(code < 0 ? code : kFail);
}

} // namespace zv::core
