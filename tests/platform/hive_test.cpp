#include "platform/posix/file_seam.h"
#include "platform/posix/hive.h"
#include "platform/posix/hive_text.h"
#include "support/hive_path.h"
#include "support/test_folder.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace zv::platform::posix;
using zv::test::hivePath;
using zv::test::readFile;
using zv::test::writeFile;
namespace fs = std::filesystem;

class NoHolder final : public KeyHolder {
public:
    void keyRemoved(const Key*) noexcept override {}
    void treeReplaced(const KeyTree&) noexcept override {}
};
NoHolder noHolder;

std::u16string wide(std::string_view text) {
    std::u16string out;
    appendUtf8(out, text);
    return out;
}

std::string bytesOf(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

std::string fileOf(std::u16string_view text) {
    return "\xFF\xFE" + bytesOf(text);
}

// A value as the tables below write it: a plain string as 'text', anything else as type:bytes.
std::string shown(const Value& value) {
    std::string text;
    bool plain = value.type == 1 && value.size >= 2 && value.size % 2 == 0;
    for (std::uint32_t i = 0; plain && i < value.size; i += 2) {
        const unsigned char low = value.data()[i];
        plain = value.data()[i + 1] == 0 && (i + 2 == value.size) == (low == 0) && low < 0x7F;
        if (low != 0)
            text += static_cast<char>(low);
    }
    if (plain)
        return "'" + text + "'";
    char number[16];
    std::snprintf(number, sizeof(number), "%x:", value.type);
    text = number;
    for (std::uint32_t i = 0; i < value.size; ++i) {
        std::snprintf(number, sizeof(number), "%02x", value.data()[i]);
        text += number;
    }
    return text;
}

std::string narrowed(std::u16string_view text) {
    std::string out;
    for (const char16_t unit : text) {
        if (unit < 0x7F) {
            out += static_cast<char>(unit);
        } else {
            char number[8];
            std::snprintf(number, sizeof(number), "<%04x>", unit);
            out += number;
        }
    }
    return out;
}

void show(const Key* key, const std::string& path, std::string& out) {
    if (!path.empty()) {
        out += path + "{";
        for (Value* value = key->values.first(); value != nullptr; value = key->values.next(value))
            out += narrowed(value->name()) + "=" + shown(*value) + ",";
        out += "}";
    }
    for (Key* child = key->children.first(); child != nullptr; child = key->children.next(child))
        show(child, path.empty() ? narrowed(child->name()) : path + "\\" + narrowed(child->name()),
             out);
}

// What stands below HKEY_CURRENT_USER: path{name=value,…}, keys and values in their order.
std::string shown(const KeyTree& tree) {
    std::string out;
    show(tree.root(1), "", out);
    return out;
}

// What a process that starts now reads; its error when it reads nothing.
std::string readHive() {
    Hive hive(noHolder);
    const DWORD code = hive.refresh();
    return code == 0 ? shown(hive.keys()) : "error " + std::to_string(code);
}

DWORD set(Hive& hive, std::u16string_view path, std::u16string_view name, std::u16string text) {
    Hive::Change change(hive);
    if (change.error() != 0)
        return change.error();
    Key* key = nullptr;
    bool created = false;
    if (const DWORD code = hive.createKey(hive.keys().root(1), path, key, created); code != 0)
        return code;
    return hive.setValue(key, name, 1, text.c_str(), static_cast<DWORD>(2 * text.size() + 2));
}

DWORD set(std::u16string_view path, std::u16string_view name, std::u16string text) {
    Hive hive(noHolder);
    return set(hive, path, name, std::move(text));
}

std::set<std::string> folderNames() {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(hivePath().parent_path()))
        names.insert(entry.path().filename());
    return names;
}

