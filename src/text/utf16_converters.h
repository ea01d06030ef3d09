// "UTF-16LE" and "UTF-16BE", in both directions: units are copied in the encoding's byte order and
// nothing else happens. No byte order mark is written or expected, surrogates pass as they are,
// nothing is held and nothing throws.
//
// A class derived elsewhere gives orderUnit16 and inherits convert(), which calls it once per unit.
// The classes of the library copy without that call. Converters belong to one thread at a time.
#ifndef ZVSUPPORT_TEXT_UTF16_CONVERTERS_H
#define ZVSUPPORT_TEXT_UTF16_CONVERTERS_H

#include "text/utf_converters.h"

#include <cstdint>

namespace ZVCL {

class CZvCTBUTF16 : public CZvCharToByteUTF {
public:
    // An odd last byte of the output stays unwritten.
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(std::uint8_t*, std::int32_t&, std::int32_t) override { return 0; }
    void reset() override {}
    std::int32_t getMaxBytesPerChar() override { return 4; }
    std::int32_t getMaxCharsPerByte() override { return 4; }
    // Not asked by this family.
    std::uint32_t orderUnit32(std::uint32_t value) override {
        return orderUnit16(static_cast<std::uint16_t>(value));
    }

protected:
    CZvCTBUTF16() = default;
};

class CZvCTBUTF16LE final : public CZvCTBUTF16 {
public:
    CZvCTBUTF16LE();
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-16LE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return unit; }
};

class CZvCTBUTF16BE final : public CZvCTBUTF16 {
public:
    CZvCTBUTF16BE();
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-16BE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return swapBytes16(unit); }
};

class CZvBTCUTF16 : public CZvByteToCharUTF {
public:
    // An odd last byte of the input stays unconsumed.
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(char16_t*, std::int32_t&, std::int32_t) override { return 0; }
    void reset() override {}
    std::int32_t getMaxBytesPerChar() override { return 4; }
    std::int32_t getMaxCharsPerByte() override { return 4; }
    // Not asked by this family.
    std::uint32_t orderUnit32(std::uint32_t value) override {
        return orderUnit16(static_cast<std::uint16_t>(value));
    }

protected:
    CZvBTCUTF16() = default;
};

class CZvBTCUTF16LE final : public CZvBTCUTF16 {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-16LE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return unit; }
};

class CZvBTCUTF16BE final : public CZvBTCUTF16 {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-16BE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return swapBytes16(unit); }
};

} // namespace ZVCL

#endif
