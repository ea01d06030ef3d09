#include "platform/win32.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace {

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

// Runs one case behind paddings of ASCII of every length that the fast path tells apart, into
// targets of every size.
template <typename From, typename To>
void check(UINT page, std::basic_string_view<From> source, std::basic_string_view<To> expected) {
    for (std::size_t padding = 0; padding < 18; ++padding) {
        const std::basic_string<From> text = std::basic_string<From>(padding, 'p') +
                                             std::basic_string<From>(source) +
                                             static_cast<From>('q');
        const std::basic_string<To> wanted = std::basic_string<To>(padding, 'p') +
                                             std::basic_string<To>(expected) + static_cast<To>('q');
        std::basic_string<To> target;
        ASSERT_EQ(convert(page, text, target).units, static_cast<int>(wanted.size()));
        for (std::size_t size = 1; size < wanted.size(); ++size) {
            target.resize(size);
            const Answer cut = convert(page, text, target);
            ASSERT_EQ(cut.units, 0);
            ASSERT_EQ(cut.error, ERROR_INSUFFICIENT_BUFFER);
        }
        target.resize(wanted.size());
        ASSERT_EQ(convert(page, text, target).units, static_cast<int>(wanted.size()));
        ASSERT_EQ(target, wanted);
        target.resize(wanted.size() + 5);
        ASSERT_EQ(convert(page, text, target).units, static_cast<int>(wanted.size()));
    }
}

struct DecodeCase {
    std::string_view bytes;
    std::u16string_view text;
    bool valid;
};

// One U+FFFD for each maximal subpart that could have begun a character, where all systems agree.
constexpr DecodeCase kUtf8Cases[] = {
    {"\x7F"sv, u"\x7F"sv, true},
    {"\0x"sv, u"\0x"sv, true},
    {"\xC2\x80"sv, u"\x80"sv, true},
    {"\xDF\xBF"sv, u"\x7FF"sv, true},
    {"\xE0\xA0\x80"sv, u"\x800"sv, true},
    {"\xED\x9F\xBF"sv, u"\xD7FF"sv, true},
    {"\xEE\x80\x80"sv, u"\xE000"sv, true},
    {"\xEF\xBF\xBF"sv, u"\xFFFF"sv, true},
    {"\xEF\xBB\xBF"sv, u"\xFEFF"sv, true},
    {"\xF0\x90\x80\x80"sv, u"\xD800\xDC00"sv, true},
    {"\xF4\x8F\xBF\xBF"sv, u"\xDBFF\xDFFF"sv, true},
    {"\x80"sv, u"\xFFFD"sv, false},
    {"\xBF\xBF"sv, u"\xFFFD\xFFFD"sv, false},
    {"\xC0\xAF"sv, u"\xFFFD\xFFFD"sv, false},
    {"\xC1\xBF"sv, u"\xFFFD\xFFFD"sv, false},
    {"\xC2"sv, u"\xFFFD"sv, false},
    {"\xC2\xC2\x80"sv, u"\xFFFD\x80"sv, false},
    {"\xE0\xA0"sv, u"\xFFFD"sv, false},
    {"\xE1\x80\xE2\xF0\x91\x92"sv, u"\xFFFD\xFFFD\xFFFD"sv, false},
    {"\xF0\x90\x80"sv, u"\xFFFD"sv, false},
    {"\xF5\x80"sv, u"\xFFFD\xFFFD"sv, false},
    {"\xFE\xFF"sv, u"\xFFFD\xFFFD"sv, false},
    {"\xF1\x80\x80"
     "A\xC3\xA9"sv,
     u"\xFFFD"
     u"A\xE9"sv,
     false},
};

TEST(Utf8, IsReadWithAReplacementForEveryBrokenSequence) {
    for (const DecodeCase& one : kUtf8Cases) {
        SCOPED_TRACE(testing::PrintToString(one.bytes));
        check(CP_UTF8, one.bytes, one.text);
        std::u16string counted;
        const Answer strict = convert(CP_UTF8, one.bytes, counted, MB_ERR_INVALID_CHARS);
        EXPECT_EQ(strict.units, one.valid ? static_cast<int>(one.text.size()) : 0);
        EXPECT_EQ(strict.error, one.valid ? ERROR_SUCCESS : ERROR_NO_UNICODE_TRANSLATION);
        if (one.valid)
            check(CP_UTF8, one.text, one.bytes);
    }
}

// How many replacements a form gets that is well made and stands for nothing differs by system.
TEST(Utf8, FormsThatNobodyMayWriteAreReplaced) {
    for (const std::string_view bytes :
         {"\xE0\x80\xAF"sv, "\xED\xA0\x80"sv, "\xF0\x80\x80\x80"sv, "\xF4\x90\x80\x80"sv}) {
        std::u16string text;
        EXPECT_EQ(convert(CP_UTF8, bytes, text, MB_ERR_INVALID_CHARS).error,
                  ERROR_NO_UNICODE_TRANSLATION);
        text.resize(bytes.size());
        const int units = convert(CP_UTF8, bytes, text).units;
        ASSERT_GT(units, 0);
        EXPECT_EQ(text.substr(0, static_cast<std::size_t>(units)),
                  std::u16string(static_cast<std::size_t>(units), u'\xFFFD'));
    }
}

