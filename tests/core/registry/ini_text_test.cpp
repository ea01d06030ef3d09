#include "core/registry/ini_text.h"

#include "platform/win32.h"
#include "support/scratch_folder.h"

#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zv::core;
using namespace std::string_literals;

// The library takes the locale when it starts, which it does in main().
[[maybe_unused]] const int localeSet = (zv::test::setVariable("LC_ALL", "C.UTF-8"), 0);

// "name{key='value',}name{}" in map order.
std::string shown(const IniTable& table) {
    std::string text;
    for (const auto& [name, section] : table.sections()) {
        text += narrow(name) + '{';
        for (const auto& entry : section.keys)
            text += narrow(entry->key()) + "='" + narrow(entry->value()) + "',";
        text += '}';
    }
    return text;
}

IniTable parsed(std::string_view text) {
    IniTable table;
    table.parse(text);
    return table;
}

// What reading makes of a text, and that the first writing of it settles it.
void expectReading(const std::string& text, const std::string& reading) {
    SCOPED_TRACE(testing::PrintToString(text.substr(0, 200)));
    const IniTable table = parsed(text);
    EXPECT_EQ(shown(table), reading);
    const std::string once = table.write();
    const IniTable again = parsed(once);
    EXPECT_EQ(shown(again), reading);
    EXPECT_EQ(again.write(), once);
    EXPECT_EQ(again.entryCount(), table.entryCount());
}

TEST(IniText, ReadsNastyTextsAsExpected) {
    const std::string longText(70000, 'x');
    const std::pair<std::string, std::string> rows[] = {
        // Line ends
        {"", ""},
        {"\n\r\n", ""},
        {"[s]", "s{}"},
        {"[s]\r\nk=v\r\n\r\n", "s{k='v',}"},
        {"[s]\nk=v\n[t]\n", ""}, // a header inside a section is a key line without "="
        {"[s]\nk=v\n\n[t]\n", "s{k='v',}t{}"},
        {"[s]\nk=v", "s{k='v',}"},
        {"[s]\nk=v\r", "s{k='v\r',}"},     // half a line end is none
        {"[s]\nk=v\r\r\n", "s{k='v\r',}"}, // and one at most is taken off
        {"[s]\rk=v\n", "s{}"},
        // Headers
        {"[a]]\n", "a]{}"},
        {"[a] text ] b\n", "a] text {}"},
        {"[a] ; text behind\nk=v\n", "a{k='v',}"},
        {"[]\n=\n", "{='',}"},
        {"[ a ]\n", " a {}"},
        {"[a\nk=v\n\n[b]\n", ""},
        {" [a]\nk=v\n[b]\nk=v\n", "b{k='v',}"},
        {"\xEF\xBB\xBF[a]\nk=v\n\n[b]\n", "b{}"},
        {"[a]\nx=1\ny=2\n\n[A]\nx=3\n", "a{x='3',}"}, // the later one as a whole
        // Key lines
        {"[s]\nk\n\n[t]\n", ""},
        {"[a]\nx=1\n\n[s]\nk\n\n[t]\n", "a{x='1',}"},
        {"[s]\nk= a = b \n", "s{k='a = b',}"},
        {"[s]\nk  =v\n", "s{k='v',}"},
        {"[s]\nk\t=\tv\t\n", "s{k\t='\tv\t',}"},
        {"[s]\n==\n=v\n", "s{='v',}"},
        {"[s]\nKey=1\nkEY=2\n", "s{Key='2',}"},
        {"[s]\n;c=1\n#d=2\n[e=3\n", "s{#d='2',;c='1',[e='3',}"},
        {"[s]\nb=1\na=2\naa=3\nB =4\n", "s{a='2',aa='3',b='4',}"},
        // Zero bytes
        {"\0[s]\n"s, ""},
        {"[s\0]\nk=v\n"s, ""},
        {"[s]\0x\nk=v\n"s, "s{k='v',}"},
        {"[s]\nk\0=v\n"s, ""},
        {"[s]\nk=\0v\nl=w\0\n"s, "s{k='',l='w',}"},
        {"[s]\nk=v\n\0l=w\n[t]\n"s, "s{k='v',}t{}"},
        // Length
        {"[" + longText + "]\n" + longText + "=" + longText + "\n",
         longText + "{" + longText + "='" + longText + "',}"},
    };
    for (const auto& [text, reading] : rows)
        expectReading(text, reading);
    for (const char space : " \t\v\f\r"s) {
        expectReading("[s]\nk=v\n"s + space + "l=w\nm=x\n[t]\nn=y\n", "s{k='v',}t{n='y',}");
        expectReading(std::string(1, space) + "[s]\nk=v\n", "");
    }
}

