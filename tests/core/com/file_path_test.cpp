#include "core/com/file_path.h"

#include "core/com/path_normalizer.h"
#include "lang/class.h"
#include "support/converter_cases.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

using zv::test::errorOf;
using zv::test::narrowed;

std::u16string wide(std::string_view text) {
    return std::u16string(text.begin(), text.end());
}

std::string normalized(std::string_view text, std::int32_t slashType = 0) {
    return narrowed(CZvPathNormalizer(slashType).Normalize(CZvString(wide(text))).view());
}

TEST(FilePath, IsCanonicalBehindItsRoot) {
    struct Case {
        std::string given;
        std::string path;
        std::int32_t rootLength;
    };
    const Case cases[] = {
        {"", "", 0},
        {"x/y", R"(x\y)", 0},
        {".", ".", 0},
        {":x", ":x", 0},
        {":", ":", 0},
        {":a:b", ":a:b", 0}, // the first colon decides
        // drives
        {"C:", "C:", 2},
        {R"(C:\)", R"(C:\)", 3},
        {"C:/dir/./sub//file.txt", R"(C:\dir\sub\file.txt)", 3},
        {R"(C:\a\..\b)", R"(C:\b)", 3},
        {R"(C:\a\..)", R"(C:\)", 3},
        {R"(C:\a\..\)", R"(C:\)", 3},
        {R"(C:\..)", R"(C:\)", 3},
        {R"(C:\..\..\b)", R"(C:\b)", 3},
        {R"(C:\\b)", R"(C:\b)", 3},
        {"C:x/../../y", R"(C:..\y)", 2}, // of the drive's current folder
        {"C:..", "C:..", 2},
        {"1:/x:y", R"(1:\x:y)", 3},
        // shares
        {R"(\\srv\share\a\b\..\c)", R"(\\srv\share\a\c)", 12},
        {"//srv/share", R"(\\srv\share)", 11},
        {"//srv/share/", R"(\\srv\share\)", 12},
        {"//srv/share//../x", R"(\\srv\share\x)", 12},
        {"//srv/share/a/..", R"(\\srv\share\)", 12},
        {"//s/h/./", R"(\\s\h\)", 6},
        {"//../../a", R"(\\..\..\a)", 8}, // names like any other
        // the root of the current drive
        {"/", R"(\)", 1},
        {"//", R"(\)", 1},
        {"/a/../../b", R"(\b)", 1},
        {"/..", R"(\)", 1},
        {"/.a/..b/c../...", R"(\.a\..b\c..\...)", 1},
        // what stands behind a zero is no part of a path
        {std::string("a/b\0/c:d", 8), R"(a\b)", 0},
        {std::string("\0:", 2), "", 0},
    };
    for (const Case& one : cases) {
        const CZvFilePath path{CZvString(wide(one.given))};
        EXPECT_EQ(narrowed(path.toString().view()), one.path) << one.given;
        EXPECT_EQ(path.getRootLength(), one.rootLength) << one.given;
    }
    const CZvString given(u"a/./b");
    EXPECT_EQ(CZvFilePath(given).getClass().getName(), std::u16string_view(u"CZvFilePath"));
    EXPECT_EQ(given.view(), u"a/./b");
}

TEST(FilePath, RefusesBadRoots) {
    constexpr std::pair<const char*, const char*> cases[] = {
        {"ab:c", "invalid drive"},          {"a/b:", "invalid drive"},
        {"//srv:x/share", "invalid drive"}, {R"(\\\x)", "no server name"},
        {"///", "no server name"},          {R"(\\srv)", "no share name"},
        {R"(\\srv\)", "no share name"},     {R"(\\srv\\share)", "no share name"},
    };
    for (const auto& [given, message] : cases) {
        EXPECT_EQ(errorOf([&, text = given] { CZvFilePath unused{CZvString(wide(text))}; }),
                  std::string("EZvInvalidPath: ") + message)
            << given;
    }
}

TEST(PathNormalizer, FollowsItsTable) {
    const std::string_view cases[] = {
        "=", "a/b/../c=a/c", "a/..=", "a/b/..=a/", "a/=a/", "a/.=a/", "./a=a", "../a=../a",
        "../../a=../../a", "a/../../b=../b", ".=.", "./=./", "./.=./", "..=..",
        ".a/..b/.../c..=.a/..b/.../c..",
        // A ".." that was kept is no name that another one takes back.
        "../a/../../b=../../b", "../a/../..=../..", ".././=../",
        // What is relative stays relative, and what is absolute absolute.
        "a/..//b=b", "/a/../b=/b", "/a/..=/", "/../..//.=/"};
    for (const std::string_view one : cases) {
        const std::string given(one.substr(0, one.find('=')));
        const std::string expected(one.substr(given.size() + 1));
        std::string backslashes = expected;
        for (char& ch : backslashes)
            ch = ch == '/' ? '\\' : ch;
        EXPECT_EQ(normalized(given, CZvPathNormalizer::kSlash), expected) << given;
        EXPECT_EQ(normalized(given, CZvPathNormalizer::kBackslash), backslashes) << given;
        EXPECT_EQ(normalized(given), backslashes) << given;
    }
    EXPECT_EQ(normalized(R"(a\b\../c)", CZvPathNormalizer::kSlash), "a/c");
    for (const std::int32_t unknown : {-1, 3, 0x7FFFFFFF}) {
        EXPECT_EQ(errorOf([=] { CZvPathNormalizer unused(unknown); }),
                  "EZvException: Invalid slash type specified.");
    }
}

// The same by whole components.
std::string reference(const std::string& text) {
    const bool absolute = text.starts_with('/');
    std::vector<std::string> kept;
    std::string last;
    bool endsInFolder =
        false;              // the last component names none: it is "", "." or a ".." that was taken
    bool endsInDot = false; // the last one that is not empty is "."
    for (std::size_t begin = 0; begin <= text.size(); begin += last.size() + 1) {
        last = text.substr(begin, text.find('/', begin) - begin);
        endsInFolder = true;
        if (last.empty())
            continue;
        endsInDot = last == ".";
        if (last == "." || (last == ".." && absolute && kept.empty()))
            continue;
        if (last == ".." && !kept.empty() && kept.back() != "..") {
            kept.pop_back();
            continue;
        }
        endsInFolder = false;
        kept.push_back(last);
    }
    std::string result = absolute ? "/" : "";
    for (const std::string& name : kept)
        result += (&name != &kept.front() ? "/" : "") + name;
    if (!kept.empty() && endsInFolder)
        result += '/';
    if (kept.empty() && !absolute && endsInDot)
        result = text == "." ? "." : "./";
    return result;
}

TEST(PathNormalizer, AgreesWithTheReferenceOnEveryShortPath) {
    CZvPathNormalizer normalizer(CZvPathNormalizer::kSlash); // one for all: nothing stays behind
    constexpr std::size_t longest = 9;
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string text = texts[i];
        const std::string result = narrowed(normalizer.Normalize(CZvString(wide(text))).view());
        ASSERT_EQ(result, reference(text)) << text;
        ASSERT_LE(result.size(), text.size());
        ASSERT_EQ(narrowed(normalizer.Normalize(CZvString(wide(result))).view()), result) << text;
        for (const char next : {'.', '/', 'a'}) {
            if (text.size() < longest)
                texts.push_back(text + next);
        }
    }
}

} // namespace
} // namespace ZVCL
