#include "platform/posix/code_pages.h"

#include "platform/win32.h"

#include <clocale>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <iconv.h>

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

// Both directions with one signature. The target has exactly the size that is given, so that a
// sanitizer sees an overrun.
struct Answer {
    int units;
    DWORD error;
};

Answer convert(UINT page, std::string_view source, std::u16string& target, DWORD flags = 0) {
    const auto buffer = std::make_unique<char16_t[]>(target.size());
    SetLastError(0);
    const int units = MultiByteToWideChar(
        page, flags, source.data(), static_cast<int>(source.size()),
        target.empty() ? nullptr : buffer.get(), static_cast<int>(target.size()));
    target.assign(buffer.get(), target.size());
    return {units, GetLastError()};
}

Answer convert(UINT page, std::u16string_view source, std::string& target, DWORD = 0) {
    const auto buffer = std::make_unique<char[]>(target.size());
    SetLastError(0);
    const int units = WideCharToMultiByte(page, 0, source.data(), static_cast<int>(source.size()),
                                          target.empty() ? nullptr : buffer.get(),
                                          static_cast<int>(target.size()), nullptr, nullptr);
    target.assign(buffer.get(), target.size());
    return {units, GetLastError()};
}

// The C library's own converter is the reference, for every character and for random text.
TEST(Utf8, AgreesWithIconv) {
    std::mt19937 random(7);
    std::u16string text;
    for (char32_t c = 1; c < 0x110000; ++c) {
        if (c >= 0xD800 && c < 0xE000)
            continue;
        if (c >= 0x10000) {
            text += static_cast<char16_t>(0xD7C0 + (c >> 10));
            text += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        } else {
            text += static_cast<char16_t>(c);
        }
        if (random() % 64 == 0)
            text.append(random() % 40, u'a');
    }
    std::string reference(text.size() * 3, '\0');
    char* in = reinterpret_cast<char*>(text.data());
    char* out = reference.data();
    std::size_t inSize = text.size() * 2;
    std::size_t outSize = reference.size();
    const iconv_t converter = iconv_open("UTF-8", "UTF-16LE");
    ASSERT_EQ(iconv(converter, &in, &inSize, &out, &outSize), 0U);
    iconv_close(converter);
    reference.resize(reference.size() - outSize);

    std::string bytes(reference.size(), '\0');
    EXPECT_EQ(convert(CP_UTF8, text, bytes).units, static_cast<int>(reference.size()));
    EXPECT_TRUE(bytes == reference);
    std::u16string back(text.size(), u'\0');
    EXPECT_EQ(convert(CP_UTF8, bytes, back, MB_ERR_INVALID_CHARS).units,
              static_cast<int>(text.size()));
    EXPECT_TRUE(back == text);
}

TEST(WindowsLatin1, CarriesEveryByteThereAndBack) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    std::u16string text(256, u'\0');
    ASSERT_EQ(convert(1252, bytes, text, MB_ERR_INVALID_CHARS).units, 256);
    std::string back(256, '\0');
    ASSERT_EQ(convert(1252, text, back).units, 256);
    EXPECT_EQ(back, bytes);
    for (const unsigned undefined : {0x81U, 0x8DU, 0x8FU, 0x90U, 0x9DU})
        EXPECT_EQ(text[undefined], undefined);
    EXPECT_EQ(text[0x80], u'\u20AC');
    EXPECT_EQ(text[0x9F], u'\u0178');

    // What iconv's page defines as well is the same there.
    const iconv_t converter = iconv_open("UTF-16LE", "CP1252");
    for (std::size_t byte = 0; byte < 256; ++byte) {
        char* in = bytes.data() + byte;
        char16_t unit = 0;
        char* out = reinterpret_cast<char*>(&unit);
        std::size_t inSize = 1;
        std::size_t outSize = sizeof unit;
        if (iconv(converter, &in, &inSize, &out, &outSize) == 0) {
            EXPECT_EQ(unit, text[byte]) << byte;
        }
    }
    iconv_close(converter);
}

// One U+FFFD for each byte of a form that is well made and stands for nothing.
TEST(Utf8, FormsThatNobodyMayWriteAreReplacedByteByByte) {
    for (const std::string_view bytes :
         {"\xE0\x80\xAF"sv, "\xED\xA0\x80"sv, "\xF0\x80\x80\x80"sv, "\xF4\x90\x80\x80"sv}) {
        std::u16string text(bytes.size() + 1, u'\0');
        EXPECT_EQ(convert(CP_UTF8, bytes, text).units, static_cast<int>(bytes.size()));
        EXPECT_EQ(text.find_first_not_of(u'\xFFFD'), bytes.size());
    }
}

TEST(Utf8, TakesNoDefaultCharacter) {
    BOOL used = FALSE;
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"a", 1, nullptr, 0, nullptr, &used), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"a", 1, nullptr, 0, "?", nullptr), 0);
}

TEST(CodePages, TheAnsiPageFollowsTheLocale) {
    constexpr std::pair<const char*, unsigned> sets[] = {
        {"UTF-8", 65001},
        {"utf8", 65001},
        {"ANSI_X3.4-1968", 1252},
        {"ISO-8859-1", 1252},
        {"ISO-8859-2", 1250},
        {"ISO-8859-5", 1251},
        {"ISO-8859-15", 1252},
        {"KOI8-R", 1251},
        {"CP1251", 1251},
        {"CP1255", 1255},
        {"EUC-JP", 932},
        {"GBK", 936},
        {"Shift_JIS", 932},
        {"GB18030", 936},
        {"BIG5", 950},
        {"EUC-KR", 949},
        {"TIS-620", 874},
        {"something", 1252},
        {"", 1252},
        {"CP", 1252},
    };
    for (const auto& [set, page] : sets)
        EXPECT_EQ(zv::platform::posix::pageOfCodeSet(set), page) << set;

    EXPECT_EQ(GetACP(), 1252U);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(GetACP(), CP_UTF8);
    EXPECT_EQ(zv::platform::posix::widen("\xC3\xA9"), u"\xE9");
    std::string bytes;
    EXPECT_TRUE(zv::platform::posix::narrowExactly(u"\u0416", &bytes));
    EXPECT_FALSE(zv::platform::posix::narrowExactly(u"\xD800", &bytes));
    std::setlocale(LC_CTYPE, "C");
    EXPECT_FALSE(zv::platform::posix::narrowExactly(u"\u0416", &bytes));
    zv::platform::posix::releaseCodePages(); // and opened again by the next conversion
    EXPECT_EQ(MultiByteToWideChar(437, 0, "\x82", 1, nullptr, 0), 1);
}

} // namespace
