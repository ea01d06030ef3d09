#include "core/wide_text.h"

#include "platform/win32.h"

#include <climits>
#include <clocale>
#include <string>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

// A locale with more letters than ASCII for a scope: the one in UTF-8, or the user's own where
// there is none by that name.
class LettersScope {
public:
    LettersScope() : before(std::setlocale(LC_ALL, nullptr)) {
        if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr)
            std::setlocale(LC_ALL, "");
    }
    ~LettersScope() { std::setlocale(LC_ALL, before.c_str()); }

private:
    std::string before;
};

TEST(WideText, ReadsNumbers) {
    struct Row {
        const char16_t* text;
        int base;
        long value;
        std::size_t taken; // units
    };
    const Row rows[] = {
        {u"42", 10, 42, 2},
        {u"  -7x", 10, -7, 4},
        {u"+9", 10, 9, 2},
        {u"0x1F", 0, 31, 4},
        {u"0x1f", 16, 31, 4},
        {u"017", 0, 15, 3},
        {u"0x", 0, 0, 1},
        {u"zz", 36, 1295, 2},
        {u"", 10, 0, 0},
        {u"-", 10, 0, 0},
        {u"12345678901234567890123", 10, LONG_MAX, 23},
        {u"-12345678901234567890123", 10, LONG_MIN, 24},
        {u"9", 8, 0, 0},
    };
    for (const Row& row : rows) {
        char16_t* end = nullptr;
        EXPECT_EQ(wcstol(row.text, &end, row.base), row.value);
        EXPECT_EQ(static_cast<std::size_t>(end - row.text), row.taken) << row.value;
    }
    EXPECT_EQ(_wtoi(u" 12ab"), 12);
}

TEST(WideText, WritesNumbersInAnyRadix) {
    struct Row {
        long value;
        int radix;
        const char16_t* text;
    };
    const Row rows[] = {
        {0, 10, u"0"},
        {-1, 10, u"-1"},
        {255, 16, u"ff"},
        {-1, 16, u"ffffffff"},
        {35, 36, u"z"},
        {-1, 2, u"11111111111111111111111111111111"},
        {INT_MIN, 10, u"-2147483648"},
    };
    for (const Row& row : rows) {
        char16_t text[40];
        EXPECT_EQ(std::u16string(_ltow(row.value, text, row.radix)), row.text);
    }
}

TEST(WideText, ComparesWithoutRegardToCase) {
    EXPECT_EQ(_wcsnicmp(u"ABCx", u"abcy", 3), 0);
    EXPECT_GT(_wcsnicmp(u"abd", u"ABC", 3), 0);
    EXPECT_LT(_wcsnicmp(u"ab", u"ABC", 9), 0);
    EXPECT_EQ(_wcsnicmp(u"ab", u"AB", 9), 0);
    EXPECT_LT(compareNames(u"Alpha", u"beta"), 0);
    EXPECT_EQ(compareNames(u"Alpha", u"ALPHA"), 0);
    EXPECT_LT(compareNames(u"key", u"Key2"), 0);
    // By folded unit: the letter comes behind the underscore, though its capital comes before it.
    EXPECT_GT(compareNames(u"A", u"_"), 0);
}

TEST(WideText, FoldsLettersByTheLocale) {
    const LettersScope letters;
    EXPECT_EQ(towlower(u'\u00C4'), u'\u00E4');
    EXPECT_EQ(towupper(u'\u0434'), u'\u0414');
    EXPECT_EQ(towlower(u'\xD800'), u'\xD800');
    char16_t text[] = u"stra\u00DFe \u00E4";
    EXPECT_EQ(std::u16string(_wcsupr(text)), u"STRA\u00DFE \u00C4");
    EXPECT_EQ(compareNames(u"\u00C4b", u"\u00E4B"), 0);
}

TEST(WideText, ConvertsWholeTextsAndBoundedOnes) {
    const LettersScope letters;
    struct Row {
        UINT page;
        std::string bytes;
        std::u16string wide;
        bool back; // the wide text gives the same bytes
    };
    const Row rows[] = {
        {CP_UTF8, {"a\0\xC3\xA4\xF0\x9F\x98\x80", 8}, {u"a\0\u00E4\U0001F600", 5}, true},
        {CP_UTF8, "\xFFz", u"\uFFFDz", false},
        {CP_UTF8, "\xEF\xBF\xBDz", u"\uFFFDz", true},
        {1252, {"a\0\xE4\x80", 4}, {u"a\0\u00E4\u20AC", 4}, true},
        {1252, "\x81\x8D\x8F\x90\x9D", u"\x81\x8D\x8F\x90\x9D", true},
    };
    for (const Row& row : rows) {
        if (GetACP() != row.page)
            continue;
        EXPECT_EQ(widen(row.bytes), row.wide);
        EXPECT_EQ(narrow(row.wide) == row.bytes, row.back);
    }
    EXPECT_EQ(narrow(u"\u4E2Dz"), GetACP() == CP_UTF8 ? "\xE4\xB8\xADz" : "?z");

    char16_t target[4] = {1, 1, 1, 1};
    EXPECT_EQ(mbstowcs(target, "ab", 4), 2u);
    EXPECT_EQ(target[2], 0);
    EXPECT_EQ(target[3], 1);
    EXPECT_EQ(mbstowcs(target, "abcdef", 3), 3u);
    EXPECT_EQ(target[3], 1);
    EXPECT_EQ(mbstowcs(nullptr, "abc", 0), 3u);
    char out[3];
    EXPECT_EQ(wcstombs(out, u"\u00E4", 3), GetACP() == CP_UTF8 ? 2u : 1u);
}

TEST(WideText, CopiesAndPads) {
    char16_t text[8] = u"xxxxxxx";
    EXPECT_EQ(std::u16string(wcscat(wcscpy(text, u"ab"), u"cd")), u"abcd");
    wcsncpy(text, u"q", 3);
    EXPECT_EQ(std::u16string(text, 5), std::u16string(u"q\0\0d\0", 5));
    EXPECT_LT(wcscmp(u"a", u"b"), 0);
    EXPECT_GT(wcscmp(u"b", u"B"), 0);
    EXPECT_EQ(wcscmp(u"", u""), 0);
}

} // namespace
} // namespace zv::core
