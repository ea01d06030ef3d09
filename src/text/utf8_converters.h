// "UTF-8", in both directions. No byte order mark is written, and none is expected: U+FEFF is a
// character like any other.
//
// Converters belong to one thread at a time. When an exception leaves convert(), positions and held
// lead are those of the call's start. Between the position that a call reaches and outputEnd the
// output may have been written to all the same.
#ifndef ZVSUPPORT_TEXT_UTF8_CONVERTERS_H
#define ZVSUPPORT_TEXT_UTF8_CONVERTERS_H

#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"

#include <cstdint>

namespace ZVCL {

// Encodes every code point; nothing is unmappable. A trail surrogate without a lead is encoded like
// a character of its value (three bytes); a lead that no trail follows throws EZvInvalidCharacter.
// A lead is taken even into an output without room; its trail then waits in front of the position.
class CZvCTBUTF8 final : public CZvCharToByteConverter {
public:
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(std::uint8_t* output, std::int32_t& outputPosition,
                       std::int32_t outputEnd) override;
    void reset() override { pendingLead = 0; }
    const char16_t* getCharacterEncoding() override { return u"UTF-8"; }
    std::int32_t getMaxBytesPerChar() override { return 6; }
    std::int32_t getMaxCharsPerByte() override { return 1; }

private:
    char16_t pendingLead = 0; // a lead surrogate from the previous call, or 0
};

// Decodes leniently: the first byte alone tells the length of a sequence, one to six bytes, and the
// others count for what they are. Longer forms than needed decode to their value, and a lone byte
// from 0x80 to 0xBF is the character of that value.
// A value above U+10FFFF is unmappable: the whole substitution takes its place, or
// EZvUnmappableCharacter is thrown. A surrogate's value throws EZvException.
class CZvBTCUTF8 final : public CZvByteToCharConverter {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(char16_t*, std::int32_t&, std::int32_t) override { return 0; }
    void reset() override {}
    const char16_t* getCharacterEncoding() override { return u"UTF-8"; }
    std::int32_t getMaxBytesPerChar() override { return 6; }
    std::int32_t getMaxCharsPerByte() override { return 4; }
};

} // namespace ZVCL

#endif
