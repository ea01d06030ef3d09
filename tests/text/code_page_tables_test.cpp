#include "text/code_page_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>

namespace {

using namespace ZVCL;

// The pages as they read; byte 80 on.
constexpr std::u16string_view kReading437 = u"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒ"
                                            u"áíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐"
                                            u"└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
                                            u"αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00A0";
constexpr std::u16string_view kReading1252 =
    u"€\uFFFD‚ƒ„…†‡ˆ‰Š‹Œ\uFFFDŽ\uFFFD\uFFFD‘’“”•–—˜™š›œ\uFFFDžŸ"
    u"\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
    u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
    u"àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ";

template <std::size_t size>
void checkPage(const ByteToCharTable& chars, const CharToByteTable<size>& bytes,
               std::u16string_view reading, std::size_t expectedSize, std::size_t windows) {
    ASSERT_EQ(128u, reading.size());
    for (std::size_t byte = 0; byte < 256; ++byte)
        EXPECT_EQ(byte < 0x80 ? static_cast<char16_t>(byte) : reading[byte - 0x80],
                  chars.chars[byte])
            << byte;

    EXPECT_EQ(expectedSize, sizeof bytes.pageData);
    EXPECT_EQ(
        windows,
        std::set<std::uint32_t>(std::begin(bytes.pageOffsets), std::end(bytes.pageOffsets)).size());
    for (const std::uint32_t offset : bytes.pageOffsets)
        ASSERT_LE(offset + 256, size);
    for (std::uint32_t character = 0; character < 0x10000; ++character) {
        const char16_t* place =
            std::find(std::begin(chars.chars), std::end(chars.chars), character);
        const bool mapped = character != 0xFFFD && place != std::end(chars.chars);
        ASSERT_EQ(mapped ? place - chars.chars : 0,
                  bytes.pageData[bytes.pageOffsets[character >> 8] + (character & 0xFF)])
            << character;
    }
}

TEST(CodePageTables, AreThePublishedPagesAndTheirInverse) {
    checkPage(kCp437Chars, kCp437Bytes, kReading437, 0x575, 8);
    checkPage(kCp1252Chars, kCp1252Bytes, kReading1252, 0x3E9, 6);
}

} // namespace
