#include "core/wide_text.h"

#include "core/heap.h"
#include "platform/win32.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <cwctype>
#include <limits>

namespace zv::core {
namespace {

constexpr auto kConversionFailed = static_cast<std::size_t>(-1);

constexpr char16_t foldAscii(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

// A conversion never needs more than this many units or bytes for one.
int sizeOf(std::size_t size) {
    if (size > static_cast<std::size_t>(INT_MAX))
        throwBadAllocation();
    return static_cast<int>(size);
}

int digitOf(char16_t unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const char16_t letter = foldAscii(unit);
    return letter >= u'a' && letter <= u'z' ? letter - u'a' + 10 : INT_MAX;
}

} // namespace

std::size_t wcslen(const char16_t* text) {
    return std::char_traits<char16_t>::length(text);
}

std::size_t strlen(const char* text) {
    return std::strlen(text);
}

int wcscmp(const char16_t* left, const char16_t* right) {
    while (*left != 0 && *left == *right) {
        ++left;
        ++right;
    }
    return *left < *right ? -1 : (*left > *right ? 1 : 0);
}

int _wcsnicmp(const char16_t* left, const char16_t* right, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const int difference = towlower(left[i]) - towlower(right[i]);
        if (difference != 0)
            return difference;
        if (left[i] == 0)
            break;
    }
    return 0;
}

char16_t* wcscpy(char16_t* target, const char16_t* source) {
    std::copy_n(source, wcslen(source) + 1, target);
    return target;
}

char16_t* wcsncpy(char16_t* target, const char16_t* source, std::size_t count) {
    std::size_t i = 0;
    for (; i < count && source[i] != 0; ++i)
        target[i] = source[i];
    std::fill(target + i, target + count, u'\0');
    return target;
}

char16_t* wcscat(char16_t* target, const char16_t* source) {
    wcscpy(target + wcslen(target), source);
    return target;
}

int _wtoi(const char16_t* text) {
    return static_cast<int>(wcstol(text, nullptr, 10));
}

long wcstol(const char16_t* text, char16_t** end, int base) {
    const char16_t* at = text;
    while (*at == u' ' || (*at >= u'\t' && *at <= u'\r'))
        ++at;
    const bool negative = *at == u'-';
    if (*at == u'-' || *at == u'+')
        ++at;
    const bool hexMark = at[0] == u'0' && (at[1] == u'x' || at[1] == u'X') && digitOf(at[2]) < 16;
    if ((base == 0 || base == 16) && hexMark) {
        at += 2;
        base = 16;
    } else if (base == 0) {
        base = *at == u'0' ? 8 : 10;
    }

    const auto limit = negative ? 0UL - static_cast<unsigned long>(LONG_MIN)
                                : static_cast<unsigned long>(LONG_MAX);
    const auto radix = static_cast<unsigned long>(base);
    unsigned long value = 0;
    bool overflow = false;
    const char16_t* digits = at;
    for (; digitOf(*at) < base; ++at) {
        const auto digit = static_cast<unsigned long>(digitOf(*at));
        if (value > (limit - digit) / radix)
            overflow = true;
        else
            value = value * radix + digit;
    }
    if (end != nullptr)
        *end = const_cast<char16_t*>(at == digits ? text : at);
    if (overflow)
        return negative ? LONG_MIN : LONG_MAX;
    return static_cast<long>(negative ? 0UL - value : value);
}

char16_t* _ltow(long value, char16_t* target, int radix) {
    // Only base 10 has a sign; other bases show the number's 32 bits, as on the product's platform.
    const bool negative = radix == 10 && value < 0;
    unsigned long rest =
        negative ? 0UL - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
    if (radix != 10)
        rest &= 0xFFFFFFFFUL;
    char16_t digits[sizeof(long) * CHAR_BIT];
    std::size_t count = 0;
    do {
        const auto digit = static_cast<unsigned>(rest % static_cast<unsigned long>(radix));
        digits[count++] = static_cast<char16_t>(digit < 10 ? u'0' + digit : u'a' + digit - 10);
        rest /= static_cast<unsigned long>(radix);
    } while (rest != 0);
    char16_t* at = target;
    if (negative)
        *at++ = u'-';
    while (count != 0)
        *at++ = digits[--count];
    *at = 0;
    return target;
}

char16_t towlower(char16_t unit) {
    if (unit < 0x80)
        return foldAscii(unit);
    return static_cast<char16_t>(std::towlower(static_cast<std::wint_t>(unit)));
}

char16_t towupper(char16_t unit) {
    if (unit < 0x80)
        return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
    const std::wint_t upper = std::towupper(static_cast<std::wint_t>(unit));
    const auto folded = static_cast<char16_t>(upper);
    return folded == upper ? folded : unit; // a letter beyond 16 bits is no answer
}

char16_t* _wcsupr(char16_t* text) {
    for (char16_t* at = text; *at != 0; ++at)
        *at = towupper(*at);
    return text;
}

std::size_t mbstowcs(char16_t* target, const char* source, std::size_t count) {
    try {
        const std::u16string wide = widen(source);
        if (target == nullptr)
            return wide.size();
        const std::size_t copied = std::min(count, wide.size());
        std::copy_n(wide.begin(), copied, target);
        if (copied < count)
            target[copied] = 0;
        return copied;
    } catch (...) {
        return kConversionFailed;
    }
}

std::size_t wcstombs(char* target, const char16_t* source, std::size_t count) {
    try {
        const std::string text = narrow(source);
        if (target == nullptr)
            return text.size();
        const std::size_t copied = std::min(count, text.size());
        std::copy_n(text.begin(), copied, target);
        if (copied < count)
            target[copied] = 0;
        return copied;
    } catch (...) {
        return kConversionFailed;
    }
}

std::u16string widen(std::string_view narrow) {
    std::u16string wide;
    if (narrow.empty())
        return wide;
    const int size = sizeOf(narrow.size());
    const int need = MultiByteToWideChar(CP_ACP, 0, narrow.data(), size, nullptr, 0);
    wide.resize(static_cast<std::size_t>(std::max(need, 0)));
    if (need > 0)
        MultiByteToWideChar(CP_ACP, 0, narrow.data(), size, wide.data(), need);
    return wide;
}

std::string narrow(std::u16string_view wide) {
    std::string text;
    if (wide.empty())
        return text;
    const int size = sizeOf(wide.size());
    const int need =
        WideCharToMultiByte(CP_ACP, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    text.resize(static_cast<std::size_t>(std::max(need, 0)));
    if (need > 0)
        WideCharToMultiByte(CP_ACP, 0, wide.data(), size, text.data(), need, nullptr, nullptr);
    return text;
}

int compareNames(std::u16string_view left, std::u16string_view right) {
    const std::size_t common = std::min(left.size(), right.size());
    std::size_t i = 0;
    // Names share long beginnings: those are passed over four units at a time.
    for (std::uint64_t a = 0, b = 0; i + 4 <= common; i += 4) {
        std::memcpy(&a, left.data() + i, sizeof a);
        std::memcpy(&b, right.data() + i, sizeof b);
        if (a != b)
            break;
    }
    for (; i < common; ++i) {
        if (left[i] == right[i])
            continue;
        const int difference = towlower(left[i]) - towlower(right[i]);
        if (difference != 0)
            return difference;
    }
    return left.size() == right.size() ? 0 : (left.size() < right.size() ? -1 : 1);
}

} // namespace zv::core