std::string replaced(std::string text, std::string_view what, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

const std::string kHeader = "Windows Registry Editor Version 5.00\n\n";

// ---------------------------------------------------------------------------------------------

struct Nasty {
    const char* text; // behind the header; K stands for HKEY_CURRENT_USER
    const char* reading;
};

const Nasty kNasty[] = {
    // Keys.
    {"[K\\k]\n", "k{}"},
    {"[hkey_current_user\\k]\n[K\\K\\j]\n", "k{}k\\j{}"},
    {"[HKCU\\k]\n\"a\"=\"x\"\n", ""},
    {"[K\\k]\n[KS\\j]\n\"a\"=\"x\"\n[K\\m]\n", "k{}m{}"},
    {"[ K\\k]\n\"a\"=\"x\"\n", ""},
    {"[K\\k ]\n", "k {}"},
    {"[K\\k\\]\n[K\\\\k\\\\j]\n", "k{}k\\j{}"},
    {"[K\\a/b\"c]d]\n", "a/b\"c]d{}"},
    {"[K\\k] ; note\n", "k{}"},
    {"[K\\k] ; note]\n", "k] ; note{}"},
    {"[K\\k\n\"a\"=\"x\"\n", ""},
    {"K\\k]\n", ""},
    {"[K\\k\n\\j]\n", ""},
    {"[K\\k]\n\"a\"=\"x\"\n[K\\j\n\"b\"=\"y\"\n", "k{a='x',}"}, // not into the wrong key
    {"[]\n[-]\n[\\]\n", ""},
    {"  \t[K\\k]\n\t\"a\"=\"x\"\n", "k{a='x',}"},
    {"[K\\\xC3\xA4]\n[K\\\xC3\x84\\j]\n", "<00e4>{}<00e4>\\j{}"},
    // Deleted keys.
    {"[K\\k\\j]\n[-K\\k]\n", ""},
    {"[K\\k]\n[- K\\k]\n[ -K\\k]\n", "k{}"},
    {"[K\\k]\n[-K]\n[-K\\]\n", "k{}"},
    {"[-K\\k]\n\"a\"=\"x\"\n", ""},
    {"[K\\k]\n\"a\"=\"x\"\n[-K\\k]\n[K\\k]\n\"b\"=\"y\"\n", "k{b='y',}"},
    // Names.
    {"[K\\k]\n@=\"x\"\n\"\"=\"y\"\n", "k{='y',}"},
    {"[K\\k]\n\"a\"=\"x\"\n\"A\"=\"y\"\n", "k{A='y',}"},
    {"[K\\k]\n\"a=b\"=\"x\"\n\"[c]\"=\"y\"\n", "k{a=b='x',[c]='y',}"},
    {"[K\\k]\n\"a\\\\\\\"b\" \t= \"x\"\n", "k{a\\\"b='x',}"},
    {"[K\\k]\na=\"x\"\n\"b=\"x\"\nc\"=\"x\"\n\"d\"\n\"e\"=\n", "k{}"},
    {"\"a\"=\"x\"\n[K\\k]\n", "k{}"},
    // Strings.
    {"[K\\k]\n\"a\"=\"\"\n\"b\"=\"c:\\\\x\\\\\"\n", "k{a='',b='c:\\x\\',}"},
    {"[K\\k]\n\"a\"=\"x\n\"b\"=x\"\n\"c\"=\"x\" y\n\"d\"=\"x\";y\n", "k{d='x',}"},
    {"[K\\k]\n\"a\"=\"x\\0y\"\n\"b\"=\"x\\\\0y\"\n", "k{b='x\\0y',}"},
    {"[K\\k]\n\"a\"=\"x\\n\\r\"\n", "k{a='x\n\r',}"},
    {"[K\\k]\n\"a\"=\"\xE2\x82\xAC\xF0\x9F\x98\x80\"\n", "k{a=1:ac203dd800de0000,}"},
    // Deleted values.
    {"[K\\k]\n\"a\"=\"x\"\n\"a\"=-\n", "k{}"},
    {"[K\\k]\n\"a\"=\"x\"\n\"a\"=- ; gone\n", "k{}"},
    {"[K\\k]\n\"a\"=\"x\"\n\"a\"=-\"x\"\n\"a\"=- #x\n", "k{a='x',}"},
    // Numbers.
    {"[K\\k]\n\"a\"=dword:1\n\"b\"=dword:  00000008\n\"c\"=dword:1234 ;x\n",
     "k{a=4:01000000,b=4:08000000,c=4:34120000,}"},
    {"[K\\k]\n\"a\"=dword:\n\"b\"=dword:123456789\n\"c\"=dword:012345678\n\"d\"=dword:0x123\n"
     "\"e\"=dword:1 2\n\"f\"=DWORD:1\n\"g\"=dword:FFFFffff\n",
     "k{g=4:ffffffff,}"},
    // Bytes.
    {"[K\\k]\n\"a\"=hex:\n\"b\"=hex:1,02,\n\"c\"=hex(0):ff ; x\n\"d\"=hex(4):\n",
     "k{a=3:,b=3:0102,c=0:ff,d=4:,}"},
    {"[K\\k]\n\"a\"=hex(b):01,00,00,00,00,00,00,00\n\"b\"=hex(ffffffff):01\n\"c\"=hex(5):00,01\n",
     "k{a=b:0100000000000000,b=ffffffff:01,c=5:0001,}"},
    {"[K\\k]\n\"a\"=hex(0x2):01\n\"b\"=hex(x2):01\n\"c\"=hex(123456789):01\n\"d\"=HEX:01\n"
     "\"e\"=hex():01\n\"f\"=hex(3:01\n",
     "k{}"},
    {"[K\\k]\n\"a\"=hex:100\n\"b\"=hex:01,,02\n\"c\"=hex:,01\n\"d\"=hex:01\\\n\"e\"=hex:01,\\ 02\n"
     "\"f\"=hex:0g\n",
     "k{}"},
    {"[K\\k]\n\"a\"=hex(1):61,00\n\"b\"=hex(1):\n\"c\"=hex(2):25,00,00,00\n\"d\"=hex(7):61,00\n"
     "\"e\"=hex(1):61\n",
     "k{a='a',b=1:,c=2:25000000,d=7:61000000,e='a',}"},
    // Continued lines.
    {"[K\\k]\n\"a\"=hex:01,\\\n  02,\\ ; note\n\n \t\n; note\n  03\n\"b\"=\"x\"\n",
     "k{a=3:010203,b='x',}"},
    {"[K\\k]\n\"a\"=hex:01,\\\n  02,\n  03\n\"b\"=\"x\"\n", "k{a=3:0102,b='x',}"},
    {"[K\\k]\n\"a\"=hex:01,\\\n\"b\"=\"x\"\n\"c\"=\"y\"\n", "k{c='y',}"},
    {"[K\\k]\n\"a\"=hex:01\\\n\"b\"=\"x\"\n", "k{b='x',}"},
    {"[K\\k]\n\"a\"=hex:01,\\\n#\n\"c\"=\"y\"\n", "k{c='y',}"},
    {"[K\\k]\n\"a\"=hex:01,\\\n\n[K\\j]\n\"b\"=\"x\"\n", "j{b='x',}k{}"}, // taken up at the key
    {"[K\\k]\n\"a\"=hex:01,\\\n", "k{a=3:01,}"},
    // Comments and junk.
    {"; note\n[K\\k]\n;\"a\"=\"x\"\n#\"b\"=\"x\"\njunk\n\n\"c\"=\"x\"\n", "k{c='x',}"},
    // The end: with its line end, without, and half a line.
    {"[K\\k]\n\"a\"=\"x\"", "k{a='x',}"},
    {"[K\\k]\n\"a\"=\"x", "k{}"},
    {"[K\\k]\n\"a\"=\"x\\\"", "k{}"},
    {"[K\\k]\n\"a\"=dword:0000002a", "k{a=4:2a000000,}"},
    {"[K\\k]\n\"a\"=dword:0000002", "k{}"},
    {"[K\\k]\n\"a\"=hex:01,02", "k{}"},
    {"[K\\k]\n\"a\"=hex:01,\\", "k{}"},
    {"[K\\k]\n\"a\"=\"x\"\n\"a\"=-", "k{a='x',}"},
    {"[K\\k]\n[-K\\k]", "k{}"},
};

class HiveTest : public zv::test::FolderTest {
protected:
    void TearDown() override { seam::setHook(nullptr); }
};

// Each row in every encoding and with every line end, and in two pieces cut at every unit.
TEST_F(HiveTest, ReadsWhatRealReadersTake) {
    for (const Nasty& row : kNasty) {
        SCOPED_TRACE(row.text);
        const std::string text = replaced(replaced(kHeader + row.text, "[K", "[HKEY_CURRENT_USER"),
                                          "[-K", "[-HKEY_CURRENT_USER");
        const std::string windows = replaced(text, "\n", "\r\n");
        const std::string files[] = {fileOf(wide(windows)), fileOf(wide(text)),
                                     fileOf(wide(replaced(text, "\n", "\r"))), windows,
                                     "\xEF\xBB\xBF" + text};
        for (const std::string& file : files) {
            writeFile(hivePath(), file);
            EXPECT_EQ(readHive(), row.reading);
            EXPECT_EQ(readFile(hivePath()), file);
        }

        const std::u16string all = wide(windows).substr(wide(kHeader).size() + 2);
        for (std::size_t cut = 0; cut <= all.size(); ++cut) {
            KeyTree tree;
            TreeBuilder builder(tree);
            RegTextReader reader(builder);
            const std::size_t first =
                reader.read(std::u16string_view(all).substr(0, cut), TextEnd::More);
            reader.read(std::u16string_view(all).substr(first), TextEnd::Foreign);
            ASSERT_EQ(shown(tree), row.reading) << "cut at " << cut;
        }
    }
}

// A change to such a file keeps all that it says: the values are there, the rest is set aside.
TEST_F(HiveTest, ChangesKeepWhatRealReadersTake) {
    for (const Nasty& row : kNasty) {
        SCOPED_TRACE(row.text);
        const std::string text = replaced(replaced(kHeader + row.text, "[K", "[HKEY_CURRENT_USER"),
                                          "[-K", "[-HKEY_CURRENT_USER");
        for (const std::string& file : {fileOf(wide(text)), text}) {
            writeFile(hivePath(), file);
            ASSERT_EQ(set(u"!", u"n", u"v"), 0u);
            EXPECT_EQ(readHive(), std::string("!{n='v',}") + row.reading);
        }
    }
}

TEST_F(HiveTest, TellsAHeaderFromSomethingElse) {
    const struct {
        std::string file;
        const char* reading;
    } rows[] = {
        {"", ""},
        {"\xFF\xFE", ""},
        {fileOf(u"Windows Reg"), ""}, // a creation cut short
        {fileOf(u"\t Windows Registry Editor Version 5.00\r\n[HKEY_CURRENT_USER\\k]\r\n"), "k{}"},
        {fileOf(u"Windows Registry Editor Version 5.00"), ""},
        {"REGEDIT4\n[HKEY_CURRENT_USER\\k]\n\"a\"=hex(2):41,c3,a4,00\n", "k{a=2:4100e4000000,}"},
        {fileOf(u"REGEDIT4\n[HKEY_CURRENT_USER\\k]\n\"a\"=hex(7):41,00,00\n"),
         "k{a=7:410000000000,}"},
        {kHeader + "[HKEY_CURRENT_USER\\\x84]\n\"\xE4\"=\"\xC3\"\n", "<dc84>{<dce4>=1:c3dc0000,}"},
        {fileOf(u"windows registry editor version 5.00\r\n"), "error 1009"},
        {"Windows Registry Editor Version 4.00\n[HKEY_CURRENT_USER\\k]\n", "error 1009"},
        {"REGEDIT5\n", "error 1009"},
        {"REGEDIT4 FOO\n", "error 1009"},
        {"\n" + kHeader, "error 1009"},
        {bytesOf(wide(kHeader)), "error 1009"}, // no byte order mark
        {std::string("\xFE\xFF\0W\0i", 6), "error 1009"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        writeFile(hivePath(), row.file);
        EXPECT_EQ(readHive(), row.reading);
        const bool refused = std::string(row.reading).starts_with("error");
        EXPECT_EQ(set(u"!", u"n", u"v"), refused ? 1009u : 0u);
        if (refused)
            EXPECT_EQ(readFile(hivePath()), row.file);
        else
            EXPECT_EQ(readHive(), std::string("!{n='v',}") + row.reading);
    }
}

// Every type and every kind of data, through the journal and through a rewritten file.
TEST_F(HiveTest, BringsBackWhatWasWritten) {
    std::vector<std::string> samples = {std::string(),
                                        std::string(1, '\0'),
                                        std::string("\0\0", 2),
                                        std::string("a\0\0\0", 4),
                                        std::string("a\0b\0", 4),
                                        std::string("a\0\0\0b\0\0\0\0\0", 10),
                                        "abc",
                                        std::string("\1\0\0\0", 4),
                                        std::string("\n\0\0\0", 4)};
    samples.push_back(bytesOf(std::u16string(u"\\\"][;=\u00e4\U0001F600\xD800x\0", 12)));
    samples.push_back(bytesOf(std::u16string(u"\xD800\xDC00\xDC00\0", 4)));
    samples.push_back(bytesOf(std::u16string(70000, u'x') + u'\0'));
    std::string expected;
    {
        Hive hive(noHolder);
        Hive::Change change(hive);
        for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 11u, 0xFFFFFFFFu}) {
            for (std::size_t i = 0; i < samples.size(); ++i) {
                Key* key = nullptr;
                bool created = false;
                ASSERT_EQ(hive.createKey(hive.keys().root(1),
                                         u"types\\t" + wide(std::to_string(type)), key, created),
                          0u);
                ASSERT_EQ(hive.setValue(key, i == 0 ? u"" : u"na\\me\" " + wide(std::to_string(i)),
                                        type, samples[i].data(),
                                        static_cast<DWORD>(samples[i].size())),
                          0u);
                const Value* value =
                    key->values.find(i == 0 ? u"" : u"na\\me\" " + wide(std::to_string(i)));
                const bool text = type == 1 || type == 2 || type == 7;
                if (!text || samples[i].ends_with(std::string("\0\0", 2))) {
                    EXPECT_EQ(
                        std::string(reinterpret_cast<const char*>(value->data()), value->size),
                        samples[i]);
                }
            }
        }
        expected = shown(hive.keys());
    }
    EXPECT_EQ(readHive(), expected);

    Hive hive(noHolder);
    ASSERT_EQ(hive.refresh(), 0u);
    std::u16string piece, whole;
    writeTree(hive.keys(), piece, [&](std::u16string& text) {
        whole += text;
        return true;
    });
    EXPECT_EQ(committedLength(whole), whole.size());
    writeFile(hivePath(), bytesOf(whole));
    EXPECT_EQ(readHive(), expected);
    for (std::size_t start = 0, end; (end = whole.find(u"\r\n", start)) != whole.npos;
         start = end + 2) {
        if (end - start > 80) {
            EXPECT_EQ(whole.substr(start, end - start).find(u"=hex"), whole.npos);
        }
    }
}

