// Decimal numbers of any size: a big integer and the number of its digits that stand behind the
// point.
//
// A big decimal belongs to one thread at a time, unless nobody changes it. Operations change the
// object in place; one that throws has left it as it was. Want of memory is std::bad_alloc.
#ifndef ZVSUPPORT_LANG_BIG_DECIMAL_H
#define ZVSUPPORT_LANG_BIG_DECIMAL_H

#include "lang/big_integer.h"
#include "lang/number.h"
#include "lang/string.h"

#include <cstdint>

namespace ZVCL {

// unscaled * 10^-scale, the scale 0 or more. 1.5 and 1.50 are two objects of one value.
class CZvBigDecimal : public CZvNumber {
public:
    CZvBigDecimal() noexcept = default; // zero, scale 0
    CZvBigDecimal(const CZvBigDecimal& other) = default;
    CZvBigDecimal(CZvBigDecimal&& other) noexcept = default;
    // Throws EZvRangeError for a scale below 0.
    CZvBigDecimal(const CZvBigInteger& unscaled, std::int32_t scale);
    explicit CZvBigDecimal(std::int32_t value); // scale 0
    // The double's six first decimals, rounded: 1.5 has scale 1. Throws EZvException "Number Format
    // Exception" for infinities and what is no number.
    explicit CZvBigDecimal(double value);
    // Digits with an optional "-" in front and an optional ".". Zeros at the end of the decimals do
    // not count, but one is kept when there is nothing else. Throws as CZvBigInteger's does.
    explicit CZvBigDecimal(const CZvString& text);
    CZvBigDecimal& operator=(const CZvBigDecimal& other) = default;
    CZvBigDecimal& operator=(CZvBigDecimal&& other) noexcept = default;
    ~CZvBigDecimal() override = default;

    const CZvBigInteger& getUnscaled() const noexcept { return unscaled; }
    std::int32_t getScale() const noexcept { return scale; }
    // A smaller scale cuts digits off, towards zero. EZvRangeError for one below 0.
    void setScale(std::int32_t newScale);
    // The result has the larger of the two scales.
    void subtract(const CZvBigDecimal& other);

    // ----- CZvNumber

    std::int64_t
    int64Value() const override;         // cut towards zero; beyond 64 bits the nearest there is
    double doubleValue() const override; // the nearest
    // -1, 0 or 1. Throws EZvCastFailed for an object that is no number.
    std::int32_t compareTo(const CZvObject& other) const override;
    CZvString toString() const override;         // 123.45, 0.005, -0.5
    CZvBigInteger toBigInteger() const override; // cut towards zero
    CZvBigDecimal toBigDecimal() const override { return *this; }
    virtual std::int32_t byteLength() const { return unscaled.byteLength(); }

private:
    void parse(const CZvString& text);

    CZvBigInteger unscaled;
    std::int32_t scale = 0;
};

} // namespace ZVCL

#endif
