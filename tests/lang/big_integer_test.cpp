#include "lang/big_integer.h"

#include "lang/big_decimal.h"
#include "lang/exception.h"
#include "lang/integer32.h"
#include "lang/natural.h"
#include "lang/schoolbook.h"
#include "lang/string.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

using zv::test::Natural;

CZvBigInteger parse(std::u16string_view text, std::int32_t radix = 10) {
    return CZvBigInteger(CZvString(text), radix);
}

CZvBigInteger bigFrom(const Natural& magnitude, bool negative = false) {
    CZvBigInteger number;
    number.assignBytes(magnitude.data(), static_cast<std::int32_t>(magnitude.size()), negative);
    return number;
}

Natural magnitudeOf(const CZvBigInteger& number) {
    return Natural(number.getBytes(), number.getBytes() + number.byteLength());
}

// Numbers of many shapes: all lengths, long runs of ones and zeros, and their edges.
Natural randomNatural(std::mt19937& random, std::size_t mostBits) {
    const std::size_t bits = random() % (mostBits + 1);
    Natural number((bits + 7) / 8);
    const unsigned shape = random() % 4;
    for (std::uint8_t& byte : number) {
        const bool filled = shape == 3 ? random() % 8 != 0 : random() % 8 == 0;
        byte = static_cast<std::uint8_t>(shape < 2 ? random() : filled ? 0xFF : 0);
    }
    if (bits % 8 != 0)
        number.back() = static_cast<std::uint8_t>(number.back() & ((1u << bits % 8) - 1));
    return zv::test::trimmed(number);
}

// What must hold of any number.
void expectNormal(const CZvBigInteger& number) {
    if (number.byteLength() == 0) {
        EXPECT_FALSE(number.isNegative());
        EXPECT_EQ(number.bitLength(), 0);
    } else {
        EXPECT_NE(number.getBytes()[number.byteLength() - 1], 0);
    }
    EXPECT_LE(number.byteLength(), number.getCapacity());
}

struct Signed {
    Natural magnitude;
    bool negative;
};

Signed signedSum(const Signed& a, const Signed& b) {
    if (a.negative == b.negative)
        return {zv::test::sum(a.magnitude, b.magnitude), a.negative};
    if (zv::test::compare(a.magnitude, b.magnitude) >= 0)
        return {zv::test::difference(a.magnitude, b.magnitude), a.negative};
    return {zv::test::difference(b.magnitude, a.magnitude), b.negative};
}

void expectNumber(const CZvBigInteger& number, const Signed& expected) {
    expectNormal(number);
    EXPECT_EQ(magnitudeOf(number), expected.magnitude);
    EXPECT_EQ(number.isNegative(), expected.negative && !expected.magnitude.empty());
}

TEST(BigInteger, AgreesWithTheSchoolbook) {
    std::mt19937 random(36);
    for (int round = 0; round < 600; ++round) {
        const std::size_t bits = round % 3 == 0 ? 130 : 4000;
        const Signed a = {randomNatural(random, bits), random() % 2 == 0};
        Signed b = {randomNatural(random, round % 2 == 0 ? bits : bits / 2), random() % 2 == 0};
        if (round % 16 == 0)
            b.magnitude = a.magnitude;
        const CZvBigInteger left = bigFrom(a.magnitude, a.negative);
        const CZvBigInteger right = bigFrom(b.magnitude, b.negative);
        SCOPED_TRACE(round);

        CZvBigInteger result(left);
        result.add(right);
        expectNumber(result, signedSum(a, b));
        result = left;
        result.subtract(right);
        expectNumber(result, signedSum(a, {b.magnitude, !b.negative}));
        const bool oneIsNegative = left.isNegative() != right.isNegative();
        result = left;
        result.multiply(right);
        expectNumber(result, {zv::test::product(a.magnitude, b.magnitude), oneIsNegative});

        std::int32_t order = zv::test::compare(a.magnitude, b.magnitude);
        if (left.isNegative() != right.isNegative())
            order = left.isNegative() ? -1 : 1;
        else if (left.isNegative())
            order = -order;
        EXPECT_EQ(left.compare(right), order);
        EXPECT_EQ(left.compareTo(right), order);
        EXPECT_EQ(left.equals(right), order == 0);

        if (right.isZero() || round % 4 != 0)
            continue;
        result = left;
        CZvBigInteger remainder(std::int32_t{-77});
        result.divide(right, remainder);
        const auto [quotient, rest] = zv::test::quotient(a.magnitude, b.magnitude);
        expectNumber(result, {quotient, oneIsNegative});
        expectNumber(remainder, {rest, false});
    }
}

