#include "text/code_page_converters.h"

#include "text/code_page_tables.h"
#include "text/single_byte_loop.h"

#include <bit>
#include <cstring>

namespace ZVCL {

namespace {

struct TableToBytes {
    std::uint8_t operator()(char16_t character) const {
        return pageData[pageOffsets[character >> 8] + (character & 0xFF)];
    }

    // Counting down from a byte of 0 sets the mark's top bit. U+0000 does so too and then takes the
    // loop's slower road, where it is told from the unmappable.
    template <std::int32_t size>
    bool convertBlock(const char16_t* from, std::uint8_t* to) const {
        if (asciiBelow80 && hasOnlyBits<size>(from, 0x007F007F007F007Fu)) {
            narrowBlock<size>(from, to);
            return true;
        }
        std::uint32_t marks = 0;
        if (hasOnlyBits<size>(from, 0x00FF00FF00FF00FFu)) {
            const std::uint8_t* firstPage = pageData + pageOffsets[0];
            for (std::int32_t i = 0; i < size; ++i) {
                const std::uint32_t byte = firstPage[from[i] & 0xFF];
                to[i] = static_cast<std::uint8_t>(byte);
                marks |= byte - 1;
            }
        } else {
            for (std::int32_t i = 0; i < size; ++i) {
                const std::uint32_t byte = (*this)(from[i]);
                to[i] = static_cast<std::uint8_t>(byte);
                marks |= byte - 1;
            }
        }
        return marks >> 31 == 0;
    }

    const std::uint32_t* pageOffsets;
    const std::uint8_t* pageData;
    bool asciiBelow80;
};

struct TableToChars {
    char16_t operator()(std::uint8_t byte) const { return chars[byte]; }

    // Four characters to a store.
    std::uint64_t lookUpFour(const std::uint8_t* from) const {
        static_assert(std::endian::native == std::endian::little);
        return chars[from[0]] | static_cast<std::uint64_t>(chars[from[1]]) << 16 |
               static_cast<std::uint64_t>(chars[from[2]]) << 32 |
               static_cast<std::uint64_t>(chars[from[3]]) << 48;
    }

    // U+FFFD is the one character above U+7FFF in the code pages at hand. Another page's characters
    // from there on take the loop's slower road, where they are told from the unmappable.
    template <std::int32_t size>
    bool convertBlock(const std::uint8_t* from, char16_t* to) const {
        if (asciiBelow80 && hasOnlyBits<size>(from, 0x7F7F7F7F7F7F7F7Fu)) {
            widenBlock<size>(from, to);
            return true;
        }
        std::uint64_t marks = 0;
        for (std::int32_t i = 0; i < size; i += 4) {
            const std::uint64_t word = lookUpFour(from + i);
            std::memcpy(to + i, &word, sizeof word);
            marks |= word;
        }
        return (marks & 0x8000800080008000u) == 0;
    }

    const char16_t* chars;
    bool asciiBelow80;
};

} // namespace

std::int32_t CZvCTBSingleByteTable::convert(const char16_t* input, std::int32_t& inputPosition,
                                            std::int32_t inputEnd, std::uint8_t* output,
                                            std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(TableToBytes{pageOffsets, pageData, asciiBelow80}, input, inputPosition,
                       inputEnd, output, outputPosition, outputEnd);
}

std::uint8_t CZvCTBSingleByteTable::charToByte(char16_t character) {
    return TableToBytes{pageOffsets, pageData, asciiBelow80}(character);
}

std::int32_t CZvBTCSingleByteTable::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                            std::int32_t inputEnd, char16_t* output,
                                            std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(TableToChars{chars, asciiBelow80}, input, inputPosition, inputEnd, output,
                       outputPosition, outputEnd);
}

char16_t CZvBTCSingleByteTable::byteToChar(std::uint8_t byte) {
    return chars[byte];
}

CZvCTBCP437::CZvCTBCP437()
    : CZvCTBSingleByteTable(u"CP437", kCp437Bytes.pageOffsets, kCp437Bytes.pageData, true) {}

CZvBTCCP437::CZvBTCCP437() : CZvBTCSingleByteTable(u"CP437", kCp437Chars.chars, true) {}

CZvCTBCP1252::CZvCTBCP1252()
    : CZvCTBSingleByteTable(u"CP1252", kCp1252Bytes.pageOffsets, kCp1252Bytes.pageData, true) {}

CZvBTCCP1252::CZvBTCCP1252() : CZvBTCSingleByteTable(u"CP1252", kCp1252Chars.chars, true) {}

} // namespace ZVCL
