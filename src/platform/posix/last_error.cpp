#include "platform/posix/last_error.h"

#include <cerrno>

using namespace zv::platform::posix;

namespace {

// Numbers that no caller tests for and that platform/win32.h therefore does not name.
constexpr DWORD kNotSameDevice = 17;
constexpr DWORD kBusy = 170;
constexpr DWORD kBadProgramFormat = 193;
constexpr DWORD kFileTooLarge = 223;
constexpr DWORD kCannotResolveName = 1921;

constinit thread_local DWORD lastError = 0;

} // namespace

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD error) {
    lastError = error;
}

namespace zv::platform::posix {

DWORD errorFromErrno(int number, DWORD fault) noexcept {
    switch (number) {
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
        return ERROR_ACCESS_DENIED;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case ENOMEM:
        return ERROR_OUTOFMEMORY;
    case EXDEV:
        return kNotSameDevice;
    case EIO:
        return fault;
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case EEXIST:
        return ERROR_FILE_EXISTS;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    case ENOSPC:
    case EDQUOT:
        return ERROR_DISK_FULL;
    case EBUSY:
        return kBusy;
    case ENOEXEC:
        return kBadProgramFormat;
    case ENOTEMPTY:
        return ERROR_DIR_NOT_EMPTY;
    case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
    case EFBIG:
        return kFileTooLarge;
    case ENOSYS:
    case EOPNOTSUPP:
        return ERROR_NOT_SUPPORTED;
    case ELOOP:
        return kCannotResolveName;
    default:
        return ERROR_GEN_FAILURE;
    }
}

void setErrorFromErrno(int number, DWORD fault) noexcept {
    SetLastError(errorFromErrno(number, fault));
}

} // namespace zv::platform::posix