// Kernel and division on whichever limbs this machine does not use, with the same digits.
template <typename Limb>
class NaturalTest : public testing::Test {};
#ifdef __SIZEOF_INT128__
using LimbTypes = testing::Types<std::uint32_t, std::uint64_t>;
#else
using LimbTypes = testing::Types<std::uint32_t>;
#endif
TYPED_TEST_SUITE(NaturalTest, LimbTypes);

template <typename Limb>
std::vector<Limb> limbsOf(const Natural& number) {
    std::vector<Limb> limbs((number.size() + sizeof(Limb) - 1) / sizeof(Limb));
    std::copy(number.begin(), number.end(), reinterpret_cast<std::uint8_t*>(limbs.data()));
    return limbs;
}

template <typename Limb>
Natural bytesOf(const Limb* limbs, std::size_t count) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(limbs);
    return zv::test::trimmed(Natural(bytes, bytes + count * sizeof(Limb)));
}

TYPED_TEST(NaturalTest, MultipliesAndDividesLikeTheSchoolbook) {
    using Limb = TypeParam;
    std::mt19937 random(128);
    for (int round = 0; round < 120; ++round) {
        // Long enough for split products, of even and odd halves.
        const Natural a = randomNatural(random, 12000);
        const Natural b = randomNatural(random, 9000);
        const std::vector<Limb> left = limbsOf<Limb>(a);
        const std::vector<Limb> right = limbsOf<Limb>(b);
        std::vector<Limb> product(left.size() + right.size(), Limb{0x55});
        natural::multiply(product.data(), left.data(), left.size(), right.data(), right.size());
        ASSERT_EQ(bytesOf(product.data(), product.size()), zv::test::product(a, b));

        if (right.size() < 2 || left.size() < right.size())
            continue;
        // (a * b + r) / b for an r below b, whose answer is known.
        Natural rest = randomNatural(random, 9000);
        while (zv::test::compare(rest, b) >= 0)
            rest.pop_back(), rest = zv::test::trimmed(rest);
        const Natural dividend = zv::test::sum(zv::test::product(a, b), rest);
        std::vector<Limb> shiftedRest = limbsOf<Limb>(dividend);
        std::vector<Limb> divisor = right;
        const std::size_t count = shiftedRest.size();
        const int shift = std::countl_zero(divisor.back());
        natural::shiftLeft(divisor.data(), divisor.data(), divisor.size(), shift);
        shiftedRest.push_back(
            natural::shiftLeft(shiftedRest.data(), shiftedRest.data(), count, shift));
        std::vector<Limb> quotient(count - divisor.size() + 1);
        natural::divideShifted(quotient.data(), shiftedRest.data(), count, divisor.data(),
                               divisor.size());
        natural::shiftRight(shiftedRest.data(), shiftedRest.data(), divisor.size(), shift);
        ASSERT_EQ(bytesOf(quotient.data(), quotient.size()), a);
        ASSERT_EQ(bytesOf(shiftedRest.data(), divisor.size()), rest);
    }
}

TEST(BigInteger, ReadsAndWritesEveryRadix) {
    std::mt19937 random(2);
    for (std::int32_t radix = 2; radix <= 36; ++radix) {
        for (int round = 0; round < 12; ++round) {
            const Natural magnitude = randomNatural(random, round < 6 ? 130 : 2000);
            const CZvBigInteger number = bigFrom(magnitude, round % 2 == 0);
            std::u16string text = zv::test::digits(magnitude, static_cast<unsigned>(radix));
            if (number.isNegative())
                text.insert(text.begin(), u'-');
            EXPECT_EQ(number.toString(radix).view(), text);
            EXPECT_EQ(parse(text, radix).compare(number), 0) << radix;
            for (char16_t& ch : text)
                ch = ch >= u'a' && ch <= u'z' ? static_cast<char16_t>(ch - 32) : ch;
            EXPECT_EQ(parse(text, radix).compare(number), 0) << radix;
        }
    }
}