TEST(IniText, KeepsWhatDidNotLoad) {
    const std::pair<std::string, std::string> rows[] = {
        // Comments stay in front of the section that they stood before.
        {"; 1\n# 2\r\n[b]\nk=v\n\n; 3\n\n[a]\n\n; end",
         "; 3\n[a]\r\n\r\n; 1\n# 2\r\n[b]\r\nk=v\r\n\r\n; end\r\n"},
        {"only text", "only text\r\n"},
        {"\xEF\xBB\xBF[a]\nk=v\n", "\xEF\xBB\xBF[a]\nk=v\n"},
        {"[a]\nk=v\n  l=w\nm=x\n[b]\n", "[a]\r\nk=v\r\n\r\n  l=w\nm=x\n[b]\r\n\r\n"},
        {"; 1\n[a]\n\n; 2\n[A]\nk=v\n", "; 1\n; 2\n[a]\r\nk=v\r\n\r\n"},
        // From a malformed line on, byte for byte.
        {"[a]\nk=v\n\n[b\r\n \0\xFF\n[c]\nk=v"s, "[a]\r\nk=v\r\n\r\n[b\r\n \0\xFF\n[c]\nk=v"s},
        {"[b]\nk=v\n\n[a]\nl=w\nbad\n\n[c]\n", "[b]\r\nk=v\r\n\r\n[a]\nl=w\nbad\n\n[c]\n"},
        {"; c\n[a]\nbad", "; c\n[a]\nbad"},
        // Bytes that are no text, where there are such, as they were.
        {"[\xFF]\n\xFEk=\xC3\n", "[\xFF]\r\n\xFEk=\xC3\r\n\r\n"},
        {"[a]\nk= v \0 w\n"s, "[a]\r\nk= v \0 w\r\n\r\n"s},
        {"[a]\n\xFF=1\n\xFF=2\n", "[a]\r\n\xFF=2\r\n\r\n"},
    };
    for (const auto& [text, written] : rows) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(parsed(text).write(), written);
        EXPECT_EQ(parsed(written).write(), written);
    }
}

// Where some bytes are no text.
class IniTextInUtf8 : public testing::Test {
protected:
    void SetUp() override {
        if (GetACP() != CP_UTF8)
            GTEST_SKIP() << "every byte is a character of this system's ANSI code page";
    }
};

TEST_F(IniTextInUtf8, ReadsBytesThatAreNoText) {
    expectReading("[s]\nbad=\xFFx\n\xFE=y\n", "s{bad='\xEF\xBF\xBDx',\xEF\xBF\xBD='y',}");
    for (const char* text : {"[ZV]\nk=\xFF\n", "[ZV]\n\xFF=v\n", "[Z\xFF]\nk=v\n"}) {
        IniTable table = parsed(text); // carried as another text, or under another name
        for (const auto& [name, section] : table.sections()) {
            for (const auto& entry : section.keys)
                table.markCarried(name, entry->key());
        }
        EXPECT_FALSE(table.isWhollyCarried()) << testing::PrintToString(text);
    }
}

TEST_F(IniTextInUtf8, RawBytesGoWhenTheEntryIsSetAnew) {
    IniTable table = parsed("[\xFF]\n\xFEk=\xC3\nl=\xC3\n");
    const std::u16string section = u"\uFFFD";
    table.set(section, IniEntry::make(u"\uFFFDK", u"new"));
    EXPECT_EQ(table.write(), "[\xFF]\r\nl=\xC3\r\n\xFEk=new\r\n\r\n");
    EXPECT_EQ(table.entryCount(), 2u);
}

