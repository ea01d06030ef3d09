// Numbers as objects: one ladder of conversions that every number has.
//
// A number does not lock: one thread at a time, unless nobody changes it.
#ifndef ZVSUPPORT_LANG_NUMBER_H
#define ZVSUPPORT_LANG_NUMBER_H

#include "lang/object.h"

#include <cstdint>

namespace ZVCL {

class CZvBigDecimal;
class CZvBigInteger;

// A number says what it is as 64 bits and as a double; every other width follows. The conversions
// go through the second group, so that a class that knows one of its rungs better changes every
// conversion that uses it.
class CZvNumber : public CZvObject {
public:
    virtual std::int64_t int64Value() const = 0;
    virtual double doubleValue() const = 0;
    // Narrower values keep the low bits.
    virtual std::int8_t int8Value() const { return signed8(); }
    virtual std::int16_t int16Value() const { return signed16(); }
    virtual std::int32_t int32Value() const { return signed32(); }
    virtual std::int32_t intValue() const { return signed32(); }
    virtual std::uint8_t uint8Value() const { return unsigned8(); }
    virtual std::uint16_t uint16Value() const { return unsigned16(); }
    virtual std::uint32_t uint32Value() const { return unsigned32(); }
    virtual std::uint32_t uintValue() const { return unsigned32(); }
    virtual float floatValue() const { return static_cast<float>(doubleValue()); }
    virtual CZvBigInteger toBigInteger() const; // from int64Value
    virtual CZvBigDecimal toBigDecimal() const; // from doubleValue

    virtual std::int8_t signed8() const { return static_cast<std::int8_t>(int64Value()); }
    virtual std::int16_t signed16() const { return static_cast<std::int16_t>(int64Value()); }
    virtual std::int32_t signed32() const { return static_cast<std::int32_t>(int64Value()); }
    virtual std::uint8_t unsigned8() const { return static_cast<std::uint8_t>(unsigned64()); }
    virtual std::uint16_t unsigned16() const { return static_cast<std::uint16_t>(unsigned64()); }
    virtual std::uint32_t unsigned32() const { return static_cast<std::uint32_t>(unsigned64()); }
    virtual std::uint64_t unsigned64() const { return static_cast<std::uint64_t>(int64Value()); }

    // Whether compareTo answers 0; throws what that throws.
    bool equals(const CZvObject& other) const override { return compareTo(other) == 0; }
    std::uint32_t hashCode() const override { return uintValue(); }

protected:
    // The other one as a number. Throws EZvCastFailed for an object that is none.
    static const CZvNumber& numberFrom(const CZvObject& other);
};

class CZvSignedInteger : public CZvNumber {};

} // namespace ZVCL

#endif
