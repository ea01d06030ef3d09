#include "lang/big_decimal.h"

#include "lang/exception.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

namespace ZVCL {

namespace {

CZvBigInteger powerOfTen(std::int32_t exponent) {
    CZvBigInteger power(std::int32_t{10});
    power.pow(CZvBigInteger(exponent));
    return power;
}

} // namespace

CZvBigDecimal::CZvBigDecimal(const CZvBigInteger& unscaled, std::int32_t scale)
    : unscaled(unscaled), scale(scale) {
    if (scale < 0)
        throw EZvRangeError();
}

CZvBigDecimal::CZvBigDecimal(std::int32_t value) : unscaled(value) {}

CZvBigDecimal::CZvBigDecimal(double value) {
    if (!std::isfinite(value))
        throw EZvException(CZvString::literal(u"Number Format Exception"));
    // Without the run-time's locale, whose decimal point may be another.
    char text[std::numeric_limits<double>::max_exponent10 + 16];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6).ptr;
    parse(CZvString(std::u16string(text, end)));
}

CZvBigDecimal::CZvBigDecimal(const CZvString& text) {
    parse(text);
}

void CZvBigDecimal::parse(const CZvString& text) {
    const std::u16string_view whole = text.view();
    const std::size_t point = whole.find(u'.');
    if (point == whole.npos) {
        unscaled = CZvBigInteger(text);
        return;
    }
    std::u16string_view decimals = whole.substr(point + 1);
    if (!decimals.empty())
        decimals =
            decimals.substr(0, std::max<std::size_t>(decimals.find_last_not_of(u'0') + 1, 1));
    std::u16string digits(whole.substr(0, point));
    digits += decimals;
    unscaled = CZvBigInteger(CZvString(digits));
    scale = static_cast<std::int32_t>(decimals.size());
}

void CZvBigDecimal::setScale(std::int32_t newScale) {
    if (newScale < 0)
        throw EZvRangeError();
    if (newScale > scale) {
        unscaled.multiply(powerOfTen(newScale - scale));
    } else if (newScale < scale) {
        CZvBigInteger cut;
        unscaled.divide(powerOfTen(scale - newScale), cut);
    }
    scale = newScale;
}

void CZvBigDecimal::subtract(const CZvBigDecimal& other) {
    CZvBigDecimal result(*this);
    if (other.scale < scale) {
        CZvBigDecimal aligned(other);
        aligned.setScale(scale);
        result.unscaled.subtract(aligned.unscaled);
    } else {
        result.setScale(other.scale);
        result.unscaled.subtract(other.unscaled);
    }
    *this = std::move(result);
}

std::int32_t CZvBigDecimal::compareTo(const CZvObject& other) const {
    if (this == &other)
        return 0;
    CZvBigDecimal right = numberFrom(other).toBigDecimal();
    if (right.scale == scale)
        return unscaled.compare(right.unscaled);
    CZvBigDecimal left(*this);
    left.setScale(std::max(scale, right.scale));
    right.setScale(std::max(scale, right.scale));
    return left.unscaled.compare(right.unscaled);
}

CZvString CZvBigDecimal::toString() const {
    const CZvString number = unscaled.toString();
    std::u16string digits(number.view().substr(unscaled.isNegative() ? 1 : 0));
    const auto decimals = static_cast<std::size_t>(scale);
    if (decimals >= digits.size())
        digits.insert(0, decimals + 1 - digits.size(), u'0');
    if (decimals > 0)
        digits.insert(digits.size() - decimals, 1, u'.');
    if (unscaled.isNegative())
        digits.insert(0, 1, u'-');
    return CZvString(digits);
}

double CZvBigDecimal::doubleValue() const {
    const CZvString text = toString();
    const std::u16string_view wide = text.view();
    const std::string narrow(wide.begin(), wide.end());
    double value = 0;
    const auto [end, error] = std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
    // What a double cannot hold leaves the value alone: too large, or all but nothing.
    if (error == std::errc::result_out_of_range &&
        narrow.find_first_not_of("-0.") < narrow.find('.'))
        return unscaled.isNegative() ? -HUGE_VAL : HUGE_VAL;
    return value;
}

std::int64_t CZvBigDecimal::int64Value() const {
    const double value = doubleValue();
    constexpr double beyond = 9223372036854775808.0; // 2^63
    if (value >= beyond)
        return std::numeric_limits<std::int64_t>::max();
    if (value < -beyond)
        return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

CZvBigInteger CZvBigDecimal::toBigInteger() const {
    CZvBigDecimal whole(*this);
    whole.setScale(0);
    return whole.unscaled;
}

} // namespace ZVCL
