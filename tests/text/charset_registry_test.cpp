#include "text/charset_registry.h"

#include "lang/library.h"
#include "platform/win32.h"
#include "support/converter_cases.h"
#include "support/test_folder.h"
#include "text/external_charset.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

namespace {

using namespace ZVCL;
using namespace zv::test;

// Names that nobody knows are looked for in the registry, which is empty here.
class CharsetRegistry : public FolderTest {};

// The encoding that both directions answer for a name, or the error that both throw.
std::string served(const char16_t* name) {
    std::string answers[2];
    const std::string errors[2] = {
        errorOf([&] {
            const auto converter = CZvCharToByteConverter::getConverter(name);
            answers[0] = converter ? narrowed(converter->getCharacterEncoding()) : "null";
        }),
        errorOf([&] {
            const auto converter = CZvByteToCharConverter::getConverter(name);
            answers[1] = converter ? narrowed(converter->getCharacterEncoding()) : "null";
        })};
    for (const int direction : {0, 1})
        answers[direction] += errors[direction];
    return answers[0] == answers[1] ? answers[0] : answers[0] + " / " + answers[1];
}

TEST_F(CharsetRegistry, ServesNamesAndAliases) {
    static const struct {
        const char* expected;
        std::vector<const char16_t*> names;
    } cases[] = {
        {"ASCII",
         {u"ASCII", u"ascii", u"ANSI_X3.4-1968", u"ISO-IR-6", u"ANSI_X3.4-1986",
          u"ISO_646.IRV:1991", u"iso_646.irv:1991", u"ISO646-US", u"US-ASCII", u"US", u"IBM367",
          u"CP367", u"CSASCII", u"646", u"DEFAULT", u"Default", u"ASCII7"}},
        {"ISO8859_1",
         {u"ISO8859_1", u"ISO_8859-1:1987", u"ISO-IR-100", u"ISO_8859-1", u"ISO-8859-1", u"LATIN1",
          u"latin1", u"Latin1", u"L1", u"IBM819", u"CP819", u"CSISOLATIN1", u"8859_1",
          u"ISO_8859-1:1978", u"IBM-819", u"819"}},
        {"CP437", {u"CP437", u"ibm437", u"437", u"CSPC8CODEPAGE437", u"IBM-437"}},
        {"CP1252", {u"CP1252", u"windows-1252"}},
        {"EZvUnknownEncoding: UTF-16", {u"UTF-16"}},
        {"EZvUnknownEncoding: UTF-32", {u"UTF-32"}},
        {"EZvUnknownEncoding: koi8-R", {u"koi8-R"}}, // the name as it was given
        {"EZvUnknownEncoding", {u""}},
        {"EZvUnknownEncoding: ASCII8", {u"ASCII8"}},
        {"EZvUnknownEncoding: ASCI", {u"ASCI"}},
        {"EZvUnknownEncoding: LAT?N1", {u"LAT\u0131N1"}},
        {"EZvUnknownEncoding:  ASCII", {u" ASCII"}},
    };
    for (const auto& row : cases) {
        for (const char16_t* name : row.names)
            EXPECT_EQ(row.expected, served(name)) << narrowed(name);
    }
}

TEST_F(CharsetRegistry, KnowsTheUnicodeCharsets) {
    for (const char16_t* name :
         {u"UTF-8", u"utf8", u"UTF_8", u"UTF-16LE", u"utf-16be", u"UTF-32BE", u"UTF-32LE"})
        EXPECT_NE(nullptr, CZvCharsetRegistry::instance().find(name)) << narrowed(name);
}

TEST_F(CharsetRegistry, ComparesNamesUnitByUnit) {
    EXPECT_EQ(0, compareCharsetNames(u"utf-8", u"UTF-8"));
    EXPECT_EQ(-1, compareCharsetNames(u"a", u"B"));
    EXPECT_EQ(0x41, compareCharsetNames(u"Aa", u"a"));
    EXPECT_EQ(u'[' - u'Z', compareCharsetNames(u"[", u"z"));
    EXPECT_EQ(u'{' - u'Z', compareCharsetNames(u"{", u"z"));
    EXPECT_EQ(0x20, compareCharsetNames(u"\xE9", u"\xC9"));
}

TEST_F(CharsetRegistry, KeepsTheFirstEntryOfAName) {
    CZvCharsetRegistry registry;
    EXPECT_EQ(nullptr, registry.find(u"B"));
    registry.insert(u"b", u"CZvCTBASCII", u"CZvBTCCP437");
    registry.insert(u"a", u"CZvCTBCP1252", u"CZvBTCCP1252");
    registry.insert(u"B", u"CZvCTBCP437", u"CZvBTCCP437");
    EXPECT_EQ("EZvClassNotFound: CZvNoSuchClass",
              errorOf([&] { registry.insert(u"c", u"CZvCTBASCII", u"CZvNoSuchClass"); }));
    ASSERT_EQ(2u, registry.entries().size());
    EXPECT_STREQ("CZvCTBASCII", narrowed(registry.find(u"B")->charToByte->getName()).c_str());
    const auto converter = registry.createConverter(u"B", ConverterDirection::byteToChar);
    EXPECT_EQ("CZvBTCCP437", narrowed(converter->getClass().getName()));
    EXPECT_NE(converter.get(),
              registry.createConverter(u"B", ConverterDirection::byteToChar).get());
}

TEST_F(CharsetRegistry, GivesNoConverterForAClassThatIsNone) {
    CZvCharsetRegistry::instance().insert(u"X-NO-CONVERTER", u"CZvString", u"CZvString");
    EXPECT_EQ("null", served(u"X-NO-CONVERTER"));
}

TEST_F(CharsetRegistry, DefaultConverterFollowsTheAnsiCodePage) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"C", "C.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        const UINT page = GetACP();
        EXPECT_EQ(page == 437 || page == 1252 ? "CP" + std::to_string(page) : "ASCII",
                  served(nullptr));
    }
    std::setlocale(LC_ALL, before.c_str());
}

TEST_F(CharsetRegistry, LivesFromFirstStartToLastStop) {
    ASSERT_EQ(0, ZvclInitialize());
    ASSERT_EQ(0, ZvclTerminate());
    EXPECT_EQ("CP437", served(u"437"));
    ASSERT_EQ(0, ZvclTerminate());
    bool refused = false;
    try {
        CZvCharsetRegistry::instance();
    } catch (EZvIllegalState&) {
        refused = true;
    }
    EXPECT_TRUE(refused);
    ASSERT_EQ(0, ZvclInitialize());
    EXPECT_EQ("CP437", served(u"437"));
}

} // namespace