TEST_F(HiveTest, RefusesNamesThatNoTextCarries) {
    Hive hive(noHolder);
    EXPECT_EQ(set(hive, u"a\nb", u"n", u"v"), 87u);
    EXPECT_EQ(set(hive, std::u16string(256, u'k'), u"n", u"v"), 87u);
    EXPECT_FALSE(fs::exists(hivePath()));
    EXPECT_EQ(set(hive, std::u16string(255, u'k'), std::u16string(16383, u'n'), u"v"), 0u);
    EXPECT_EQ(set(hive, u"k", std::u16string(16384, u'n'), u"v"), 87u);
    EXPECT_EQ(set(hive, u"k", u"\x1F", u"v"), 87u);
    EXPECT_EQ(set(hive, u"k", std::u16string(1, u'\0'), u"v"), 87u);
    std::u16string deep;
    for (int i = 0; i < 512; ++i)
        deep += u"d\\";
    EXPECT_EQ(set(hive, deep, u"", u"v"), 0u);
    EXPECT_EQ(set(hive, deep + u"d", u"", u"v"), 87u);
    EXPECT_EQ(readHive(), shown(hive.keys()));
}

// ---------------------------------------------------------------------------------------------

// The file cut at every byte of its last entry, for a new value, a changed one and a first write.
TEST_F(HiveTest, SurvivesAnEntryCutAtEveryByte) {
    const std::u16string longText(40, u'\x7'); // hex over several lines
    const struct {
        const char16_t* name;
        std::u16string text;
    } rows[] = {{u"new", u"v"}, {u"a", u"changed"}, {u"a", longText}};
    for (const auto& row : rows) {
        fs::remove(hivePath());
        ASSERT_EQ(set(u"k", u"a", u"old"), 0u);
        const std::string before = readFile(hivePath());
        const std::string oldReading = readHive();
        ASSERT_EQ(set(u"k", row.name, row.text), 0u);
        const std::string after = readFile(hivePath());
        const std::string newReading = readHive();
        ASSERT_TRUE(after.starts_with(before));
        ASSERT_NE(oldReading, newReading);
        for (std::size_t cut = before.size(); cut < after.size(); ++cut) {
            SCOPED_TRACE(cut);
            writeFile(hivePath(), after.substr(0, cut));
            ASSERT_EQ(readHive(), oldReading);
            Hive hive(noHolder);
            ASSERT_EQ(set(hive, u"z", u"n", u"v"), 0u);
            ASSERT_EQ(readHive(), oldReading + "z{n='v',}");
            ASSERT_EQ(shown(hive.keys()), oldReading + "z{n='v',}");
            ASSERT_TRUE(readFile(hivePath()).starts_with(before));
        }
    }
    fs::remove(hivePath());
    ASSERT_EQ(set(u"k", u"a", u"old"), 0u);
    const std::string whole = readFile(hivePath());
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        writeFile(hivePath(), whole.substr(0, cut));
        const std::string reading = readHive();
        ASSERT_TRUE(reading.empty() || reading == "k{}") << reading;
        ASSERT_EQ(set(u"k", u"a", u"old"), 0u);
        ASSERT_EQ(readHive(), "k{a='old',}");
    }
}

