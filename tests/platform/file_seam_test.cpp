#include "platform/posix/file_seam.h"

#include "platform/child_process.h"
#include "support/scratch_folder.h"

#include <cerrno>
#include <functional>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace seam = zv::platform::posix::seam;
using seam::FileCall;
using seam::Verdict;
using zv::test::readFile;

namespace {

// The verdict for the n-th call of one kind (from 1), and what the calls were.
int countdown = 0;
FileCall chosenCall = FileCall::Write;
Verdict chosenVerdict;
std::string heard;

Verdict hook(FileCall call, const char* what) {
    heard += what;
    heard += ';';
    return call == chosenCall && --countdown == 0 ? chosenVerdict : Verdict{};
}

class FileSeamTest : public testing::Test {
protected:
    FileSeamTest() { heard.clear(); }
    ~FileSeamTest() override { seam::setHook(nullptr); }

    static void arrange(FileCall call, int n, const Verdict& verdict) {
        chosenCall = call;
        countdown = n;
        chosenVerdict = verdict;
        seam::setHook(hook);
    }
    static int openNew(const char* path) {
        return seam::openFile(path, O_RDWR | O_CREAT | O_TRUNC, 0600);
    }

    zv::test::ScratchFolder folder;
};

TEST_F(FileSeamTest, TheChosenCallFailsAndDoesNothing) {
    struct Case {
        FileCall call;
        std::function<bool(int file)> run;
    };
    const Case cases[] = {
        {FileCall::Open, [](int) { return seam::openFile("other", O_CREAT | O_RDWR) >= 0; }},
        {FileCall::Write, [](int file) { return seam::writeTo(file, "xx", 2) >= 0; }},
        {FileCall::Write, [](int file) { return seam::writeAt(file, "xx", 2, 0) >= 0; }},
        {FileCall::Read, [](int file) { return seam::readFrom(file, &heard[0], 1) >= 0; }},
        {FileCall::Read, [](int file) { return seam::readAt(file, &heard[0], 1, 0) >= 0; }},
        {FileCall::Flush, [](int file) { return seam::flushFile(file); }},
        {FileCall::Flush, [](int) { return seam::flushFolderOf("file"); }},
        {FileCall::Rename, [](int) { return seam::renameFile("file", "other", true); }},
        {FileCall::Truncate, [](int file) { return seam::truncateFile(file, 0); }},
        {FileCall::Unlink, [](int) { return seam::unlinkFile("file"); }},
        {FileCall::MakeFolder, [](int) { return seam::makeFolder("other"); }},
        {FileCall::SetMode, [](int file) { return seam::setMode(file, 0644); }},
        {FileCall::Lock,
         [](int file) { return seam::lockRange(file, seam::LockKind::Exclusive, 0, 1, false); }},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        const int file = openNew("file");
        ASSERT_EQ(seam::writeTo(file, "text", 4), 4);
        heard = "     ";
        arrange(cases[i].call, 1, {.error = EIO});
        errno = 0;
        EXPECT_FALSE(cases[i].run(file));
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(readFile("file"), "text");
        EXPECT_FALSE(std::filesystem::exists("other"));
        seam::setHook(nullptr);
        EXPECT_TRUE(cases[i].run(file)); // and works without the hook
        close(file);
        std::filesystem::remove_all("other");
    }
}

TEST_F(FileSeamTest, WritesAreCutAndCounted) {
    const int file = openNew("file");
    arrange(FileCall::Write, 2, {.limit = 3});
    EXPECT_EQ(seam::writeTo(file, "1234", 4), 4);
    EXPECT_EQ(seam::writeTo(file, "5678", 4), 3);
    EXPECT_EQ(errno, ENOSPC);
    arrange(FileCall::Write, 1, {.error = EIO, .limit = 1});
    EXPECT_EQ(seam::writeTo(file, "abcd", 4), 1);
    EXPECT_EQ(errno, EIO);
    arrange(FileCall::Write, 1, {.limit = 0});
    EXPECT_EQ(seam::writeTo(file, "efgh", 4), -1);
    EXPECT_EQ(readFile("file"), "1234567a");
    char bytes[8];
    arrange(FileCall::Read, 1, {.limit = 2});
    EXPECT_EQ(seam::readAt(file, bytes, 8, 1), 2);
    EXPECT_EQ(std::string(bytes, 2), "23");
    EXPECT_EQ(seam::readAt(file, bytes, 8, 8), 0);
    close(file);
}

TEST_F(FileSeamTest, TheProcessEndsInFrontOfTheCallOrBehindIt) {
    const auto statusOf = [](FileCall call, const Verdict& verdict) {
        zv::test::Child child([&](zv::test::Child&) {
            const int file = openNew("new");
            arrange(call, 1, verdict);
            seam::writeTo(file, "text", 4);
            seam::renameFile("new", "named", true);
            return 0;
        });
        return child.join();
    };
    EXPECT_EQ(statusOf(FileCall::Write, {.limit = 2, .exitAfter = true}), seam::kExitStatus);
    EXPECT_EQ(readFile("new"), "te");
    EXPECT_EQ(statusOf(FileCall::Rename, {.limit = 0, .exitAfter = true}), seam::kExitStatus);
    EXPECT_EQ(readFile("new"), "text");
    EXPECT_FALSE(std::filesystem::exists("named"));
    EXPECT_EQ(statusOf(FileCall::Rename, {.exitAfter = true}), seam::kExitStatus);
    EXPECT_EQ(readFile("named"), "text");
}

TEST_F(FileSeamTest, ARenameThatKeepsTheTargetRefuses) {
    zv::test::writeFile("a", "A");
    zv::test::writeFile("b", "B");
    EXPECT_FALSE(seam::renameFile("a", "b", false));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(seam::renameFile("a", "c", false));
    EXPECT_TRUE(seam::renameFile("c", "b", true));
    EXPECT_EQ(readFile("b"), "A");
}

TEST_F(FileSeamTest, LocksBelongToAnOpening) {
    using seam::LockKind;
    const int first = openNew("file");
    const int second = seam::openFile("file", O_RDWR);
    const auto tries = [](int file, LockKind kind) {
        return seam::lockRange(file, kind, 3, 1, false);
    };
    EXPECT_TRUE(tries(first, LockKind::Shared));
    EXPECT_TRUE(tries(second, LockKind::Shared));
    EXPECT_FALSE(tries(second, LockKind::Exclusive));
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_TRUE(tries(first, LockKind::Unlock));
    EXPECT_TRUE(tries(second, LockKind::Exclusive));
    EXPECT_FALSE(tries(first, LockKind::Shared));
    EXPECT_TRUE(seam::lockRange(first, LockKind::Exclusive, 4, 1, false)); // another byte
    close(second);
    EXPECT_TRUE(tries(first, LockKind::Exclusive));
    close(first);
}

} // namespace
