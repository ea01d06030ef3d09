// Arithmetic of natural numbers as arrays of limbs, the lowest first: what big integers are made
// of.
//
// A number is a pointer and a count of limbs, of which the highest is not zero; zero has none. The
// functions allocate nothing unless they say so, and results may lie where the operands are only
// where it is said. Limb is an unsigned type that half as wide again has a type for its products.
#ifndef ZVSUPPORT_LANG_NATURAL_H
#define ZVSUPPORT_LANG_NATURAL_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace ZVCL::natural {

template <typename Limb>
struct DoubleLimb;
template <>
struct DoubleLimb<std::uint32_t> {
    using Type = std::uint64_t;
};
#ifdef __SIZEOF_INT128__
__extension__ using Unsigned128 = unsigned __int128;
template <>
struct DoubleLimb<std::uint64_t> {
    using Type = Unsigned128;
};
using Limb = std::uint64_t;
#else
using Limb = std::uint32_t;
#endif

template <typename Limb>
using Double = typename DoubleLimb<Limb>::Type;

template <typename Limb>
inline constexpr int kBits = static_cast<int>(8 * sizeof(Limb));

// The count without the zeros at the top.
template <typename Limb>
std::size_t trimmed(const Limb* a, std::size_t count) {
    while (count > 0 && a[count - 1] == 0)
        --count;
    return count;
}

// Negative, 0 or positive.
template <typename Limb>
int compare(const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount) {
    if (aCount != bCount)
        return aCount < bCount ? -1 : 1;
    for (std::size_t i = aCount; i-- > 0;) {
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
    }
    return 0;
}

// result := a + b with aCount >= bCount; answers the carry out of aCount limbs. result may be a or
// b.
template <typename Limb>
Limb add(Limb* result, const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount) {
    Limb carry = 0;
    std::size_t i = 0;
    for (; i < bCount; ++i) {
        const Limb sum = a[i] + carry;
        const Limb total = sum + b[i];
        carry = static_cast<Limb>((sum < carry) | (total < sum));
        result[i] = total;
    }
    for (; i < aCount; ++i) {
        result[i] = a[i] + carry;
        carry = result[i] < carry;
    }
    return carry;
}

// result := a - b with aCount >= bCount; answers the borrow. result may be a or b.
template <typename Limb>
Limb subtract(Limb* result, const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount) {
    Limb borrow = 0;
    std::size_t i = 0;
    for (; i < bCount; ++i) {
        const Limb difference = a[i] - b[i];
        const Limb rest = difference - borrow;
        borrow = static_cast<Limb>((a[i] < b[i]) | (difference < borrow));
        result[i] = rest;
    }
    for (; i < aCount; ++i) {
        const Limb rest = a[i] - borrow;
        borrow = a[i] < borrow;
        result[i] = rest;
    }
    return borrow;
}

// result := a * factor + carry; answers the limb above. result may be a.
template <typename Limb>
Limb multiplyByLimb(Limb* result, const Limb* a, std::size_t count, Limb factor, Limb carry = 0) {
    for (std::size_t i = 0; i < count; ++i) {
        const Double<Limb> product = static_cast<Double<Limb>>(a[i]) * factor + carry;
        result[i] = static_cast<Limb>(product);
        carry = static_cast<Limb>(product >> kBits<Limb>);
    }
    return carry;
}

// result += a * factor; answers what goes into the limb above.
template <typename Limb>
Limb addProduct(Limb* result, const Limb* a, std::size_t count, Limb factor) {
    Limb carry = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Double<Limb> product = static_cast<Double<Limb>>(a[i]) * factor + result[i] + carry;
        result[i] = static_cast<Limb>(product);
        carry = static_cast<Limb>(product >> kBits<Limb>);
    }
    return carry;
}

// result -= a * factor; answers what is to be taken from the limb above.
template <typename Limb>
Limb subtractProduct(Limb* result, const Limb* a, std::size_t count, Limb factor) {
    Limb borrow = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Double<Limb> product = static_cast<Double<Limb>>(a[i]) * factor + borrow;
        const Limb low = static_cast<Limb>(product);
        borrow = static_cast<Limb>(product >> kBits<Limb>) + (result[i] < low);
        result[i] -= low;
    }
    return borrow;
}

// From how many limbs on three half-sized products are cheaper than four.
inline constexpr std::size_t kSplitFrom = 40;

template <typename Limb>
void multiplyRows(Limb* result, const Limb* a, std::size_t aCount, const Limb* b,
                  std::size_t bCount) {
    std::fill_n(result, aCount, Limb{0});
    for (std::size_t i = 0; i < bCount; ++i)
        result[aCount + i] = addProduct(result + i, a, aCount, b[i]);
}

// The room that multiplySquare needs besides its result.
inline std::size_t splitRoom(std::size_t count) {
    std::size_t room = 0;
    while (count >= kSplitFrom) {
        count = (count + 1) / 2 + 1;
        room += 4 * count;
    }
    return room;
}

