// A signed 32-bit integer as an object. It does not change: any thread may read it.
#ifndef ZVSUPPORT_LANG_INTEGER32_H
#define ZVSUPPORT_LANG_INTEGER32_H

#include "lang/number.h"
#include "lang/string.h"

#include <cstdint>

namespace ZVCL {

class CZvInteger32 : public CZvSignedInteger {
public:
    explicit CZvInteger32(std::int32_t value) noexcept : value(value) {}

    std::int64_t int64Value() const override { return value; }
    double doubleValue() const override { return value; }
    // This number minus the other's 32 bits, wrapping: the sign is the order only as far as the
    // difference fits 32 bits. Throws EZvCastFailed for an object that is no number.
    std::int32_t compareTo(const CZvObject& other) const override;
    CZvString toString() const override; // decimal

private:
    const std::int32_t value;
};

} // namespace ZVCL

#endif