TEST(BigInteger, ReadsTextByThrees) {
    const struct {
        const char16_t* text;
        std::int32_t radix;
        const char16_t* value; // null: "Number Format Exception"
    } rows[] = {
        {u"-00123", 10, u"-123"},
        {u"1000000", 10, u"1000000"},
        {u"0", 10, u"0"},
        {u"-000", 10, u"0"},
        {u"12-3", 10, nullptr},
        {u"--1", 10, nullptr},
        {u"", 10, nullptr},
        {u"-", 10, nullptr},
        {u"1x2", 10, u"1"},
        {u"11x2", 10, u"1001"}, // "1", then "1x2"
        {u"5abc", 10, u"5000"},
        {u"zzz", 36, u"46655"},
        {u"FfF", 16, u"4095"},
        {u"12 34", 10, u"12034"}, // "12", then " 34", whose blank is passed over
        {u"1234567890123456789012345678901234567890", 10,
         u"1234567890123456789012345678901234567890"},
    };
    for (const auto& row : rows) {
        try {
            const CZvBigInteger number = parse(row.text, row.radix);
            ASSERT_NE(row.value, nullptr) << CZvString(row.text).toNarrow();
            EXPECT_EQ(number.toString().view(), row.value) << CZvString(row.text).toNarrow();
        } catch (EZvException& exception) {
            EXPECT_EQ(row.value, nullptr) << CZvString(row.text).toNarrow();
            EXPECT_EQ(exception.getMessage().view(), u"Number Format Exception");
        }
    }
    for (const std::int32_t radix : {-1, 0, 1, 37}) {
        EXPECT_THROW(parse(u"1", radix), EZvRangeError);
        EXPECT_THROW((void)parse(u"1").toString(radix), EZvRangeError);
    }
    EXPECT_EQ(parse(u"4096").toString(16).view(), u"1000");
}

TEST(BigInteger, HasItsFields) {
    CZvBigInteger number(std::int32_t{0xFF});
    number.add(CZvBigInteger(std::int32_t{1}));
    EXPECT_EQ(number.byteLength(), 2);
    EXPECT_EQ(number.getBytes()[1], 1);
    EXPECT_EQ(number.bitLength(), 9);
    EXPECT_EQ(CZvBigInteger(std::numeric_limits<std::int64_t>::min()).toString().view(),
              u"-9223372036854775808");
    EXPECT_EQ(CZvBigInteger(std::numeric_limits<std::int32_t>::min()).toString().view(),
              u"-2147483648");
    EXPECT_EQ(CZvBigInteger(std::uint32_t{0xFFFFFFFF}).toString().view(), u"4294967295");
    EXPECT_EQ(CZvBigInteger::one().compare(CZvBigInteger::zero()), 1);

    const std::uint8_t bytes[] = {1, 2, 0, 0};
    number.assignBytes(bytes, 4, true);
    EXPECT_EQ(number.byteLength(), 2);
    EXPECT_EQ(number.int64Value(), -513);
    number.assignBytes(bytes + 2, 2, true); // a negative zero is none
    expectNumber(number, {{}, false});
    EXPECT_THROW(number.assignBytes(bytes, -1, false), EZvRangeError);
    number.negate();
    EXPECT_FALSE(number.isNegative());
    number.setBit(200);
    EXPECT_EQ(number.byteLength(), 26);
    EXPECT_EQ(number.bitLength(), 201);
    number.setBit(0);
    EXPECT_EQ(number.getBytes()[0], 1);
    EXPECT_THROW(number.setBit(-1), EZvRangeError);

    // The low 63 bits.
    EXPECT_EQ(parse(u"8000000000000005", 16).int64Value(), 5);
    EXPECT_EQ(parse(u"-18000000000000005", 16).int64Value(), -5);
    EXPECT_EQ(parse(u"-1234").hashCode(), static_cast<std::uint32_t>(-1234));
    EXPECT_EQ(parse(u"-3").doubleValue(), -3.0);
    EXPECT_EQ(parse(u"7").compareTo(CZvInteger32(8)), -1);
    EXPECT_EQ(parse(u"7").toBigDecimal().getScale(), 0);
    EXPECT_THROW((void)parse(u"7").compareTo(CZvString(u"7")), EZvCastFailed);

    CZvBigInteger moved(std::move(number));
    EXPECT_EQ(moved.bitLength(), 201);
    number.add(moved); // the emptied one is a zero like any other
    EXPECT_EQ(number.compare(moved), 0);
}

