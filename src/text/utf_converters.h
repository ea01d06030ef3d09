// What the UTF-16 and UTF-32 converters have in common: two hooks that put a unit into the byte
// order of the encoding.
//
// Units are loaded and stored as the little-endian machines at hand do it, aligned or not, so that
// what comes out of a hook lies in memory in the encoding's order. A hook is its own reverse, has
// no state and may be asked about a unit more than once.
//
// Converters belong to one thread at a time.
#ifndef ZVSUPPORT_TEXT_UTF_CONVERTERS_H
#define ZVSUPPORT_TEXT_UTF_CONVERTERS_H

#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"

#include <bit>
#include <cstdint>

namespace ZVCL {

static_assert(std::endian::native == std::endian::little);

constexpr std::uint16_t swapBytes16(std::uint16_t unit) {
    return static_cast<std::uint16_t>(unit << 8 | unit >> 8);
}
constexpr std::uint32_t swapBytes32(std::uint32_t value) {
    return value << 24 | (value & 0xFF00u) << 8 | (value >> 8 & 0xFF00u) | value >> 24;
}

class CZvCharToByteUTF : public CZvCharToByteConverter {
public:
    // Between the machine's order and the encoding's.
    virtual std::uint16_t orderUnit16(std::uint16_t unit) = 0;
    virtual std::uint32_t orderUnit32(std::uint32_t value) = 0;

protected:
    CZvCharToByteUTF() = default;
};

class CZvByteToCharUTF : public CZvByteToCharConverter {
public:
    virtual std::uint16_t orderUnit16(std::uint16_t unit) = 0;
    virtual std::uint32_t orderUnit32(std::uint32_t value) = 0;

protected:
    CZvByteToCharUTF() = default;
};

} // namespace ZVCL

#endif