TEST(Utf8, IsWrittenWithAReplacementForEveryLoneSurrogate) {
    constexpr std::pair<std::u16string_view, std::string_view> cases[] = {
        {u"\xD800"sv, "\xEF\xBF\xBD"sv},
        {u"\xDC00"sv, "\xEF\xBF\xBD"sv},
        {u"\xDC00\xD800"sv, "\xEF\xBF\xBD\xEF\xBF\xBD"sv},
        {u"\xD800\xD800\xDC00"sv, "\xEF\xBF\xBD\xF0\x90\x80\x80"sv},
        {u"\xD83D!"sv, "\xEF\xBF\xBD!"sv},
    };
    for (const auto& [text, bytes] : cases)
        check(CP_UTF8, text, bytes);
}

TEST(CodePages, ReplaceWhatAPageLacks) {
    struct Case {
        UINT page;
        std::u16string_view text;
        const char* fallback;
        std::string_view bytes;
        BOOL used;
    };
    constexpr Case cases[] = {
        {1252, u"\u20AC\xE9", nullptr, "\x80\xE9", FALSE},
        {1252,
         u"a\u0416"
         u"b",
         nullptr, "a?b", TRUE},
        {1252, u"\xD83D\xDE00.", "_", "__.", TRUE}, // by units
        {1252, u"\xD83D", "", "\0"sv, TRUE},
        {437, u"\xE9\u2592", nullptr, "\x82\xB1", FALSE},
        {437, u"x\u20ACy", "<>", "x<y", TRUE}, // one byte
        {1251, u"\u0416\u0451", nullptr, "\xC6\xB8", FALSE},
        {1251, u"\u3042 \xD83D\xDE00 \xD83D", nullptr, "? ?? ?", TRUE},
        {932, u"\u3042a\u8868\\", nullptr,
         "\x82\xA0"
         "a\x95\x5C\\",
         FALSE},
        {CP_ACP, u"\xE9\u0416", nullptr, "\xE9?", TRUE}, // the C locale's page is 1252
    };
    for (const Case& one : cases) {
        char target[16];
        BOOL used = 2;
        const int units =
            WideCharToMultiByte(one.page, 0, one.text.data(), static_cast<int>(one.text.size()),
                                target, sizeof target, one.fallback, &used);
        EXPECT_EQ(std::string_view(target, static_cast<std::size_t>(units)), one.bytes);
        EXPECT_EQ(used, one.used);
    }
}

TEST(CodePages, OfIconvReadEveryByteSequence) {
    check(437, "\x82\xB1\xFF"sv, u"\xE9\u2592\xA0"sv);
    check(932, "\x95\x5C\\"sv, u"\u8868\\"sv); // the second byte of a character looks like ASCII
    check(932, "\xB1"sv, u"\uFF71"sv);
    for (const std::string_view bytes : {"\x82"sv, "a\xFF"
                                                   "b"sv}) { // cut, and no character
        std::u16string counted;
        EXPECT_EQ(convert(932, bytes, counted).units, static_cast<int>(bytes.size()));
        EXPECT_EQ(convert(932, bytes, counted, MB_ERR_INVALID_CHARS).error,
                  ERROR_NO_UNICODE_TRANSLATION);
    }
}

TEST(CodePages, AnEbcdicPageTakesNoShortWay) {
    std::string bytes(5, '\0');
    ASSERT_EQ(convert(500, u"Hello"sv, bytes).units, 5);
    EXPECT_EQ(bytes, "\xC8\x85\x93\x93\x96");
    std::u16string text(5, u'\0');
    ASSERT_EQ(convert(500, bytes, text).units, 5);
    EXPECT_EQ(text, u"Hello");
}

TEST(CodePages, RefuseArgumentsThatMakeNoSense) {
    char16_t wide[4];
    char bytes[4];
    SetLastError(0);
    const auto refused = [](int answer) {
        const bool right = answer == 0 && GetLastError() == ERROR_INVALID_PARAMETER;
        SetLastError(0);
        return right;
    };
    EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, "a", 0, wide, 4)));
    EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, nullptr, 1, wide, 4)));
    EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, "a", 1, nullptr, 4)));
    EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, "a", 1, wide, -1)));
    EXPECT_EQ(MultiByteToWideChar(1252, 0x4000, "a", 1, wide, 4), 0);
    EXPECT_EQ(GetLastError(), 1004U); // such flags
    EXPECT_TRUE(refused(MultiByteToWideChar(9999, 0, "a", 1, wide, 4)));
    EXPECT_TRUE(refused(WideCharToMultiByte(9999, 0, u"a", 1, bytes, 4, nullptr, nullptr)));
    EXPECT_TRUE(refused(WideCharToMultiByte(1252, 0, u"a", 0, bytes, 4, nullptr, nullptr)));
    // With -1 the terminator is part of the text; so it is with every size below 0.
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -2, wide, 4), 4);
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -1, wide, 4), 4);
    EXPECT_EQ(wide[3], 0);
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "abcd", -1, wide, 4), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"", -1, nullptr, 0, nullptr, nullptr), 1);
}

} // namespace
