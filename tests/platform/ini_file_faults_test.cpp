// The registry file where file calls fail, processes die, and names are links.
#include "core/registry/ini_file.h"

#include "platform/child_process.h"
#include "platform/fault_hooks.h"
#include "support/names_in.h"
#include "support/test_folder.h"

#include <cerrno>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::core;
using namespace zv::test;

constexpr const char16_t* kPath = u"t.ini";

using IniFileFaults = FolderTest;

std::u16string valueOf(IniFile& file, const char16_t* section, const char16_t* key) {
    std::u16string value;
    return file.getValue(section, key, value) == 0 ? value : u"(none)";
}

TEST_F(IniFileFaults, KeepsModeAndLink) {
    fs::create_directory("other");
    writeFile("other/real.ini", "[s]\na=1\n");
    ASSERT_EQ(chmod("other/real.ini", 0640), 0);
    fs::create_symlink("other/real.ini", "t.ini");
    const std::string own = "other/real.ini." + std::to_string(getpid()) + ".zvtmp";
    writeFile(own, "left behind");
    IniFile file(kPath);
    ASSERT_EQ(file.setValue(u"s", u"b", u"2", true), IniFile::kSet);
    EXPECT_TRUE(fs::is_symlink("t.ini"));
    EXPECT_EQ(readFile("other/real.ini"), "[s]\r\na=1\r\nb=2\r\n\r\n");
    struct stat status;
    ASSERT_EQ(stat("other/real.ini", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_FALSE(fs::exists(own));
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

TEST_F(IniFileFaults, APrivateFileWasReadableByOthersWhileItWasSaved) {
    writeFile("t.ini", "[s]\nk=v\n");
    fs::permissions("t.ini", fs::perms::owner_read | fs::perms::owner_write);
    IniFile file(kPath);
    seam::setHook(lookBeside);
    EXPECT_EQ(file.setValue(u"s", u"k", u"w", true), IniFile::kSet);
    seam::setHook(nullptr);
    EXPECT_EQ(rightsBeside, fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(IniFileFaults, MakesTheFileThatALinkMeans) {
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

TEST_F(IniFileFaults, AFileThatCannotBeReadIsNotWrittenOver) {
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

TEST_F(IniFileFaults, AFailureLeavesTheOldFileOrTheNewOne) {
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

TEST_F(IniFileFaults, AKilledProcessLeavesTheOldFileOrTheNewOne) {
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

// A batch that could not be saved goes with the next, also when that brings nothing new.
TEST_F(IniFileFaults, ABatchThatFailedIsSavedByTheNextOne) {
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