TEST(IniText, RefusesWhatWouldDamageOtherEntries) {
    const std::u16string lone(1, char16_t{0xD800});
    const std::u16string zero(1, u'\0');
    for (const std::u16string& bad : {std::u16string(u"a\nb"), std::u16string(u"a\r"), zero}) {
        EXPECT_EQ(IniTable::checkSection(bad), kInvalidArgument);
        EXPECT_EQ(IniTable::checkEntry(bad, u""), kInvalidArgument);
        EXPECT_EQ(IniTable::checkEntry(u"k", bad), kInvalidArgument);
    }
    for (const std::u16string& bad : {std::u16string(u"="), std::u16string(u" a"),
                                      std::u16string(u"\ta"), std::u16string(u"\v"), lone})
        EXPECT_EQ(IniTable::checkEntry(bad, u"v"), kInvalidArgument);
    EXPECT_EQ(IniTable::checkSection(lone), kInvalidArgument);

    // Whatever is not refused reads back, spaces at its ends aside, and moves nothing else.
    const std::u16string units = u"a =]\u00E4\t[;\u4E2D";
    std::vector<std::u16string> texts = {u""};
    for (std::size_t i = 0; i < 1 + units.size() + units.size() * units.size() / 2; ++i) {
        for (const char16_t unit : units)
            texts.push_back(texts[i] + unit);
    }
    int taken = 0;
    for (const std::u16string& text : texts) {
        if (IniTable::checkSection(text) == kOk) {
            IniTable table = parsed("[b]\nk=v\n");
            table.set(text, IniEntry::make(u"n", u"w"));
            ASSERT_NE(parsed(table.write()).find(text, u"n"), nullptr) << narrow(text);
        }
        if (IniTable::checkEntry(text, text) != kOk)
            continue;
        ++taken;
        IniTable table = parsed("[s]\nk=v\n\n[t]\nk=v\n");
        table.set(u"s", IniEntry::make(text, text));
        const IniTable again = parsed(table.write());
        ASSERT_EQ(again.entryCount(), 3u) << narrow(text);
        ASSERT_EQ(again.sections().size(), 2u);
        ASSERT_EQ(again.find(u"s", u"k")->value(), u"v");
    }
    EXPECT_GT(taken, 100);
}

// A code page has something for characters that it lacks, line breaks and "=" among them.
TEST(IniText, NoCharacterDamagesOtherEntries) {
    for (int unit = 1; unit < 0x10000; ++unit) {
        const std::u16string text = {u'a', static_cast<char16_t>(unit), u'b'};
        IniTable table = parsed("[s]\nk=v\n\n[t]\nk=v\n");
        if (IniTable::checkSection(text) == kOk)
            table.set(text, IniEntry::make(u"n", u"w"));
        if (IniTable::checkEntry(u"l", text) == kOk)
            table.set(u"s", IniEntry::make(u"l", text));
        if (IniTable::checkEntry(text, u"v") == kOk)
            table.set(u"t", IniEntry::make(text, u"v"));
        const IniTable again = parsed(table.write());
        ASSERT_EQ(again.entryCount(), table.entryCount()) << unit;
        ASSERT_EQ(again.sections().size(), table.sections().size()) << unit;
        ASSERT_EQ(again.find(u"t", u"k")->value(), u"v") << unit;
    }
}

TEST(IniText, RefusesAKeyThatWouldBecomeItsNeighbour) {
    const IniTable plain = parsed("[s]\na=1\na\x01=2\nab=3\n");
    IniTable spaced = plain.sections().empty() ? IniTable() : parsed("[s]\nx=1\n");
    spaced.set(u"s", IniEntry::make(u"c  ", u"1"));
    spaced.set(u"s", IniEntry::make(u"c\x01", u"1"));
    struct Row {
        const IniTable* table;
        const char16_t* section;
        const char16_t* key;
        ResultCode code;
    };
    const Row rows[] = {
        {&plain, u"s", u"a", kOk},
        {&plain, u"s", u"a ", kInvalidArgument},
        {&plain, u"S", u"A  ", kInvalidArgument},
        {&plain, u"s", u"ab ", kInvalidArgument},
        {&plain, u"s", u"abc ", kOk},
        {&plain, u"t", u"a ", kOk},
        {&spaced, u"s", u"c", kInvalidArgument},
        {&spaced, u"s", u"C ", kInvalidArgument},
        {&spaced, u"s", u"c  ", kOk},
        {&spaced, u"s", u"cc", kOk},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.table->checkNeighbours(row.section, row.key), row.code) << narrow(row.key);
}

// ---------------------------------------------------------------------------------------------
// Random texts and a reader that is slow and obvious

struct Model {
    using Section = std::map<std::u16string, std::pair<std::u16string, std::u16string>>;
    std::map<std::u16string, std::pair<std::u16string, Section>> sections;

    static std::u16string lowered(std::u16string text) {
        for (char16_t& unit : text)
            unit = towlower(unit);
        return text;
    }
    static std::string withoutSpaces(std::string text) {
        while (!text.empty() && text[0] == ' ')
            text.erase(0, 1);
        while (!text.empty() && text.back() == ' ')
            text.pop_back();
        return text;
    }