// A value that somebody typed below a journal without a blank line does not count, but is kept.
TEST_F(HiveTest, KeepsAsideWhatItCannotTrust) {
    ASSERT_EQ(set(u"k", u"a", u"x"), 0u);
    const std::string before = readFile(hivePath());
    writeFile(hivePath(), before + bytesOf(u"[HKEY_CURRENT_USER\\k]\r\n\"typed\"=\"y\"\r\n"));
    EXPECT_EQ(readHive(), "k{a='x',}");
    ASSERT_EQ(set(u"k", u"b", u"z"), 0u);
    EXPECT_EQ(readHive(), "k{a='x',b='z',}");
    EXPECT_NE(readFile(hivePath().string() + ".damaged").find(bytesOf(u"\"typed\"=\"y\"\r\n")),
              std::string::npos);
}

// Journal text with dead entries enough for a compaction at the next change.
std::u16string worthCompacting() {
    std::u16string text = hivePreamble();
    for (int i = 0; i < 3; ++i)
        text += u"[HKEY_CURRENT_USER\\k]\r\n\"big\"=\"" + std::u16string(20000, u'a' + i) +
                u"\"\r\n\r\n";
    return text + u"[HKEY_CURRENT_USER\\k]\r\n\"small\"=\"s\"\r\n\r\n"
                  u"[HKEY_CURRENT_USER\\empty]\r\n\r\n";
}

