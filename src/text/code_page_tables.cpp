#include "text/code_page_tables.h"

#include "text/surrogates.h"

#include <span>

namespace ZVCL {

namespace {

// Bytes 80 to FF. Below 80, control characters included, the page is ASCII.
constexpr char16_t kUpperHalf437[128] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF,
    0x00EE, 0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192, 0x00E1, 0x00ED, 0x00F3, 0x00FA,
    0x00F1, 0x00D1, 0x00AA, 0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557,
    0x255D, 0x255C, 0x255B, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559,
    0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4, 0x03A6, 0x0398, 0x03A9, 0x03B4,
    0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0,
};

// Bytes 80 to 9F. The rest of the page is ISO 8859-1.
constexpr char16_t kControlRows1252[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

// The page of ISO 8859-1 with `replacement` from byte 80 on.
constexpr ByteToCharTable makeChars(std::span<const char16_t> replacement) {
    ByteToCharTable table{};
    for (std::size_t byte = 0; byte < 256; ++byte)
        table.chars[byte] = static_cast<char16_t>(byte);
    for (std::size_t i = 0; i < replacement.size(); ++i)
        table.chars[0x80 + i] = replacement[i];
    return table;
}

// Where the window of a page begins in pageData.
struct Window {
    std::uint8_t page;
    std::uint32_t offset;
};

// Turns `chars` round. Fails to compile when two windows claim one place for different bytes or a
// mapped character lies in a page without a window; that no window reads another's bytes where it
// should read zeros is for the tests to show.
template <std::size_t size>
constexpr CharToByteTable<size> makeBytes(const ByteToCharTable& chars, std::uint32_t emptyWindow,
                                          std::span<const Window> windows) {
    CharToByteTable<size> table{};
    for (std::uint32_t& offset : table.pageOffsets)
        offset = emptyWindow;
    for (const Window& window : windows)
        table.pageOffsets[window.page] = window.offset;
    for (std::size_t byte = 1; byte < 256; ++byte) {
        const char16_t character = chars.chars[byte];
        if (character == kReplacementCharacter)
            continue;
        const std::uint32_t offset = table.pageOffsets[character >> 8];
        std::uint8_t& place = table.pageData[offset + (character & 0xFF)];
        if (offset == emptyWindow || place != 0)
            throw "windows in conflict";
        place = static_cast<std::uint8_t>(byte);
    }
    return table;
}

// In the order in which the windows lie: each begins at the first place where what stands there
// already agrees with it.
constexpr Window kWindows437[] = {{0x00, 0},   {0x25, 256},  {0x20, 417}, {0x23, 657},
                                  {0x01, 801}, {0x22, 1032}, {0x03, 1141}};
constexpr std::uint32_t kEmptyWindow437 = 691;
constexpr Window kWindows1252[] = {{0x00, 0}, {0x20, 256}, {0x01, 430}, {0x21, 652}, {0x02, 745}};
constexpr std::uint32_t kEmptyWindow1252 = 687;

} // namespace

constexpr ByteToCharTable kCp437Chars = makeChars(kUpperHalf437);
constexpr CharToByteTable<0x575> kCp437Bytes =
    makeBytes<0x575>(kCp437Chars, kEmptyWindow437, kWindows437);
constexpr ByteToCharTable kCp1252Chars = makeChars(kControlRows1252);
constexpr CharToByteTable<0x3E9> kCp1252Bytes =
    makeBytes<0x3E9>(kCp1252Chars, kEmptyWindow1252, kWindows1252);

} // namespace ZVCL
