#include "lang/big_integer.h"

#include "core/wide_text.h"
#include "lang/big_decimal.h"
#include "lang/exception.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace ZVCL {

namespace {

using natural::Limb;

static_assert(std::endian::native == std::endian::little); // limbs are bytes in the same order

constexpr std::size_t kLongest = std::numeric_limits<std::int32_t>::max() / sizeof(Limb) - 1;

// Room for intermediate limbs: on the stack while they are few.
class Scratch {
public:
    explicit Scratch(std::size_t count) {
        if (count > kFew) {
            many = std::make_unique_for_overwrite<Limb[]>(count);
            limbs = many.get();
        }
    }
    Limb* get() const { return limbs; }

private:
    static constexpr std::size_t kFew = 64;

    Limb few[kFew];
    std::unique_ptr<Limb[]> many;
    Limb* limbs = few;
};

// The most digits of a radix that a limb holds, and the radix to that power.
struct Chunk {
    std::int32_t digits;
    Limb factor;
};

Chunk chunkOf(std::int32_t radix) {
    const auto base = static_cast<Limb>(radix);
    Chunk chunk{1, base};
    while (chunk.factor <= std::numeric_limits<Limb>::max() / base) {
        chunk.factor *= base;
        ++chunk.digits;
    }
    return chunk;
}

void checkRadix(std::int32_t radix) {
    if (radix < 2 || radix > 36)
        throw EZvRangeError();
}

[[noreturn]] void throwFormat() {
    throw EZvException(CZvString::literal(u"Number Format Exception"));
}

// -1 for what is no digit of the radix.
std::int32_t digitValue(char16_t ch, std::int32_t radix) {
    std::int32_t value = -1;
    if (ch >= u'0' && ch <= u'9')
        value = ch - u'0';
    else if (ch >= u'a' && ch <= u'z')
        value = ch - u'a' + 10;
    else if (ch >= u'A' && ch <= u'Z')
        value = ch - u'A' + 10;
    return value < radix ? value : -1;
}

char16_t digitOf(std::uint32_t value) {
    return static_cast<char16_t>(value < 10 ? u'0' + value : u'a' + value - 10);
}

std::uint64_t magnitudeOf(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    return value < 0 ? 0 - bits : bits;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Values and storage

CZvBigInteger::CZvBigInteger(const CZvBigInteger& other) : CZvNumber() {
    assign(other);
}

CZvBigInteger::CZvBigInteger(CZvBigInteger&& other) noexcept
    : CZvNumber(),
      negative(std::exchange(other.negative, 0)),
      length(std::exchange(other.length, 0)),
      capacity(std::exchange(other.capacity, 0)),
      limbs(std::move(other.limbs)) {}

CZvBigInteger::CZvBigInteger(std::uint32_t value) {
    assignMagnitude(value, false);
}

CZvBigInteger::CZvBigInteger(std::int32_t value) {
    assign(value);
}

CZvBigInteger::CZvBigInteger(std::int64_t value) {
    assignMagnitude(magnitudeOf(value), value < 0);
}

CZvBigInteger& CZvBigInteger::operator=(const CZvBigInteger& other) {
    assign(other);
    return *this;
}

CZvBigInteger& CZvBigInteger::operator=(CZvBigInteger&& other) noexcept {
    if (this != &other) {
        negative = std::exchange(other.negative, 0);
        length = std::exchange(other.length, 0);
        capacity = std::exchange(other.capacity, 0);
        limbs = std::move(other.limbs);
    }
    return *this;
}

void CZvBigInteger::reserve(std::size_t count) {
    if (hasRoom(count))
        return;
    if (count > kLongest)
        throw std::bad_alloc();
    auto grown = std::make_unique_for_overwrite<Limb[]>(count);
    std::copy_n(limbs.get(), limbCount(), grown.get());
    limbs = std::move(grown);
    capacity = static_cast<std::int32_t>(count * sizeof(Limb));
}

void CZvBigInteger::normalise(std::size_t count) noexcept {
    count = natural::trimmed(limbs.get(), count);
    length = 0;
    if (count > 0) {
        const int zeros = std::countl_zero(limbs[count - 1]);
        length = static_cast<std::int32_t>(count * sizeof(Limb)) - zeros / 8;
    }
    if (length == 0)
        negative = 0;
}

void CZvBigInteger::assign(const CZvBigInteger& other) {
    if (this == &other)
        return;
    const std::size_t count = other.limbCount();
    if (!hasRoom(count)) {
        length = 0; // nothing to be kept
        reserve(count);
    }
    std::copy_n(other.limbs.get(), count, limbs.get());
    length = other.length;
    negative = other.negative;
}

void CZvBigInteger::assign(std::int32_t value) {
    assignMagnitude(magnitudeOf(value), value < 0);
}

void CZvBigInteger::assignMagnitude(std::uint64_t magnitude, bool isNegative) {
    std::uint8_t bytes[sizeof magnitude];
    std::memcpy(bytes, &magnitude, sizeof magnitude);
    setBytes(bytes, sizeof bytes);
    negative = isNegative && length != 0;
}

void CZvBigInteger::assignBytes(const std::uint8_t* bytes, std::int32_t count, bool isNegative) {
    if (count < 0)
        throw EZvRangeError();
    setBytes(bytes, static_cast<std::size_t>(count));
    negative = isNegative && length != 0;
}

void CZvBigInteger::setBytes(const std::uint8_t* bytes, std::size_t count) {
    while (count > 0 && bytes[count - 1] == 0)
        --count;
    const std::size_t needed = (count + sizeof(Limb) - 1) / sizeof(Limb);
    reserve(needed);
    if (needed > 0)
        limbs[needed - 1] = 0; // above the bytes
    std::copy_n(bytes, count, reinterpret_cast<std::uint8_t*>(limbs.get()));
    normalise(needed);
}

void CZvBigInteger::negate() noexcept {
    negative = length != 0 && negative == 0;
}

void CZvBigInteger::setBit(std::int32_t bit) {
    if (bit < 0)
        throw EZvRangeError();
    const auto index = static_cast<std::size_t>(bit) / natural::kBits<Limb>;
    const std::size_t count = limbCount();
    if (index >= count) {
        reserve(index + 1);
        std::fill(limbs.get() + count, limbs.get() + index + 1, Limb{0});
    }
    limbs[index] |= Limb{1} << static_cast<std::size_t>(bit) % natural::kBits<Limb>;
    normalise(std::max(count, index + 1));
}

std::int64_t CZvBigInteger::bitLength() const noexcept {
    if (length == 0)
        return 0;
    return std::int64_t{8} * (length - 1) + std::bit_width(unsigned{getBytes()[length - 1]});
}

// ---------------------------------------------------------------------------------------------
// Arithmetic

std::int32_t CZvBigInteger::compare(const CZvBigInteger& other) const noexcept {
    if (negative != other.negative)
        return negative != 0 ? -1 : 1;
    const int order =
        natural::compare(limbs.get(), limbCount(), other.limbs.get(), other.limbCount());
    if (order == 0)
        return 0;
    return (order < 0) == (negative == 0) ? -1 : 1;
}

void CZvBigInteger::addMagnitude(const CZvBigInteger& other) {
    const std::size_t count = std::max(limbCount(), other.limbCount());
    if (!hasRoom(count + 1))
        reserve(count + 1 + count / 8);
    const std::size_t own = limbCount();
    const std::size_t others = other.limbCount(); // which may be this very one
    const Limb* const longer = own >= others ? limbs.get() : other.limbs.get();
    const Limb* const shorter = own >= others ? other.limbs.get() : limbs.get();
    limbs[count] = natural::add(limbs.get(), longer, count, shorter, std::min(own, others));
    normalise(count + 1);
}

void CZvBigInteger::subtractMagnitude(const CZvBigInteger& other) {
    const std::size_t own = limbCount();
    const std::size_t others = other.limbCount();
    const int order = natural::compare(limbs.get(), own, other.limbs.get(), others);
    if (order == 0) {
        length = 0;
        negative = 0;
        return;
    }
    if (order > 0) {
        natural::subtract(limbs.get(), limbs.get(), own, other.limbs.get(), others);
        normalise(own);
        return;
    }
    reserve(others);
    natural::subtract(limbs.get(), other.limbs.get(), others, limbs.get(), own);
    negative ^= 1;
    normalise(others);
}

void CZvBigInteger::add(const CZvBigInteger& other) {
    if (negative == other.negative || length == 0) {
        const std::int32_t sign = other.length != 0 ? other.negative : negative;
        addMagnitude(other);
        negative = sign;
    } else if (other.length != 0) {
        subtractMagnitude(other);
    }
}

void CZvBigInteger::subtract(const CZvBigInteger& other) {
    if (other.length == 0)
        return;
    if (negative == other.negative && length != 0) {
        subtractMagnitude(other);
        return;
    }
    const std::int32_t sign = other.negative ^ 1;
    addMagnitude(other);
    negative = sign;
}

void CZvBigInteger::multiply(const CZvBigInteger& other) {
    const std::size_t own = limbCount();
    const std::size_t others = other.limbCount();
    if (own == 0 || others == 0) {
        length = 0;
        negative = 0;
        return;
    }
    const std::int32_t sign = negative ^ other.negative;
    const std::size_t count = own + others;
    if (own == 1 || others == 1) { // in place
        const Limb factor = own == 1 ? limbs[0] : other.limbs[0];
        const Limb* const source = own == 1 ? other.limbs.get() : limbs.get();
        if (hasRoom(count)) {
            limbs[count - 1] = natural::multiplyByLimb(limbs.get(), source, count - 1, factor);
            negative = sign;
            normalise(count);
            return;
        }
    }
    if (count > kLongest)
        throw std::bad_alloc();
    if (hasRoom(count)) {
        const Scratch product(count);
        natural::multiply(product.get(), limbs.get(), own, other.limbs.get(), others);
        std::copy_n(product.get(), count, limbs.get());
    } else {
        auto product = std::make_unique_for_overwrite<Limb[]>(count);
        natural::multiply(product.get(), limbs.get(), own, other.limbs.get(), others);
        limbs = std::move(product);
        capacity = static_cast<std::int32_t>(count * sizeof(Limb));
    }
    negative = sign;
    normalise(count);
}

void CZvBigInteger::divide(const CZvBigInteger& divisor, CZvBigInteger& remainder) {
    if (divisor.length == 0)
        throw EZvIntDivByZero();
    const std::size_t own = limbCount();
    const std::size_t others = divisor.limbCount();
    const std::int32_t sign = negative ^ divisor.negative;
    if (natural::compare(limbs.get(), own, divisor.limbs.get(), others) < 0) {
        remainder.assign(*this);
        remainder.negative = 0;
        if (&remainder != this) {
            length = 0;
            negative = 0;
        }
        return;
    }
    // Of one place more than the dividend: what is shifted out of it.
    const Scratch scratch(2 * own + 2 + others);
    Limb* const quotient = scratch.get();
    Limb* const rest = quotient + own + 1;
    Limb* const shifted = rest + own + 1;
    std::size_t restCount = others;
    const std::size_t quotientCount = own - others + 1;
    if (others == 1) {
        rest[0] = natural::divideByLimb(quotient, limbs.get(), own, divisor.limbs[0]);
    } else {
        const int shift = std::countl_zero(divisor.limbs[others - 1]);
        natural::shiftLeft(shifted, divisor.limbs.get(), others, shift);
        rest[own] = natural::shiftLeft(rest, limbs.get(), own, shift);
        natural::divideShifted(quotient, rest, own, shifted, others);
        natural::shiftRight(rest, rest, others, shift);
    }
    restCount = natural::trimmed(rest, restCount);
    remainder.reserve(
        restCount); // the last that may throw: the quotient fits where the dividend was
    std::copy_n(quotient, quotientCount, limbs.get());
    negative = sign;
    normalise(quotientCount);
    std::copy_n(rest, restCount, remainder.limbs.get());
    remainder.negative = 0;
    remainder.normalise(restCount);
}

void CZvBigInteger::pow(const CZvBigInteger& exponent) {
    if (exponent.negative != 0)
        throw EZvException(CZvString::literal(u"Negative Exponent"));
    if (exponent.length == 0) {
        assign(1);
        return;
    }
    const bool isUnit = length == 1 && limbs[0] == 1;
    if (length == 0 || isUnit) { // for exponents of any size
        negative = negative != 0 && (exponent.limbs[0] & 1) != 0;
        return;
    }
    // Anything else has to fit.
    if (exponent.bitLength() > 63 ||
        static_cast<std::uint64_t>(exponent.int64Value()) >
            std::uint64_t{8} * kLongest * sizeof(Limb) /
                static_cast<std::uint64_t>(std::max<std::int64_t>(bitLength() - 1, 1)))
        throw std::bad_alloc();
    auto left = static_cast<std::uint64_t>(exponent.int64Value());
    CZvBigInteger base(*this);
    CZvBigInteger result(std::int32_t{1});
    for (;;) {
        if ((left & 1) != 0)
            result.multiply(base);
        left >>= 1;
        if (left == 0)
            break;
        base.multiply(base);
    }
    *this = std::move(result);
}

// ---------------------------------------------------------------------------------------------
// Text

void CZvBigInteger::multiplyAndAdd(Limb factor, Limb summand) {
    const std::size_t count = limbCount();
    if (!hasRoom(count + 1))
        reserve(count + 1 + count / 2);
    limbs[count] = natural::multiplyByLimb(limbs.get(), limbs.get(), count, factor, summand);
    normalise(count + 1);
}

CZvBigInteger::CZvBigInteger(const CZvString& text, std::int32_t radix) {
    checkRadix(radix);
    std::u16string_view digits = text.view();
    const bool isNegative = digits.starts_with(u'-');
    if (isNegative)
        digits.remove_prefix(1);
    if (digits.empty() || digits.find(u'-') != digits.npos)
        throwFormat();
    digits.remove_prefix(std::min(digits.find_first_not_of(u'0'), digits.size()));
    parseDigits(digits, radix);
    negative = isNegative && length != 0;
}

// Digits without leading zeros.
void CZvBigInteger::parseDigits(std::u16string_view digits, std::int32_t radix) {
    const bool clean = std::all_of(digits.begin(), digits.end(),
                                   [&](char16_t ch) { return digitValue(ch, radix) >= 0; });
    const Chunk chunk = chunkOf(radix);
    // By threes where the run-time has to say what a group means.
    const std::size_t groupSize = clean ? static_cast<std::size_t>(chunk.digits) : 3;
    const auto base = static_cast<Limb>(radix);
    const Limb factor = clean ? chunk.factor : base * base * base;
    // Every digit is at most the bits of the radix: one allocation is enough.
    const std::size_t bits = digits.size() * static_cast<std::size_t>(std::bit_width(base));
    reserve(bits / natural::kBits<Limb> + 2);
    for (std::size_t at = 0; at < digits.size();) {
        const std::size_t first = digits.size() % groupSize;
        const std::size_t size = at == 0 && first != 0 ? first : groupSize;
        Limb value = 0;
        if (clean) {
            for (const char16_t ch : digits.substr(at, size))
                value = value * base + static_cast<Limb>(digitValue(ch, radix));
        } else {
            const std::u16string group(digits.substr(at, size));
            value = static_cast<Limb>(zv::core::wcstol(group.c_str(), nullptr, radix));
        }
        multiplyAndAdd(factor, value);
        at += size;
    }
}

CZvString CZvBigInteger::toString(std::int32_t radix) const {
    checkRadix(radix);
    if (length == 0)
        return CZvString::literal(u"0");
    const Chunk chunk = chunkOf(radix);
    const auto base = static_cast<Limb>(radix);
    std::size_t count = limbCount();
    const Scratch rest(count);
    std::copy_n(limbs.get(), count, rest.get());

    // From the end: a limb gives at most one digit for each bit that the radix has whole.
    const auto bitsPerDigit = static_cast<std::size_t>(std::bit_width(base) - 1);
    std::u16string text(count * natural::kBits<Limb> / bitsPerDigit + 2, u'0');
    auto at = text.end();
    while (count > 0) {
        Limb value = natural::divideByLimb(rest.get(), rest.get(), count, chunk.factor);
        count = natural::trimmed(rest.get(), count);
        for (std::int32_t i = 0; i < chunk.digits && (count > 0 || value > 0); ++i) {
            *--at = digitOf(static_cast<std::uint32_t>(value % base));
            value /= base;
        }
    }
    if (negative != 0)
        *--at = u'-';
    return CZvString(std::u16string_view(&*at, static_cast<std::size_t>(text.end() - at)));
}

// ---------------------------------------------------------------------------------------------
// CZvNumber

std::int64_t CZvBigInteger::int64Value() const {
    std::uint64_t low = 0;
    std::copy_n(getBytes(), std::min<std::size_t>(static_cast<std::size_t>(length), sizeof low),
                reinterpret_cast<std::uint8_t*>(&low));
    const auto value = static_cast<std::int64_t>(low & INT64_MAX);
    return negative != 0 ? -value : value;
}

double CZvBigInteger::doubleValue() const {
    return static_cast<double>(int64Value());
}

std::int32_t CZvBigInteger::compareTo(const CZvObject& other) const {
    if (this == &other)
        return 0;
    if (const auto* big = dynamic_cast<const CZvBigInteger*>(&other))
        return compare(*big);
    return compare(numberFrom(other).toBigInteger());
}

CZvBigDecimal CZvBigInteger::toBigDecimal() const {
    return CZvBigDecimal(*this, 0);
}

} // namespace ZVCL
