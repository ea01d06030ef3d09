#include "lang/exception.h"

namespace ZVCL {

CZvString EZvException::getMessage() const {
    return message;
}

ResultCode EZvException::getResult() const {
    return zv::core::kFail;
}

ResultCode EZvResultException::getResult() const {
    return result;
}

ResultCode EZvOutOfMemory::getResult() const {
    return zv::core::kOutOfMemory;
}

const char* EZvOutOfMemory::what() const noexcept {
    return "bad allocation";
}

void throwResult(ResultCode code) {
    throw EZvResultException(code);
}

} // namespace ZVCL
