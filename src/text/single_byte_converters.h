// Charsets of one byte per character: the two family classes, ASCII and ISO 8859-1.
//
// A class derived elsewhere gives the hook charToByte or byteToChar and inherits convert(), which
// calls it once per character. The classes of the library run the same loop over their own mapping
// without that call (single_byte_loop.h). Converters belong to one thread at a time.
//
// When an exception leaves convert(), positions and held lead are those of the call's start; bytes
// may have been written to the output all the same.
#ifndef ZVSUPPORT_TEXT_SINGLE_BYTE_CONVERTERS_H
#define ZVSUPPORT_TEXT_SINGLE_BYTE_CONVERTERS_H

#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"

#include <cstdint>

namespace ZVCL {

// Unmappable characters, and surrogate pairs as a whole, are replaced by the substitution when that
// is exactly one byte long and dropped when it has any other length.
class CZvCTBSingleByte : public CZvCharToByteConverter {
public:
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(std::uint8_t* output, std::int32_t& outputPosition,
                       std::int32_t outputEnd) override;
    void reset() override;
    std::int32_t getMaxBytesPerChar() override { return 1; }
    std::int32_t getMaxCharsPerByte() override { return 1; }

    // The byte for a character; 0 means unmappable unless the character itself is U+0000.
    virtual std::uint8_t charToByte(char16_t character) = 0;

protected:
    CZvCTBSingleByte() = default;

    // convert() over a mapping known at compile time.
    template <typename Mapping>
    std::int32_t convertWith(const Mapping& mapping, const char16_t* input,
                             std::int32_t& inputPosition, std::int32_t inputEnd,
                             std::uint8_t* output, std::int32_t& outputPosition,
                             std::int32_t outputEnd);

    char16_t pendingLead = 0; // a lead surrogate from the previous call, or 0
};

// Unmappable bytes are replaced by the substitution when that is exactly one character long and
// dropped when it has any other length.
class CZvBTCSingleByte : public CZvByteToCharConverter {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    std::int32_t flush(char16_t* output, std::int32_t& outputPosition,
                       std::int32_t outputEnd) override;
    void reset() override {}
    std::int32_t getMaxBytesPerChar() override { return 1; }
    std::int32_t getMaxCharsPerByte() override { return 1; }

    // The character for a byte; U+FFFD means unmappable.
    virtual char16_t byteToChar(std::uint8_t byte) = 0;

protected:
    CZvBTCSingleByte() = default;

    // convert() over a mapping known at compile time.
    template <typename Mapping>
    std::int32_t convertWith(const Mapping& mapping, const std::uint8_t* input,
                             std::int32_t& inputPosition, std::int32_t inputEnd, char16_t* output,
                             std::int32_t& outputPosition, std::int32_t outputEnd);
};

// "ASCII": U+0000 to U+007F.
class CZvCTBASCII final : public CZvCTBSingleByte {
public:
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"ASCII"; }
    std::uint8_t charToByte(char16_t character) override;
};

class CZvBTCASCII final : public CZvBTCSingleByte {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"ASCII"; }
    char16_t byteToChar(std::uint8_t byte) override;
};

// "ISO8859_1": U+0000 to U+00FF, every byte the character of the same value.
class CZvCTBISO8859_1 final : public CZvCTBSingleByte {
public:
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"ISO8859_1"; }
    std::uint8_t charToByte(char16_t character) override;
};

class CZvBTCISO8859_1 final : public CZvBTCSingleByte {
public:
    // A plain widening copy.
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return u"ISO8859_1"; }
    char16_t byteToChar(std::uint8_t byte) override;
};

} // namespace ZVCL

#endif