    explicit Model(std::string_view text) {
        std::vector<std::string> lines;
        std::string line;
        for (const char byte : text) {
            if (byte != '\n') {
                line += byte;
                continue;
            }
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            lines.push_back(std::exchange(line, {}));
        }
        if (!line.empty())
            lines.push_back(line);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].empty() || lines[i][0] != '[')
                continue;
            const std::string header = lines[i].c_str();
            if (header.find(']') == header.npos)
                return;
            const std::u16string name = widen(header.substr(1, header.rfind(']') - 1));
            Section section;
            for (++i; i < lines.size(); ++i) {
                const std::string entry = lines[i].c_str();
                if (entry.empty() ||
                    std::string_view(" \t\v\f\r").find(entry[0]) != std::string::npos)
                    break;
                const std::size_t split = entry.find('=');
                if (split == entry.npos)
                    return;
                const std::u16string key = widen(withoutSpaces(entry.substr(0, split)));
                auto& place = section.try_emplace(lowered(key), key, u"").first->second;
                place.second = widen(withoutSpaces(entry.substr(split + 1)));
            }
            sections.try_emplace(lowered(name), name, Section()).first->second.second = section;
        }
    }

    std::string shown() const {
        std::string text;
        for (const auto& [order, section] : sections) {
            text += narrow(section.first) + '{';
            for (const auto& [keyOrder, entry] : section.second)
                text += narrow(entry.first) + "='" + narrow(entry.second) + "',";
            text += '}';
        }
        return text;
    }
};

TEST(IniText, ReadsRandomTextsAsTheModelDoes) {
    std::mt19937 random(20);
    const std::string pieces[] = {"[",  "]",   "=",  "=",  "\n",   "\n",    "\n",    "\r\n",
                                  " ",  "\t",  "a",  "A",  "b",    "\xC3",  "[s]\n", "[S]\r\n",
                                  "\r", "\0"s, "k=", "K=", "\xA4", "x=y\n", ";",     "\n[t]\n"};
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (unsigned count = random() % 24; count > 0; --count)
            text += pieces[random() % std::size(pieces)];
        expectReading(text, Model(text).shown());
        if (HasFailure())
            return;
    }
}

TEST(IniText, RandomChangesReadBackAsAMapHasThem) {
    std::mt19937 random(21);
    for (int round = 0; round < 50; ++round) {
        IniTable table = parsed("; c\n[s1]\nk1=old\n\n[s2]\nbad line");
        std::map<std::u16string, std::map<std::u16string, std::u16string>> model;
        model[u"s1"][u"k1"] = u"old";
        for (int change = 0; change < 200; ++change) {
            const auto number = [&](unsigned limit) {
                return static_cast<char16_t>(u'0' + random() % limit);
            };
            const std::u16string section = std::u16string(u"s") + number(9);
            const std::u16string key = std::u16string(u"k") + number(9) + number(3);
            const std::u16string value = std::u16string(u"\u00E4=") + number(10);
            model[section][key] = value;
            table.set(section, IniEntry::make(key, value));
            if (random() % 64 == 0)
                table.parse(table.write());
        }
        const IniTable again = parsed(table.write());
        std::size_t count = 0;
        for (const auto& [section, keys] : model) {
            for (const auto& [key, value] : keys) {
                ++count;
                const IniEntry* entry = again.find(section, key);
                ASSERT_TRUE(entry != nullptr && entry->value() == value) << narrow(section + key);
            }
        }
        EXPECT_EQ(again.entryCount(), count);
        EXPECT_TRUE(again.write().ends_with("[s2]\nbad line"));
    }
}

TEST(IniText, OnlyATextThatWasReadWithoutLossCanBeWhollyCarried) {
    const std::pair<std::string, bool> rows[] = {
        {"", true},
        {"; comment\n[ZV]\nk=v\n", true},
        {"[ZV]\nk=v\n\n[x\n", false},
        {"[ZV]\nk=v\0w\n"s, false},
        {"[ZV]\nk=v\n l=w\nm=x\n", false}, // two values that nobody has read
    };
    for (const auto& [text, carried] : rows) {
        IniTable table = parsed(text);
        for (const auto& [name, section] : table.sections()) {
            for (const auto& entry : section.keys)
                table.markCarried(name, entry->key());
        }
        EXPECT_EQ(table.isWhollyCarried(), carried) << testing::PrintToString(text);
    }
    IniTable table = parsed("[a]\nk=v\n");
    table.markCarried(u"A", u"K");
    table.set(u"a", IniEntry::make(u"k", u"w"));
    EXPECT_FALSE(table.isWhollyCarried());
}

} // namespace
