#include "lang/number.h"

#include "lang/big_decimal.h"
#include "lang/big_integer.h"
#include "lang/exception.h"
#include "lang/integer32.h"
#include "lang/string.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

TEST(Integer32, HasEveryWidth) {
    struct Row {
        std::int32_t value;
        std::int8_t int8;
        std::int16_t int16;
        std::uint8_t uint8;
        std::uint16_t uint16;
        std::uint32_t uint32;
        const char16_t* text;
    };
    const Row rows[] = {
        {0, 0, 0, 0, 0, 0, u"0"},
        {-1, -1, -1, 255, 0xFFFF, 0xFFFFFFFF, u"-1"},
        {300, 44, 300, 44, 300, 300, u"300"},
        {-32769, -1, 32767, 255, 0x7FFF, 0xFFFF7FFF, u"-32769"},
        {std::numeric_limits<std::int32_t>::min(), 0, 0, 0, 0, 0x80000000, u"-2147483648"},
    };
    for (const Row& row : rows) {
        const CZvInteger32 number(row.value);
        EXPECT_EQ(number.int64Value(), row.value);
        EXPECT_EQ(number.doubleValue(), row.value);
        EXPECT_EQ(number.floatValue(), static_cast<float>(row.value));
        EXPECT_EQ(number.int8Value(), row.int8);
        EXPECT_EQ(number.int16Value(), row.int16);
        EXPECT_EQ(number.int32Value(), row.value);
        EXPECT_EQ(number.intValue(), row.value);
        EXPECT_EQ(number.uint8Value(), row.uint8);
        EXPECT_EQ(number.uint16Value(), row.uint16);
        EXPECT_EQ(number.uint32Value(), row.uint32);
        EXPECT_EQ(number.uintValue(), row.uint32);
        EXPECT_EQ(number.unsigned64(), static_cast<std::uint64_t>(std::int64_t{row.value}));
        EXPECT_EQ(number.hashCode(), row.uint32);
        EXPECT_EQ(number.toString().view(), row.text);
        EXPECT_EQ(number.toBigInteger().toString().view(), row.text);
        EXPECT_EQ(number.toBigDecimal().compareTo(number), 0);
    }
}

TEST(Integer32, ComparesByAWrappingDifference) {
    const CZvInteger32 five(5), alsoFive(5), seven(7), minusOne(-1);
    const CZvInteger32 greatest(std::numeric_limits<std::int32_t>::max());
    EXPECT_TRUE(five.equals(alsoFive));
    EXPECT_FALSE(five.equals(seven));
    EXPECT_EQ(five.compareTo(seven), -2);
    EXPECT_EQ(greatest.compareTo(minusOne), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(five.compareTo(CZvBigInteger(std::int64_t{0x100000004})), 1); // its low 32 bits
    EXPECT_THROW((void)five.compareTo(CZvString(u"5")), EZvCastFailed);
    EXPECT_THROW((void)five.equals(CZvString(u"5")), EZvCastFailed);
    EXPECT_THROW((void)five.clone(), EZvCloneNotSupported);
}

// A number that knows one rung better: every conversion over it is another.
class Percent : public CZvNumber {
public:
    std::int64_t int64Value() const override { return 1; }
    double doubleValue() const override { return 0.25; }
    std::uint64_t unsigned64() const override { return 100; }
    std::int16_t signed16() const override { return -7; }
    std::int32_t compareTo(const CZvObject&) const override { return 0; }
};

TEST(Number, ConversionsGoThroughTheRungsBelow) {
    const Percent percent;
    EXPECT_EQ(percent.uint8Value(), 100);
    EXPECT_EQ(percent.uintValue(), 100u);
    EXPECT_EQ(percent.hashCode(), 100u);
    EXPECT_EQ(percent.int16Value(), -7);
    EXPECT_EQ(percent.int32Value(), 1);
    EXPECT_EQ(percent.floatValue(), 0.25f);
    EXPECT_EQ(percent.toBigDecimal().toString().view(), u"0.25");
    EXPECT_TRUE(percent.equals(percent));
}

} // namespace
} // namespace ZVCL
