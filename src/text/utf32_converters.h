// "UTF-32LE" and "UTF-32BE", in both directions. No byte order mark is written or expected.
//
// A class derived elsewhere gives orderUnit32 and inherits convert(), which calls it once per unit.
// The classes of the library run the same loop without that call, in blocks where they can.
// Converters belong to one thread at a time.
//
// When an exception leaves convert(), positions and held lead stand in front of the offending unit:
// everything before it is converted. Between the position that a call reaches and outputEnd the
// output may have been written to.
#ifndef ZVSUPPORT_TEXT_UTF32_CONVERTERS_H
#define ZVSUPPORT_TEXT_UTF32_CONVERTERS_H

#include "text/utf_converters.h"

#include <cstdint>

namespace ZVCL {

// Encodes every code point; nothing is unmappable. A trail surrogate without a lead is encoded as
// its own value; a lead that no trail follows throws EZvInvalidCharacter. With less than four bytes
// of room nothing is consumed, not even a lead.
class CZvCTBUTF32 : public CZvCharToByteUTF {
public:
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(std::uint8_t* output, std::int32_t& outputPosition,
                       std::int32_t outputEnd) override;
    void reset() override { pendingLead = 0; }
    std::int32_t getMaxBytesPerChar() override { return 4; }
    std::int32_t getMaxCharsPerByte() override { return 4; }

protected:
    CZvCTBUTF32() = default;

    // convert() over a byte order known at compile time.
    template <typename Order>
    std::int32_t convertWith(const Order& order, const char16_t* input, std::int32_t& inputPosition,
                             std::int32_t inputEnd, std::uint8_t* output,
                             std::int32_t& outputPosition, std::int32_t outputEnd);

    char16_t pendingLead = 0; // a lead surrogate from the previous call, or 0
};

class CZvCTBUTF32LE final : public CZvCTBUTF32 {
public:
    CZvCTBUTF32LE();
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-32LE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return unit; }
    std::uint32_t orderUnit32(std::uint32_t value) override { return value; }
};

class CZvCTBUTF32BE final : public CZvCTBUTF32 {
public:
    CZvCTBUTF32BE();
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-32BE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return swapBytes16(unit); }
    std::uint32_t orderUnit32(std::uint32_t value) override { return swapBytes32(value); }
};

// A value above U+10FFFF is unmappable: the whole substitution takes its place, or
// EZvUnmappableCharacter is thrown. A surrogate's value throws EZvInvalidCharacter.
class CZvBTCUTF32 : public CZvByteToCharUTF {
public:
    // Fewer than four bytes at the end stay unconsumed.
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(char16_t*, std::int32_t&, std::int32_t) override { return 0; }
    void reset() override {}
    std::int32_t getMaxBytesPerChar() override { return 4; }
    std::int32_t getMaxCharsPerByte() override { return 4; }

protected:
    CZvBTCUTF32() = default;

    // convert() over a byte order known at compile time.
    template <typename Order>
    std::int32_t convertWith(const Order& order, const std::uint8_t* input,
                             std::int32_t& inputPosition, std::int32_t inputEnd, char16_t* output,
                             std::int32_t& outputPosition, std::int32_t outputEnd);
};

class CZvBTCUTF32LE final : public CZvBTCUTF32 {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-32LE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return unit; }
    std::uint32_t orderUnit32(std::uint32_t value) override { return value; }
};

class CZvBTCUTF32BE final : public CZvBTCUTF32 {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"UTF-32BE"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override { return swapBytes16(unit); }
    std::uint32_t orderUnit32(std::uint32_t value) override { return swapBytes32(value); }
};

} // namespace ZVCL

#endif
