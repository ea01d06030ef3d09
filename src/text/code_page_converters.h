// Single-byte charsets given by tables: the table classes, code page 437 and code page 1252.
//
// Converters belong to one thread at a time; the tables are constant.
#ifndef ZVSUPPORT_TEXT_CODE_PAGE_CONVERTERS_H
#define ZVSUPPORT_TEXT_CODE_PAGE_CONVERTERS_H

#include "text/single_byte_converters.h"

#include <cstdint>

namespace ZVCL {

// The mapping is the table: a class that wants to compute its mapping derives from
// CZvCTBSingleByte.
class CZvCTBSingleByteTable : public CZvCTBSingleByte {
public:
    std::int32_t convert(const char16_t* input, std::int32_t& inputPosition, std::int32_t inputEnd,
                         std::uint8_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return name; }
    std::uint8_t charToByte(char16_t character) final;

protected:
    // None is copied; all must outlive the converter. The byte of character c is
    // pageData[pageOffsets[c >> 8] + (c & 0xFF)]; there are 256 offsets. With
    // asciiBelow80 every character below U+0080 must map to itself; runs of them need no look-up.
    CZvCTBSingleByteTable(const char16_t* name, const std::uint32_t* pageOffsets,
                          const std::uint8_t* pageData, bool asciiBelow80 = false)
        : name(name), pageOffsets(pageOffsets), pageData(pageData), asciiBelow80(asciiBelow80) {}

private:
    const char16_t* name;
    const std::uint32_t* pageOffsets;
    const std::uint8_t* pageData;
    bool asciiBelow80;
};

class CZvBTCSingleByteTable : public CZvBTCSingleByte {
public:
    std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                         std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                         std::int32_t outputEnd) override;
    const char16_t* getCharacterEncoding() override { return name; }
    char16_t byteToChar(std::uint8_t byte) final;

protected:
    // Neither is copied; both must outlive the converter. There are 256 characters. With
    // asciiBelow80 every byte below 80 must map to itself; runs of them need no look-up.
    CZvBTCSingleByteTable(const char16_t* name, const char16_t* chars, bool asciiBelow80 = false)
        : name(name), chars(chars), asciiBelow80(asciiBelow80) {}

private:
    const char16_t* name;
    const char16_t* chars;
    bool asciiBelow80;
};

class CZvCTBCP437 final : public CZvCTBSingleByteTable {
public:
    CZvCTBCP437();
};

class CZvBTCCP437 final : public CZvBTCSingleByteTable {
public:
    CZvBTCCP437();
};

class CZvCTBCP1252 final : public CZvCTBSingleByteTable {
public:
    CZvCTBCP1252();
};

class CZvBTCCP1252 final : public CZvBTCSingleByteTable {
public:
    CZvBTCCP1252();
};

} // namespace ZVCL

#endif
