#include "lang/big_decimal.h"

#include "lang/big_integer.h"
#include "lang/exception.h"
#include "lang/integer32.h"
#include "lang/schoolbook.h"
#include "lang/string.h"

#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

CZvBigDecimal decimal(std::u16string_view text) {
    return CZvBigDecimal(CZvString(text));
}

TEST(BigDecimal, ReadsAndWritesText) {
    const struct {
        const char16_t* text;
        const char16_t* unscaled; // null: "Number Format Exception"
        std::int32_t scale;
        const char16_t* written;
    } rows[] = {
        {u"3.1400", u"314", 2, u"3.14"},
        {u".5", u"5", 1, u"0.5"},
        {u"-.5", u"-5", 1, u"-0.5"},
        {u"5.", u"5", 0, u"5"},
        {u"123.45", u"12345", 2, u"123.45"},
        {u"0.005", u"5", 3, u"0.005"},
        {u"-0.005", u"-5", 3, u"-0.005"},
        {u"2.000", u"20", 1, u"2.0"},
        {u"0.0", u"0", 1, u"0.0"},
        {u"-0.00", u"0", 1, u"0.0"},
        {u"42", u"42", 0, u"42"},
        {u"-00042", u"-42", 0, u"-42"},
        {u"", nullptr, 0, nullptr},
        {u".", nullptr, 0, nullptr},
        {u"-", nullptr, 0, nullptr},
        {u"1.-5", nullptr, 0, nullptr},
        {u"12345678901234567890.12345678901234567890", u"123456789012345678901234567890123456789",
         19, u"12345678901234567890.1234567890123456789"},
    };
    for (const auto& row : rows) {
        try {
            const CZvBigDecimal number = decimal(row.text);
            ASSERT_NE(row.unscaled, nullptr) << CZvString(row.text).toNarrow();
            EXPECT_EQ(number.getUnscaled().toString().view(), row.unscaled);
            EXPECT_EQ(number.getScale(), row.scale);
            EXPECT_EQ(number.toString().view(), row.written);
        } catch (EZvException& exception) {
            EXPECT_EQ(row.unscaled, nullptr) << CZvString(row.text).toNarrow();
            EXPECT_EQ(exception.getMessage().view(), u"Number Format Exception");
        }
    }
}

