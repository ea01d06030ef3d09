// Charsets whose characters take one or more bytes and are mapped one character at a time by a
// hook.
//
// Converters belong to one thread at a time. When an exception leaves convert(), positions and held
// lead are those of the call's start; the output may have been written to all the same.
#ifndef ZVSUPPORT_TEXT_MULTI_BYTE_CONVERTERS_H
#define ZVSUPPORT_TEXT_MULTI_BYTE_CONVERTERS_H

#include "lang/string.h"
#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"

#include <cstdint>

namespace ZVCL {

class CZvCTBMultiByte : public CZvCharToByteConverter {
public:
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(std::uint8_t* output, std::int32_t& outputPosition,
                       std::int32_t outputEnd) override;
    void reset() override;
    const char16_t* getCharacterEncoding() override;
    std::int32_t getMaxBytesPerChar() override { return maxBytesPerChar; }
    std::int32_t getMaxCharsPerByte() override { return maxCharsPerByte; }

    // Room that convert() gives the hook.
    static constexpr std::int32_t kMaxBytes = 6;

    // Writes the encoding of a code point, at most `capacity` bytes, and answers its length; 0 or
    // less when the charset lacks the code point. Lone surrogates are offered too, and are held or
    // refused only when the charset lacks them.
    virtual std::int32_t charToBytes(std::uint32_t codePoint, std::uint8_t* buffer,
                                     std::int32_t capacity) = 0;

protected:
    CZvCTBMultiByte() = default;

    CZvString name;
    std::int32_t maxBytesPerChar = -1;
    std::int32_t maxCharsPerByte = -1;
    char16_t pendingLead = 0; // a lead surrogate from the previous call, or 0
};

class CZvBTCMultiByte : public CZvByteToCharConverter {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(char16_t* output, std::int32_t& outputPosition,
                       std::int32_t outputEnd) override;
    void reset() override {}
    const char16_t* getCharacterEncoding() override;
    std::int32_t getMaxBytesPerChar() override { return maxBytesPerChar; }
    std::int32_t getMaxCharsPerByte() override { return maxCharsPerByte; }

    // The code point of the first character at `input`, where inOutCount bytes are available (at
    // least one). Stores how many of them it took, 0 when they do not complete a character. U+FFFD
    // means unmappable.
    virtual std::uint32_t bytesToChar(const std::uint8_t* input, std::int32_t& inOutCount) = 0;

protected:
    CZvBTCMultiByte() = default;

    CZvString name;
    std::int32_t maxBytesPerChar = -1;
    std::int32_t maxCharsPerByte = -1;
};

} // namespace ZVCL

#endif
