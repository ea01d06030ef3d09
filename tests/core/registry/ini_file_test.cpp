#include "core/registry/ini_file.h"

#include "core/registry/ini_iterators.h"
#include "support/names_in.h"
#include "support/self_process.h"
#include "support/test_folder.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::core;
using namespace zv::test;

constexpr const char16_t* kPath = u"t.ini";

using IniFileTest = FolderTest;

std::u16string valueOf(IniFile& file, const char16_t* section, const char16_t* key) {
    std::u16string value;
    return file.getValue(section, key, value) == 0 ? value : u"(none)";
}

// The names that an iterator gives, each with a bar behind it.
template <typename Iterator>
std::u16string namesOf(IniFile& file, const char16_t* of) {
    Iterator iterator(file, of);
    std::u16string all, name;
    while (iterator.hasNext()) {
        iterator.next(name);
        all += name + u'|';
    }
    EXPECT_THROW(iterator.next(name), EZvCoreException);
    EXPECT_EQ(iterator.getName(), of);
    return all;
}

TEST_F(IniFileTest, SetsAndGets) {
    IniFile file(kPath);
    EXPECT_FALSE(fs::exists("t.ini"));
    EXPECT_EQ(file.setValue(u"S", u"K", u" a", true), IniFile::kSet);
    EXPECT_EQ(file.setValue(u"s", u"k", u"b", false), IniFile::kKeyExists);
    EXPECT_EQ(valueOf(file, u"s", u"k"), u" a");
    EXPECT_EQ(file.setValue(u"s", u"l=", u"c", true), IniFile::kWouldDamage);
    EXPECT_EQ(file.setValue(u"s", u"K ", u"c", true), IniFile::kWouldDamage);
    EXPECT_EQ(file.setValue(u"t", u"", u"", false), IniFile::kSet);
    EXPECT_EQ(readFile("t.ini"), "[S]\r\nK= a\r\n\r\n[t]\r\n=\r\n\r\n");
    EXPECT_EQ(valueOf(file, u"u", u"k"), u"(none)");
    EXPECT_EQ(valueOf(file, u"s", u"m"), u"(none)");
    IniFile other(kPath);
    EXPECT_EQ(valueOf(other, u"s", u"k"), u"a");
    EXPECT_EQ(namesIn("."), std::set<std::string>{"t.ini"});
}

TEST_F(IniFileTest, IteratorsAreSnapshotsInOrder) {
    writeFile("t.ini", "[p\\b]\nz=1\nA=2\n\n[p\\a\\x\\y]\n\n[P\\c]\n\n[p]\nk=v\n\n[p\\B\\q]\n\n"
                       "[pp\\n]\n\n[p\\\\e]\n\n[p\\a-]\n\n[p\\a\\z]\n\n[p\\]\n");
    IniFile file(kPath);
    EXPECT_EQ(namesOf<IniFileSetIterator>(file, u"p"), u"B|a|a-|b|");
    EXPECT_EQ(namesOf<IniFileSetIterator>(file, u"p\\a"), u"x|z|");
    EXPECT_EQ(namesOf<IniFileSetIterator>(file, u"none"), u"");
    EXPECT_EQ(namesOf<IniFileKeyIterator>(file, u"P\\B"), u"A|z|");
    EXPECT_THROW(IniFileKeyIterator(file, u"none"), EZvCoreException);
    IniFileKeyIterator keys(file, u"p");
    ASSERT_EQ(file.setValue(u"p", u"l", u"w", true), IniFile::kSet); // the lock is free
    std::u16string name;
    keys.next(name);
    EXPECT_FALSE(keys.hasNext());
}

