// Integers of any size.
//
// A big integer belongs to one thread at a time, unless nobody changes it. Operations change the
// object in place; one that throws has left it as it was. Want of memory, and a result of more than
// 2^31 - 1 bytes, is std::bad_alloc.
#ifndef ZVSUPPORT_LANG_BIG_INTEGER_H
#define ZVSUPPORT_LANG_BIG_INTEGER_H

#include "lang/natural.h"
#include "lang/number.h"
#include "lang/string.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace ZVCL {

// Sign and magnitude. The magnitude's bytes lie with the least significant one first; the one at
// the top is never zero, and zero has none and is not negative.
class CZvBigInteger : public CZvNumber {
public:
    CZvBigInteger() noexcept = default; // zero
    CZvBigInteger(const CZvBigInteger& other);
    CZvBigInteger(CZvBigInteger&& other) noexcept; // leaves the other zero
    explicit CZvBigInteger(std::uint32_t value);
    explicit CZvBigInteger(std::int32_t value);
    explicit CZvBigInteger(std::int64_t value);
    // Reads digits of a radix from 2 to 36, in either case of letters, behind an optional "-".
    // Throws EZvException "Number Format Exception" for a "-" elsewhere and a text without a digit,
    // EZvRangeError for another radix. From the left, behind leading zeros and what makes their
    // number one of three, characters go by threes: of three, those from the first that is no digit
    // on count for nothing.
    explicit CZvBigInteger(const CZvString& text, std::int32_t radix = 10);
    CZvBigInteger& operator=(const CZvBigInteger& other);
    CZvBigInteger& operator=(CZvBigInteger&& other) noexcept;
    ~CZvBigInteger() override = default;

    static CZvBigInteger zero() { return CZvBigInteger(); }
    static CZvBigInteger one() { return CZvBigInteger(std::int32_t{1}); }

    void assign(const CZvBigInteger& other);
    void assign(std::int32_t value);
    // A magnitude of `count` bytes, the least significant one first. EZvRangeError for a count
    // below 0.
    void assignBytes(const std::uint8_t* bytes, std::int32_t count, bool negative);

    bool isNegative() const noexcept { return negative != 0; }
    bool isZero() const noexcept { return length == 0; }
    void negate() noexcept;
    void abs() noexcept { negative = 0; }
    // Sets a bit of the magnitude. EZvRangeError for a number below 0.
    void setBit(std::int32_t bit);
    // The bits of the magnitude up to its highest one; 0 for zero.
    std::int64_t bitLength() const noexcept;

    // -1, 0 or 1.
    std::int32_t compare(const CZvBigInteger& other) const noexcept;
    // The other may be this very object.
    void add(const CZvBigInteger& other);
    void subtract(const CZvBigInteger& other);
    void multiply(const CZvBigInteger& other);
    // This becomes the quotient, cut towards zero; remainder becomes what the magnitudes leave,
    // which is never negative. Throws EZvIntDivByZero. The divisor may be any of the three; a
    // remainder that is this very object ends as the remainder.
    void divide(const CZvBigInteger& divisor, CZvBigInteger& remainder);
    // To the power of 0 everything is 1. Throws EZvException "Negative Exponent".
    void pow(const CZvBigInteger& exponent);

    // In a radix from 2 to 36, with lower-case letters; EZvRangeError for another.
    CZvString toString(std::int32_t radix) const;

    // The magnitude's bytes, the least significant one first; byteLength() of them, until the
    // object changes. Null for a zero that never was anything else.
    const std::uint8_t* getBytes() const noexcept {
        return reinterpret_cast<const std::uint8_t*>(limbs.get());
    }
    std::int32_t getCapacity() const noexcept { return capacity; } // allocated bytes

    // ----- CZvNumber

    // The low 63 bits of the magnitude, negated for a negative value.
    std::int64_t int64Value() const override;
    double doubleValue() const override; // of int64Value
    // Throws EZvCastFailed for an object that is no number.
    std::int32_t compareTo(const CZvObject& other) const override;
    CZvString toString() const override { return toString(10); }
    CZvBigInteger toBigInteger() const override { return *this; }
    CZvBigDecimal toBigDecimal() const override; // scale 0
    virtual std::int32_t byteLength() const { return length; }

private:
    using Limb = natural::Limb;

    std::size_t limbCount() const noexcept {
        return (static_cast<std::size_t>(length) + sizeof(Limb) - 1) / sizeof(Limb);
    }
    bool hasRoom(std::size_t count) const noexcept {
        return count <= static_cast<std::size_t>(capacity) / sizeof(Limb);
    }
    // Room for `count` limbs; the value stays.
    void reserve(std::size_t count);
    // The limbs below `count` are the new magnitude: finds its length.
    void normalise(std::size_t count) noexcept;
    void assignMagnitude(std::uint64_t magnitude, bool isNegative);
    void setBytes(const std::uint8_t* bytes, std::size_t count);
    void addMagnitude(const CZvBigInteger& other);
    // this := ±(|this| - |other|)
    void subtractMagnitude(const CZvBigInteger& other);
    void multiplyAndAdd(Limb factor, Limb summand);
    void parseDigits(std::u16string_view digits, std::int32_t radix);

    std::int32_t negative = 0; // 0 or 1
    std::int32_t length = 0;
    std::int32_t capacity = 0;
    // The bytes, eight (or four) at a time; those above the length are zero up to a whole limb.
    std::unique_ptr<Limb[]> limbs;
};

} // namespace ZVCL

#endif
