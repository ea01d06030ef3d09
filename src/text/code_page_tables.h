// The tables of IBM code page 437 and Windows code page 1252.
//
// Taken from the code page charts that IBM and Microsoft published and that the Unicode Consortium
// keeps as CP437.TXT and CP1252.TXT among its vendor mappings. Constant data; any thread may read
// it.
#ifndef ZVSUPPORT_TEXT_CODE_PAGE_TABLES_H
#define ZVSUPPORT_TEXT_CODE_PAGE_TABLES_H

#include <cstddef>
#include <cstdint>

namespace ZVCL {

// The character of each byte; U+FFFD where the code page has none.
struct ByteToCharTable {
    char16_t chars[256];
};

// The byte of each character c is pageData[pageOffsets[c >> 8] + (c & 0xFF)], 0 where the code page
// lacks it (and for U+0000). The windows of 256 bytes overlap where their zeros let them; all pages
// without a character share one window of zeros.
template <std::size_t size>
struct CharToByteTable {
    std::uint32_t pageOffsets[256];
    std::uint8_t pageData[size];
};

extern const ByteToCharTable kCp437Chars;
extern const CharToByteTable<0x575> kCp437Bytes;
extern const ByteToCharTable kCp1252Chars;
extern const CharToByteTable<0x3E9> kCp1252Bytes;

} // namespace ZVCL

#endif