TEST(BigInteger, TakesItselfForTheOther) {
    CZvBigInteger number = parse(u"-123456789012345678901234567890");
    number.add(number);
    EXPECT_EQ(number.toString().view(), u"-246913578024691357802469135780");
    number.multiply(number);
    EXPECT_EQ(number.toString().view(),
              u"60966315012955347001981406250144795150007620799500076208400");
    CZvBigInteger rest;
    CZvBigInteger copy(number);
    copy.divide(copy, rest);
    EXPECT_EQ(copy.toString().view(), u"1");
    EXPECT_TRUE(rest.isZero());
    copy = parse(u"1000");
    copy.divide(parse(u"7"), copy);
    EXPECT_EQ(copy.toString().view(), u"6");
    copy = parse(u"5");
    copy.divide(parse(u"9"), copy);
    EXPECT_EQ(copy.toString().view(), u"5");
    rest = parse(u"-7");
    copy = parse(u"1000");
    copy.divide(rest, rest);
    EXPECT_EQ(copy.toString().view(), u"-142");
    EXPECT_EQ(rest.toString().view(), u"6");
    number.subtract(number);
    expectNumber(number, {{}, false});
    EXPECT_THROW(copy.divide(number, rest), EZvIntDivByZero);
    EXPECT_EQ(copy.toString().view(), u"-142");
}

TEST(BigInteger, RaisesToPowers) {
    const struct {
        const char16_t* base;
        const char16_t* exponent;
        const char16_t* power;
    } rows[] = {
        {u"2", u"10", u"1024"},
        {u"-3", u"3", u"-27"},
        {u"-3", u"4", u"81"},
        {u"7", u"1", u"7"},
        {u"7", u"0", u"1"},
        {u"0", u"0", u"1"},
        {u"0", u"5", u"0"},
        {u"10", u"30", u"1000000000000000000000000000000"},
        {u"-1", u"100000000000000000000000000000000000001", u"-1"},
        {u"1", u"100000000000000000000000000000000000000", u"1"},
        {u"0", u"100000000000000000000000000000000000000", u"0"},
    };
    for (const auto& row : rows) {
        CZvBigInteger number = parse(row.base);
        number.pow(parse(row.exponent));
        EXPECT_EQ(number.toString().view(), row.power);
    }
    std::mt19937 random(10);
    for (int round = 0; round < 40; ++round) {
        const Natural base = randomNatural(random, 300);
        const auto exponent = static_cast<std::int32_t>(random() % 14);
        Natural power = {1};
        for (std::int32_t i = 0; i < exponent; ++i)
            power = zv::test::product(power, base);
        CZvBigInteger number = bigFrom(base, true);
        number.pow(CZvBigInteger(exponent));
        expectNumber(number, {power, exponent % 2 != 0});
    }
    CZvBigInteger number = parse(u"2");
    EXPECT_THROW(number.pow(parse(u"100000000000000000000000000000000000000")), std::bad_alloc);
    EXPECT_THROW(number.pow(parse(u"100000000000")), std::bad_alloc);
    try {
        number.pow(parse(u"-1"));
        ADD_FAILURE() << "raised";
    } catch (EZvException& exception) {
        EXPECT_EQ(exception.getMessage().view(), u"Negative Exponent");
    }
    EXPECT_EQ(number.toString().view(), u"2");
}

} // namespace
} // namespace ZVCL