TEST(BigDecimal, ComesFromDoublesAndGoesThere) {
    const struct {
        double value;
        const char16_t* text;
    } rows[] = {
        {1.5, u"1.5"},
        {-0.25, u"-0.25"},
        {0.0, u"0.0"},
        {3.0, u"3.0"},
        {1e-7, u"0.0"},
        {1234567.891, u"1234567.891"},
        {1e22, u"10000000000000000000000.0"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CZvBigDecimal(row.value).toString().view(), row.text);
        EXPECT_NEAR(decimal(row.text).doubleValue(), row.value, 1e-6);
    }
    EXPECT_EQ(CZvBigDecimal(std::numeric_limits<double>::max()).doubleValue(),
              std::numeric_limits<double>::max());
    EXPECT_THROW(CZvBigDecimal(std::numeric_limits<double>::infinity()), EZvException);
    EXPECT_THROW(CZvBigDecimal(std::numeric_limits<double>::quiet_NaN()), EZvException);

    CZvBigInteger huge(std::int32_t{-10});
    huge.pow(CZvBigInteger(std::int32_t{401}));
    EXPECT_EQ(CZvBigDecimal(huge, 0).doubleValue(), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(CZvBigDecimal(huge, 0).int64Value(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(CZvBigDecimal(huge, 900).doubleValue(), 0.0);
    EXPECT_EQ(decimal(u"-7.99").int64Value(), -7);
    EXPECT_EQ(decimal(u"99999999999999999999").int64Value(),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(decimal(u"-7.99").toBigInteger().toString().view(), u"-7");
    EXPECT_EQ(decimal(u"300.5").uint8Value(), 44);
    EXPECT_EQ(CZvInteger32(5).toBigDecimal().getScale(), 1); // by way of a double
}

TEST(BigDecimal, ComparesValuesNotScales) {
    EXPECT_EQ(decimal(u"1.5").compareTo(CZvBigDecimal(CZvBigInteger(std::int32_t{150}), 2)), 0);
    EXPECT_EQ(decimal(u"-0.001").compareTo(decimal(u"0")), -1);
    EXPECT_EQ(decimal(u"2").compareTo(decimal(u"1.99999999999999999999")), 1);
    EXPECT_EQ(decimal(u"7.5").compareTo(CZvInteger32(7)), 1);
    EXPECT_TRUE(decimal(u"7").equals(CZvBigInteger(std::int32_t{7})));
    EXPECT_THROW((void)decimal(u"7").compareTo(CZvString(u"7")), EZvCastFailed);
    EXPECT_EQ(decimal(u"256.0").byteLength(), 2);
    EXPECT_THROW(CZvBigDecimal(CZvBigInteger(), -1), EZvRangeError);
    CZvBigDecimal number = decimal(u"1.25");
    EXPECT_THROW(number.setScale(-1), EZvRangeError);
    EXPECT_EQ(number.toString().view(), u"1.25");
}

zv::test::Natural powerOfTen(int exponent) {
    zv::test::Natural power = {1};
    while (exponent-- > 0)
        power = zv::test::product(power, {10});
    return power;
}

CZvBigInteger bigFrom(const zv::test::Natural& magnitude, bool negative) {
    CZvBigInteger number;
    number.assignBytes(magnitude.data(), static_cast<std::int32_t>(magnitude.size()), negative);
    return number;
}

TEST(BigDecimal, AgreesWithTheSchoolbook) {
    std::mt19937 random(50);
    for (int round = 0; round < 400; ++round) {
        zv::test::Natural a(random() % 60), b(random() % 60);
        for (zv::test::Natural* number : {&a, &b}) {
            for (std::uint8_t& byte : *number)
                byte = static_cast<std::uint8_t>(random());
            *number = zv::test::trimmed(*number);
        }
        const int aScale = static_cast<int>(random() % 51),
                  bScale = static_cast<int>(random() % 51);
        const int scale = std::max(aScale, bScale);
        const zv::test::Natural left = zv::test::product(a, powerOfTen(scale - aScale));
        const zv::test::Natural right = zv::test::product(b, powerOfTen(scale - bScale));
        const bool negative = random() % 2 == 0;
        CZvBigDecimal number(bigFrom(a, negative), aScale);
        const CZvBigDecimal other(bigFrom(b, negative), bScale);
        const int order = zv::test::compare(left, right) * (negative ? -1 : 1);
        EXPECT_EQ(number.compareTo(other), order);
        number.subtract(other);
        EXPECT_EQ(number.getScale(), scale);
        const zv::test::Natural difference = zv::test::compare(left, right) >= 0
                                                 ? zv::test::difference(left, right)
                                                 : zv::test::difference(right, left);
        EXPECT_EQ(number.getUnscaled().compare(bigFrom(difference, order < 0)), 0);

        // Down by some digits.
        const int lower = static_cast<int>(random() % static_cast<unsigned>(scale + 1));
        number.setScale(lower);
        const auto [quotient, rest] = zv::test::quotient(difference, powerOfTen(scale - lower));
        EXPECT_EQ(number.getUnscaled().compare(bigFrom(quotient, order < 0)), 0);

        // The text: the digits with a point among them, and back.
        std::u16string text = zv::test::digits(quotient, 10);
        if (const auto places = static_cast<std::size_t>(lower); places > 0) {
            if (text.size() <= places)
                text.insert(0, places + 1 - text.size(), u'0');
            text.insert(text.size() - places, 1, u'.');
        }
        if (number.getUnscaled().isNegative())
            text.insert(0, 1, u'-');
        EXPECT_EQ(number.toString().view(), text);
        EXPECT_EQ(decimal(text).compareTo(number), 0);
    }
}

} // namespace
} // namespace ZVCL
