// Natural numbers the slow and plain way, to compare with: bytes, the lowest first, one at a time;
// division bit by bit.
#ifndef ZVSUPPORT_TESTS_LANG_SCHOOLBOOK_H
#define ZVSUPPORT_TESTS_LANG_SCHOOLBOOK_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zv::test {

using Natural = std::vector<std::uint8_t>; // without zeros at the top

inline Natural trimmed(Natural number) {
    while (!number.empty() && number.back() == 0)
        number.pop_back();
    return number;
}

inline int compare(const Natural& a, const Natural& b) {
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    for (std::size_t i = a.size(); i-- > 0;) {
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
    }
    return 0;
}

inline Natural sum(const Natural& a, const Natural& b) {
    Natural result;
    unsigned carry = 0;
    for (std::size_t i = 0; i < std::max(a.size(), b.size()) || carry != 0; ++i) {
        carry += (i < a.size() ? a[i] : 0u) + (i < b.size() ? b[i] : 0u);
        result.push_back(static_cast<std::uint8_t>(carry));
        carry >>= 8;
    }
    return trimmed(result);
}

inline Natural difference(const Natural& a, const Natural& b) { // a >= b
    Natural result;
    int borrow = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const int byte = a[i] - (i < b.size() ? b[i] : 0) - borrow;
        borrow = byte < 0;
        result.push_back(static_cast<std::uint8_t>(byte));
    }
    return trimmed(result);
}

inline Natural product(const Natural& a, const Natural& b) {
    Natural result(a.size() + b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        unsigned carry = 0;
        for (std::size_t j = 0; j < b.size() || carry != 0; ++j) {
            carry += result[i + j] + (j < b.size() ? a[i] * b[j] : 0u);
            result[i + j] = static_cast<std::uint8_t>(carry);
            carry >>= 8;
        }
    }
    return trimmed(result);
}

// The quotient and the remainder.
inline std::pair<Natural, Natural> quotient(const Natural& a, const Natural& b) {
    Natural result(a.size()), rest;
    for (std::size_t bit = a.size() * 8; bit-- > 0;) {
        unsigned carry = a[bit / 8] >> bit % 8 & 1;
        for (std::uint8_t& byte : rest) {
            carry |= static_cast<unsigned>(byte) << 1;
            byte = static_cast<std::uint8_t>(carry);
            carry >>= 8;
        }
        if (carry != 0)
            rest.push_back(static_cast<std::uint8_t>(carry));
        if (compare(rest, b) >= 0) {
            rest = difference(rest, b);
            result[bit / 8] = static_cast<std::uint8_t>(result[bit / 8] | 1u << bit % 8);
        }
    }
    return {trimmed(result), rest};
}

// Digits of a radix, as many as there are.
inline std::u16string digits(Natural number, unsigned radix) {
    std::u16string text;
    do {
        unsigned rest = 0;
        for (std::size_t i = number.size(); i-- > 0;) {
            rest = rest << 8 | number[i];
            number[i] = static_cast<std::uint8_t>(rest / radix);
            rest %= radix;
        }
        number = trimmed(number);
        text.insert(text.begin(), u"0123456789abcdefghijklmnopqrstuvwxyz"[rest]);
    } while (!number.empty());
    return text;
}

} // namespace zv::test

#endif