TEST_F(IniFileTest, NoticesWhatOthersDo) {
    IniFile one(kPath), two(kPath);
    ASSERT_EQ(one.setValue(u"s", u"a", u"1", true), IniFile::kSet);
    EXPECT_EQ(valueOf(two, u"s", u"a"), u"1");
    for (const char16_t* value : {u"2", u"3", u"4"}) { // within one tick, and of one size
        ASSERT_EQ(two.setValue(u"s", u"a", value, true), IniFile::kSet);
        EXPECT_EQ(valueOf(one, u"s", u"a"), value);
    }
    ASSERT_EQ(one.setValue(u"s", u"b", u"1", true), IniFile::kSet);
    ASSERT_EQ(two.setValue(u"s", u"c", u"1", true), IniFile::kSet);
    EXPECT_EQ(namesOf<IniFileKeyIterator>(one, u"s"), u"a|b|c|");
    writeFile("t.ini", "[s]\na=by hand\n");
    EXPECT_EQ(valueOf(one, u"s", u"a"), u"by hand");
    EXPECT_EQ(valueOf(two, u"s", u"c"), u"(none)");
    fs::remove("t.ini"); // the table stays
    EXPECT_EQ(valueOf(one, u"s", u"a"), u"by hand");
    ASSERT_EQ(two.setValue(u"s", u"d", u"1", true), IniFile::kSet);
    EXPECT_EQ(readFile("t.ini"), "[s]\r\na=by hand\r\nd=1\r\n\r\n");
}

ZV_TEST_ROLE(nothing) {
    return 0;
}
ZV_TEST_ROLE(sleeper) {
    Sleep(INFINITE_WAIT);
    return 0;
}

TEST_F(IniFileTest, RemovesTheLeftoversOfDeadProcesses) {
    SelfProcess gone("nothing");
    const std::string number = std::to_string(gone.number());
    ASSERT_EQ(gone.join(), 0);
    const SelfProcess living("sleeper");
    const std::set<std::string> kept = {"t.ini." + std::to_string(living.number()) + ".zvtmp",
                                        "t.ini.bak.zvtmp", "t.inix.1.zvtmp", "t.ini..zvtmp",
                                        "t.ini." + number + ".tmp"};
    for (const std::string& name : kept)
        writeFile(name, "x");
    writeFile("t.ini." + number + ".zvtmp", "x");
    writeFile("t.ini." + std::to_string(GetCurrentProcessId()) + ".zvtmp", "x");
    for (const char* value : {"1", "2"}) { // into a new file, and in the place of an old one
        IniFile file(kPath);
        ASSERT_EQ(file.setValue(u"s", u"a", widen(value), true), IniFile::kSet);
        EXPECT_EQ(readFile("t.ini"), std::string("[s]\r\na=") + value + "\r\n\r\n");
        std::set<std::string> expected = kept;
        expected.insert("t.ini");
        EXPECT_EQ(namesIn("."), expected);
    }
}

constexpr int kWriters = 8;
constexpr int kValues = 200;

std::u16string nameOf(int writer, int value) {
    return widen("w" + std::to_string(writer) + "v" + std::to_string(value));
}

ZV_TEST_ROLE(ini_writer) {
    IniFile file(kPath);
    for (int value = 0; value < kValues; ++value) {
        if (file.setValue(u"s", nameOf(std::stoi(arguments.at(0)), value), u"x", true) !=
            IniFile::kSet)
            return 1;
    }
    return 0;
}

TEST_F(IniFileTest, ManyWritersLoseNothing) {
    {
        std::vector<std::unique_ptr<SelfProcess>> writers;
        for (int writer = 0; writer < kWriters; ++writer)
            writers.push_back(
                std::make_unique<SelfProcess>("ini_writer", Arguments{std::to_string(writer)}));
        for (const auto& writer : writers)
            EXPECT_EQ(writer->join(), 0);
    }
    IniFile file(kPath);
    int found = 0;
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int value = 0; value < kValues; ++value)
            found += valueOf(file, u"s", nameOf(writer, value).c_str()) == u"x";
    }
    EXPECT_EQ(found, kWriters * kValues);
}

TEST_F(IniFileTest, ThreadsShareOneObject) {
    IniFile file(kPath);
    std::vector<std::thread> threads;
    for (char16_t name = u'a'; name < u'e'; ++name) {
        threads.emplace_back([&file, name] {
            for (char16_t value = u'0'; value <= u'9'; ++value) {
                std::u16string read;
                file.setValue(u"s", std::u16string(1, name), std::u16string(1, value), true);
                if (file.getValue(u"s", std::u16string(1, name), read) != 0 || read[0] != value)
                    ADD_FAILURE() << "a thread does not read what it wrote";
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(readFile("t.ini"), "[s]\r\na=9\r\nb=9\r\nc=9\r\nd=9\r\n\r\n");
}

} // namespace
