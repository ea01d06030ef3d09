// Surrogate arithmetic of UTF-16 and the two errors that every converter reports alike.
//
// Pure functions; any thread may call them.
#ifndef ZVSUPPORT_TEXT_SURROGATES_H
#define ZVSUPPORT_TEXT_SURROGATES_H

#include <cstdint>

namespace ZVCL {

inline constexpr std::uint32_t kLastCodePoint = 0x10FFFF;
inline constexpr char16_t kReplacementCharacter = 0xFFFD;

// For a UTF-16 unit or a whole code point.
constexpr bool isLeadSurrogate(std::uint32_t value) {
    return value >= 0xD800 && value <= 0xDBFF;
}
constexpr bool isTrailSurrogate(std::uint32_t value) {
    return value >= 0xDC00 && value <= 0xDFFF;
}
constexpr bool isSurrogate(std::uint32_t value) {
    return value >= 0xD800 && value <= 0xDFFF;
}

constexpr std::uint32_t codePointOfPair(char16_t lead, char16_t trail) {
    return 0x10000u + ((lead - 0xD800u) << 10) + (trail - 0xDC00u);
}
// The halves of a code point from 0x10000 to 0x10FFFF.
constexpr char16_t leadOf(std::uint32_t codePoint) {
    return static_cast<char16_t>(0xD800u + ((codePoint - 0x10000u) >> 10));
}
constexpr char16_t trailOf(std::uint32_t codePoint) {
    return static_cast<char16_t>(0xDC00u + (codePoint & 0x3FFu));
}

// EZvInvalidCharacter, "leading surrogate without trailing".
[[noreturn]] void throwLeadWithoutTrail();
// EZvInvalidCharacter, "trailing surrogate without leading".
[[noreturn]] void throwTrailWithoutLead();

} // namespace ZVCL

#endif
