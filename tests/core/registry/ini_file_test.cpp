#include "core/registry/ini_file.h"

#include "core/registry/fault_hooks.h"
#include "core/registry/ini_iterators.h"
#include "platform/child_process.h"
#include "support/test_folder.h"

#include <cerrno>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

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

TEST_F(IniFileTest, KeepsModeAndLinkAndRemovesLeftovers) {
    fs::create_directory("other");
    writeFile("other/real.ini", "[s]\na=1\n");
    ASSERT_EQ(chmod("other/real.ini", 0640), 0);
    fs::create_symlink("other/real.ini", "t.ini");
    Child gone([](const Child&) { return 0; });
    const std::string number = std::to_string(gone.number());
    ASSERT_EQ(gone.join(), 0);
    const std::string living = "real.ini." + std::to_string(getppid()) + ".zvtmp";
    const std::set<std::string> kept = {living, "real.ini.bak.zvtmp", "real.inix.1.zvtmp",
                                        "real.ini..zvtmp", "real.ini." + number + ".tmp"};
    for (const std::string& name : kept)
        writeFile("other/" + name, "x");
    writeFile("other/real.ini." + number + ".zvtmp", "x");
    writeFile("other/real.ini." + std::to_string(getpid()) + ".zvtmp", "x");
    IniFile file(kPath);
    ASSERT_EQ(file.setValue(u"s", u"b", u"2", true), IniFile::kSet);
    EXPECT_TRUE(fs::is_symlink("t.ini"));
    EXPECT_EQ(readFile("other/real.ini"), "[s]\r\na=1\r\nb=2\r\n\r\n");
    struct stat status;
    ASSERT_EQ(stat("other/real.ini", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    std::set<std::string> expected = kept;
    expected.insert("real.ini");
    EXPECT_EQ(namesIn("other"), expected);
}

// The rights of the new file beside the old one while it is being filled.
fs::perms rightsBeside = fs::perms::unknown;

seam::Verdict lookBeside(seam::FileCall call, const char*) {
    for (const auto& entry : fs::directory_iterator(".")) {
        if (call == seam::FileCall::Write && entry.path().extension() == ".zvtmp")
            rightsBeside = entry.status().permissions();
    }
    return {};
}

TEST_F(IniFileTest, APrivateFileWasReadableByOthersWhileItWasSaved) {
    writeFile("t.ini", "[s]\nk=v\n");
    fs::permissions("t.ini", fs::perms::owner_read | fs::perms::owner_write);
    IniFile file(kPath);
    seam::setHook(lookBeside);
    EXPECT_EQ(file.setValue(u"s", u"k", u"w", true), IniFile::kSet);
    seam::setHook(nullptr);
    EXPECT_EQ(rightsBeside, fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(IniFileTest, MakesTheFileThatALinkMeans) {
    fs::create_directory("other");
    fs::create_symlink("other/real.ini", "t.ini");
    IniFile file(kPath);
    EXPECT_EQ(namesIn("other"), std::set<std::string>{});
    ASSERT_EQ(file.setValue(u"s", u"a", u"1", true), IniFile::kSet);
    EXPECT_TRUE(fs::is_symlink("t.ini"));
    EXPECT_EQ(namesIn("other"), std::set<std::string>{"real.ini"});
    EXPECT_EQ(readFile("t.ini"), "[s]\r\na=1\r\n\r\n");
    fs::remove_all("other"); // now it means nothing that could be made
    EXPECT_EQ(file.setValue(u"s", u"b", u"2", true), IniFile::kNotSaved);
    EXPECT_TRUE(fs::is_symlink("t.ini"));
}

TEST_F(IniFileTest, AFileThatCannotBeReadIsNotWrittenOver) {
    fs::create_directory("t.ini");
    EXPECT_THROW(IniFile file(kPath), EZvCoreException);
    fs::remove("t.ini");
    const std::string text = "[s]\r\na=1\r\n\r\n";
    IniFile file(kPath);
    writeFile("t.ini", text);
    {
        const seam::Hook failReads = [](seam::FileCall call, const char*) {
            seam::Verdict verdict;
            verdict.error = call == seam::FileCall::Read ? EIO : 0;
            return verdict;
        };
        seam::setHook(failReads);
        EXPECT_THROW(file.setValue(u"s", u"b", u"2", true), EZvCoreException);
        EXPECT_THROW(IniFile other(kPath), EZvCoreException);
        seam::setHook(nullptr);
    }
    EXPECT_EQ(readFile("t.ini"), text);
    EXPECT_EQ(valueOf(file, u"s", u"b"), u"(none)");
    EXPECT_EQ(valueOf(file, u"s", u"a"), u"1");
}

const std::string kStarts[] = {"", "[s]\r\nold=1\r\n\r\n"};

void begin(const std::string& start) {
    fs::remove("t.ini");
    if (!start.empty())
        writeFile("t.ini", start);
}

std::string withNew(const std::string& start, const std::string& more = "") {
    const std::string old = start.empty() ? "" : "old=1\r\n";
    return "[s]\r\n" + more + "new=2\r\n" + old + "\r\n";
}

TEST_F(IniFileTest, AFailureLeavesTheOldFileOrTheNewOne) {
    int notSaved = 0;
    for (const std::string& start : kStarts) {
        for (const int error : {ENOSPC, EIO, EACCES}) {
            for (const bool on : {false, true}) {
                for (const std::size_t limit : {0, 7}) {
                    bool reached = true;
                    for (int call = 1; reached; ++call) {
                        SCOPED_TRACE(testing::Message() << start << " errno " << error << ", call "
                                                        << call << (on ? " on" : ""));
                        begin(start);
                        std::unique_ptr<IniFile> file;
                        int answer = -100;
                        try {
                            const FaultHold hold({call, error, on, limit});
                            file = std::make_unique<IniFile>(kPath);
                            answer = file->setValue(u"s", u"new", u"2", true);
                            reached = hold.reached();
                        } catch (const EZvCoreException& exception) {
                            ASSERT_LT(exception.result, 0);
                        }
                        const std::string now = readFile("t.ini");
                        ASSERT_TRUE(now == start || now == withNew(start)) << now;
                        if (answer == IniFile::kSet) {
                            ASSERT_EQ(now, withNew(start));
                        }
                        if (file == nullptr)
                            continue;
                        // A value that was taken is written by the next save that works.
                        ASSERT_EQ(file->setValue(u"s", u"more", u"3", true), IniFile::kSet);
                        notSaved += answer == IniFile::kNotSaved;
                        if (answer >= 0) {
                            ASSERT_EQ(readFile("t.ini"), withNew(start, "more=3\r\n"));
                        }
                        ASSERT_EQ(namesIn("."), std::set<std::string>{"t.ini"});
                    }
                }
            }
        }
    }
    EXPECT_GT(notSaved, 10);
}

TEST_F(IniFileTest, AKilledProcessLeavesTheOldFileOrTheNewOne) {
    int died = 0;
    for (const std::string& start : kStarts) {
        for (const std::size_t limit : {std::size_t{0}, std::size_t{7}, SIZE_MAX}) {
            bool reached = true;
            for (int call = 1; reached; ++call) {
                SCOPED_TRACE(testing::Message() << start << ", call " << call);
                begin(start);
                Child child([&](const Child&) {
                    const FaultHold hold({call, 0, false, limit});
                    IniFile file(kPath);
                    return file.setValue(u"s", u"new", u"2", true);
                });
                const int status = child.join();
                reached = status == seam::kExitStatus;
                died += reached;
                if (!reached) {
                    ASSERT_EQ(status, 0);
                }
                const std::string now = readFile("t.ini");
                ASSERT_TRUE(now == start || now == withNew(start)) << now;
                IniFile file(kPath);
                ASSERT_EQ(file.setValue(u"s", u"new", u"2", true), IniFile::kSet);
                ASSERT_EQ(readFile("t.ini"), withNew(start));
                ASSERT_EQ(namesIn("."), std::set<std::string>{"t.ini"});
            }
        }
    }
    EXPECT_GT(died, 20);
}

TEST_F(IniFileTest, ManyWritersLoseNothing) {
    constexpr int kWriters = 8;
    constexpr int kValues = 200;
    const auto nameOf = [](int writer, int value) {
        return widen("w" + std::to_string(writer) + "v" + std::to_string(value));
    };
    {
        std::vector<std::unique_ptr<Child>> children;
        for (int writer = 0; writer < kWriters; ++writer) {
            children.push_back(std::make_unique<Child>([&, writer](const Child&) {
                IniFile file(kPath);
                for (int value = 0; value < kValues; ++value) {
                    if (file.setValue(u"s", nameOf(writer, value), u"x", true) != IniFile::kSet)
                        return 1;
                }
                return 0;
            }));
        }
        for (const auto& child : children)
            EXPECT_EQ(child->join(), 0);
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

// A batch that could not be saved goes with the next, also when that brings nothing new.
TEST_F(IniFileTest, ABatchThatFailedIsSavedByTheNextOne) {
    writeFile("t.ini", "[s]\r\nold=1\r\n\r\n");
    IniFile file(kPath);
    file.beginBatch();
    ASSERT_EQ(file.setValue(u"s", u"new", u"2", true), IniFile::kSet);
    {
        const seam::Hook failWrites = [](seam::FileCall call, const char*) {
            seam::Verdict verdict;
            verdict.error = call == seam::FileCall::Write ? ENOSPC : 0;
            return verdict;
        };
        seam::setHook(failWrites);
        EXPECT_EQ(valueOf(file, u"s", u"new"), u"2");
        seam::setHook(nullptr);
    }
    ASSERT_EQ(file.setValue(u"s", u"old", u"1", true), IniFile::kSet);
    EXPECT_TRUE(file.endBatch());
    EXPECT_EQ(readFile("t.ini"), withNew(kStarts[1]));
}

} // namespace