// result, of 2 * count limbs, := a * b, both of count limbs, zeros at the top allowed. Karatsuba:
// of the halves h and l, ah * bl + al * bh is (ah + al)(bh + bl) - ah * bh - al * bl.
template <typename Limb>
void multiplySquare(Limb* result, const Limb* a, const Limb* b, std::size_t count, Limb* room) {
    if (count < kSplitFrom) {
        multiplyRows(result, a, count, b, count);
        return;
    }
    const std::size_t low = (count + 1) / 2;
    const std::size_t high = count - low;
    multiplySquare(result, a, b, low, room);
    multiplySquare(result + 2 * low, a + low, b + low, high, room);

    const std::size_t sum = low + 1;
    Limb* const aSum = room;
    Limb* const bSum = room + sum;
    Limb* const middle = room + 2 * sum; // of 2 * sum limbs
    Limb* const further = room + 4 * sum;
    aSum[low] = add(aSum, a, low, a + low, high);
    bSum[low] = add(bSum, b, low, b + low, high);
    multiplySquare(middle, aSum, bSum, sum, further);
    subtract(middle, middle, 2 * sum, result, 2 * low);
    subtract(middle, middle, 2 * sum, result + 2 * low, 2 * high);
    const std::size_t middleCount = trimmed(middle, 2 * sum);
    add(result + low, result + low, 2 * count - low, middle, middleCount);
}

// result, of aCount + bCount limbs, := a * b. Allocates for long operands; throws std::bad_alloc.
template <typename Limb>
void multiply(Limb* result, const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount) {
    if (aCount < bCount) {
        std::swap(a, b);
        std::swap(aCount, bCount);
    }
    if (bCount < kSplitFrom) {
        multiplyRows(result, a, aCount, b, bCount);
        return;
    }
    // The longer one in pieces as long as the shorter one.
    const auto room = std::make_unique_for_overwrite<Limb[]>(splitRoom(bCount) + 3 * bCount);
    Limb* const piece = room.get();
    Limb* const padded = piece + 2 * bCount;
    std::fill_n(result, aCount + bCount, Limb{0});
    for (std::size_t at = 0; at < aCount; at += bCount) {
        const std::size_t count = std::min(bCount, aCount - at);
        const Limb* part = a + at;
        if (count < bCount) {
            std::fill(std::copy_n(part, count, padded), padded + bCount, Limb{0});
            part = padded;
        }
        multiplySquare(piece, part, b, bCount, padded + bCount);
        add(result + at, result + at, aCount + bCount - at, piece, trimmed(piece, 2 * bCount));
    }
}

// quotient := a / divisor; answers the remainder. quotient may be a.
template <typename Limb>
Limb divideByLimb(Limb* quotient, const Limb* a, std::size_t count, Limb divisor) {
    Limb rest = 0;
    for (std::size_t i = count; i-- > 0;) {
        const Double<Limb> part = static_cast<Double<Limb>>(rest) << kBits<Limb> | a[i];
        quotient[i] = static_cast<Limb>(part / divisor);
        rest = static_cast<Limb>(part % divisor);
    }
    return rest;
}

// result := a << shift, shift below a limb's bits; answers what goes out at the top. result may be
// a.
template <typename Limb>
Limb shiftLeft(Limb* result, const Limb* a, std::size_t count, int shift) {
    if (shift == 0) {
        std::copy_backward(a, a + count, result + count);
        return 0;
    }
    Limb out = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Limb limb = a[i];
        result[i] = static_cast<Limb>(limb << shift | out);
        out = static_cast<Limb>(limb >> (kBits<Limb> - shift));
    }
    return out;
}

template <typename Limb>
void shiftRight(Limb* result, const Limb* a, std::size_t count, int shift) {
    if (shift == 0) {
        std::copy_n(a, count, result);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const Limb above = i + 1 < count ? a[i + 1] : 0;
        result[i] = static_cast<Limb>(a[i] >> shift | above << (kBits<Limb> - shift));
    }
}

// rest, of aCount + 1 limbs, holds a dividend of aCount limbs and becomes the remainder; quotient
// gets aCount - dCount + 1 limbs. The divisor has two limbs or more, the highest bit of the highest
// one set; rest and the divisor were shifted left together for that. Knuth, The Art of Computer
// Programming, volume 2, algorithm D: each digit is estimated from the highest limbs and is at most
// one too large once the limb below has been looked at.
template <typename Limb>
void divideShifted(Limb* quotient, Limb* rest, std::size_t aCount, const Limb* divisor,
                   std::size_t dCount) {
    const Limb top = divisor[dCount - 1];
    const Limb second = divisor[dCount - 2];
    for (std::size_t i = aCount - dCount + 1; i-- > 0;) {
        Limb* const part = rest + i; // dCount + 1 limbs
        const Double<Limb> high =
            static_cast<Double<Limb>>(part[dCount]) << kBits<Limb> | part[dCount - 1];
        Limb digit = static_cast<Limb>(-1);
        if (part[dCount] < top)
            digit = static_cast<Limb>(high / top);
        Double<Limb> left = high - static_cast<Double<Limb>>(digit) * top;
        while (left >> kBits<Limb> == 0 && static_cast<Double<Limb>>(digit) * second >
                                               (left << kBits<Limb> | part[dCount - 2])) {
            --digit;
            left += top;
        }
        const Limb borrow = subtractProduct(part, divisor, dCount, digit);
        if (part[dCount] < borrow) {
            --digit;
            part[dCount] += add(part, part, dCount, divisor, dCount);
        }
        part[dCount] -= borrow;
        quotient[i] = digit;
    }
}

} // namespace ZVCL::natural

#endif