TEST_F(HiveTest, CompactionKeepsTheStateModeAndLink) {
    const fs::path target = folder.path() / "elsewhere.reg";
    std::u16string text = worthCompacting();
    const std::u16string torn = u"[HKEY_CURRENT_USER\\k]\r\n\"torn\"=\"x\r\n\r\n";
    text.insert(text.find(u"[HKEY_CURRENT_USER\\empty"),
                torn + u"[HKEY_NOWHERE]\r\n\"lost\"=\"y\"\r\n\r\n");
    writeFile(target, bytesOf(text));
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    fs::create_directories(hivePath().parent_path());
    fs::create_symlink(target, hivePath());
    writeFile(target.string() + ".4711.tmp", "left behind");
    const std::string expected = readHive();

    Hive other(noHolder); // sees the file being replaced
    ASSERT_EQ(other.refresh(), 0u);
    const std::uintmax_t size = fs::file_size(target);
    ASSERT_EQ(set(u"z", u"n", u"v"), 0u);
    EXPECT_LT(fs::file_size(target), size / 2);
    EXPECT_TRUE(fs::is_symlink(hivePath()));
    struct stat status;
    ASSERT_EQ(stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(readHive(), expected + "z{n='v',}");
    EXPECT_FALSE(fs::exists(target.string() + ".4711.tmp"));
    ASSERT_EQ(other.refresh(), 0u);
    EXPECT_EQ(shown(other.keys()), expected + "z{n='v',}");
    ASSERT_EQ(set(other, u"z", u"o", u"w"), 0u);
    EXPECT_EQ(readHive(), expected + "z{n='v',o='w',}");

    const std::string aside = readFile(hivePath().string() + ".damaged");
    EXPECT_NE(aside.find(bytesOf(u"[HKEY_CURRENT_USER\\k]\r\n\"torn\"=\"x\r\n")), aside.npos);
    EXPECT_NE(aside.find(bytesOf(u"[HKEY_NOWHERE]\r\n\"lost\"=\"y\"\r\n")), aside.npos);
}

TEST_F(HiveTest, AppendsOnlyItsOwnEntry) {
    Hive hive(noHolder);
    ASSERT_EQ(set(hive, u"Some\\Key", u"n", u"v"), 0u);
    const std::string before = readFile(hivePath());
    ASSERT_EQ(set(hive, u"some\\key", u"n", u"v"), 0u);
    EXPECT_EQ(readFile(hivePath()), before); // it is there already
    ASSERT_EQ(set(hive, u"some\\key", u"N", u"v"), 0u);
    EXPECT_EQ(readFile(hivePath()),
              before + bytesOf(u"[HKEY_CURRENT_USER\\Some\\Key]\r\n\"N\"=\"v\"\r\n\r\n"));
    EXPECT_EQ(readHive(), "Some{}Some\\Key{N='v',}");
}

// Others append, rewrite in place, remove and put back the file while a hive is open.
TEST_F(HiveTest, NoticesWhatOthersDo) {
    Hive hive(noHolder);
    const auto reading = [&] {
        const DWORD code = hive.refresh();
        return code == 0 ? shown(hive.keys()) : "error " + std::to_string(code);
    };
    EXPECT_EQ(reading(), "");
    ASSERT_EQ(set(u"k", u"a", u"1"), 0u);
    EXPECT_EQ(reading(), "k{a='1',}");
    ASSERT_EQ(set(u"k", u"a", u"2"), 0u);
    EXPECT_EQ(reading(), "k{a='2',}");
    const std::string text = readFile(hivePath());
    writeFile(hivePath(), replaced(text, bytesOf(u"\"a\""), bytesOf(u"\"longer\"")));
    EXPECT_EQ(reading(), "k{longer='2',}");
    writeFile(hivePath(), "broken");
    EXPECT_EQ(reading(), "error 1009");
    fs::remove(hivePath());
    EXPECT_EQ(reading(), "");
    writeFile(hivePath(), text);
    EXPECT_EQ(reading(), "k{a='2',}");
    fs::remove_all(hivePath().parent_path());
    ASSERT_EQ(set(hive, u"k", u"b", u"3"), 0u);
    EXPECT_EQ(readHive(), "k{b='3',}");
}

// ---------------------------------------------------------------------------------------------
// Failures at every file call

int callsLeft = 0; // before the one that fails
int failure = 0;
bool forGood = false;
std::size_t moved = SIZE_MAX;

seam::Verdict failNth(seam::FileCall call, const char*) {
    seam::Verdict verdict;
    if (--callsLeft == 0 || (forGood && callsLeft < 0)) {
        verdict.error = failure;
        if (call == seam::FileCall::Write)
            verdict.limit = moved;
    }
    return verdict;
}

seam::Verdict dieAtNth(seam::FileCall call, const char*) {
    seam::Verdict verdict;
    if (--callsLeft == 0) {
        verdict.exitAfter = true;
        verdict.limit = moved;
        if (call != seam::FileCall::Write)
            verdict.limit = moved == 0 ? 0 : SIZE_MAX;
    }
    return verdict;
}

struct Start {
    const char* name;
    std::string file;
};

std::vector<Start> starts() {
    const std::u16string entry = u"[HKEY_CURRENT_USER\\k]\r\n\"small\"=\"s\"\r\n\r\n";
    return {{"no file", ""},
            {"journal", bytesOf(hivePreamble() + entry)},
            {"torn journal", bytesOf(hivePreamble() + entry + u"[HKEY_CURRENT_USER\\k]\r\n\"to")},
            {"foreign", fileOf(wide(kHeader) + entry.substr(0, entry.size() - 2))},
            {"UTF-8", kHeader + "[HKEY_CURRENT_USER\\k]\n\"small\"=\"s\"\n#junk\n"},
            {"compaction", bytesOf(worthCompacting())}};
}

void begin(const Start& start) {
    fs::remove_all(hivePath().parent_path());
    if (!start.file.empty())
        writeFile(hivePath(), start.file);
}

TEST_F(HiveTest, AFailureLosesNothing) {
    for (const Start& start : starts()) {
        begin(start);
        const std::string before = readHive();
        const std::string after = before + "z{n='v',}";
        for (const int error : {ENOSPC, EIO, EACCES}) {
            const std::size_t limits[] = {0, 31};
            for (int variant = 0; variant < 4; ++variant) {
                int failing = 1;
                for (bool reached = true; reached; ++failing) {
                    SCOPED_TRACE(std::string(start.name) + ", errno " + std::to_string(error) +
                                 ", call " + std::to_string(failing) + (variant & 2 ? " on" : ""));
                    begin(start);
                    callsLeft = failing;
                    failure = error;
                    moved = limits[variant & 1];
                    forGood = (variant & 2) != 0;
                    seam::setHook(failNth);
                    Hive hive(noHolder);
                    const DWORD code = set(hive, u"z", u"n", u"v");
                    seam::setHook(nullptr);
                    reached = callsLeft <= 0;
                    ASSERT_TRUE(code == 0 || code == 112 || code == 1016 || code == 5) << code;
                    const std::string now = readHive();
                    if (code == 0)
                        ASSERT_EQ(now, after);
                    else // the key may be there without its value
                        ASSERT_TRUE(now == before || now == before + "z{}") << now;
                    if (!forGood && std::string(start.name) == "journal") { // cut back at once
                        const std::string bytes = readFile(hivePath());
                        std::u16string text(bytes.size() / 2, u'\0');
                        std::memcpy(text.data(), bytes.data(), 2 * text.size());
                        ASSERT_EQ(2 * committedLength(text), bytes.size());
                    }
                    ASSERT_EQ(set(hive, u"z", u"n", u"v"), 0u);
                    ASSERT_EQ(shown(hive.keys()), after);
                    ASSERT_EQ(readHive(), after);
                }
            }
        }
    }
}

TEST_F(HiveTest, AKilledProcessLeavesTheOldOrTheNew) {
    for (const Start& start : starts()) {
        for (const std::size_t limit : {std::size_t{0}, std::size_t{31}, SIZE_MAX}) {
            int dying = 1;
            for (bool reached = true; reached; ++dying) {
                SCOPED_TRACE(std::string(start.name) + ", call " + std::to_string(dying) +
                             ", moved " + std::to_string(limit));
                begin(start);
                Hive witness(noHolder); // was there before
                ASSERT_EQ(witness.refresh(), 0u);
                if (!start.file.empty()) { // writes nothing, but has had its first look for litter
                    ASSERT_EQ(set(witness, u"k", u"small", u"s"), 0u);
                }
                const std::string base = shown(witness.keys());
                const pid_t child = fork();
                if (child == 0) {
                    callsLeft = dying;
                    moved = limit;
                    seam::setHook(dieAtNth);
                    Hive hive(noHolder);
                    _exit(set(hive, u"z", u"n", u"v") == 0 ? 0 : 1);
                }
                int status = 0;
                ASSERT_EQ(waitpid(child, &status, 0), child);
                ASSERT_TRUE(WIFEXITED(status));
                reached = WEXITSTATUS(status) == seam::kExitStatus;
                if (!reached) {
                    ASSERT_EQ(WEXITSTATUS(status), 0);
                }
                const std::string now = readHive();
                ASSERT_TRUE(now == base || now == base + "z{}" || now == base + "z{n='v',}") << now;
                ASSERT_EQ(witness.refresh(), 0u);
                ASSERT_EQ(shown(witness.keys()), now);
                ASSERT_EQ(set(witness, u"z", u"n", u"w"), 0u);
                ASSERT_EQ(readHive(), base + "z{n='w',}");
                std::set<std::string> names = folderNames();
                names.erase("registry.reg.damaged");
                ASSERT_EQ(names, (std::set<std::string>{"registry.reg", "registry.reg.lock"}));
            }
        }
    }
}

// What could not be set aside is not compacted away.
TEST_F(HiveTest, DamageStaysWhereItIsUntilItIsSafe) {
    std::u16string text = worthCompacting() + u"[HKEY_CURRENT_USER\\k]\r\nrubbish\r\n\r\n";
    writeFile(hivePath(), bytesOf(text));
    fs::create_directories(hivePath().string() + ".damaged"); // cannot be written to
    ASSERT_EQ(set(u"z", u"n", u"v"), 0u);
    EXPECT_NE(readFile(hivePath()).find(bytesOf(u"rubbish")), std::string::npos);
    fs::remove(hivePath().string() + ".damaged");
    ASSERT_EQ(set(u"z", u"n", u"w"), 0u);
    EXPECT_EQ(readFile(hivePath()).find(bytesOf(u"rubbish")), std::string::npos);
    EXPECT_NE(readFile(hivePath().string() + ".damaged").find(bytesOf(u"rubbish")),
              std::string::npos);
}

} // namespace
