#include "lang/number.h"

#include "lang/big_decimal.h"
#include "lang/big_integer.h"
#include "lang/exception.h"

namespace ZVCL {

CZvBigInteger CZvNumber::toBigInteger() const {
    return CZvBigInteger(int64Value());
}

CZvBigDecimal CZvNumber::toBigDecimal() const {
    return CZvBigDecimal(doubleValue());
}

const CZvNumber& CZvNumber::numberFrom(const CZvObject& other) {
    const auto* number = dynamic_cast<const CZvNumber*>(&other);
    if (number == nullptr)
        throw EZvCastFailed();
    return *number;
}

} // namespace ZVCL
