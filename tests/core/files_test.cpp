#include "core/files.h"

#include "core/wide_calls.h"
#include "core/wide_text.h"
#include "platform/win32.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace zv::core {
namespace {

namespace fs = std::filesystem;

class Files : public test::FolderTest {
protected:
    static ResultCode open(const char16_t* path, std::uint32_t flags, std::uint32_t mode = 0700) {
        Handle handle = 0;
        const ResultCode code = ZvFileOpen(path, flags, mode, handle);
        if (handle != kNoHandle)
            ZvFileClose(handle);
        return code;
    }
};

TEST_F(Files, OpenAnswersByDisposition) {
    constexpr std::uint32_t rw = kFileRead | kFileWrite;
    struct Row {
        std::uint32_t flags;
        ResultCode missing;  // of a file that is not there
        ResultCode existing; // of one that holds "old"
        const char* left;    // what that one holds afterwards
    };
    const Row rows[] = {
        {rw, kFileNotFound, kOk, "old"},
        {rw | kFileCreate, kFileCreated, kOk, "old"},
        {rw | kFileTruncate, kFileNotFound, kOk, ""},
        {rw | kFileCreate | kFileTruncate, kFileCreated, kOk, ""},
        {rw | kFileCreate | kFileExclusive, kOk, kFail, "old"},
        {rw | kFileCreate | kFileExclusive | kFileTruncate, kOk, kFail, "old"},
        {rw | kFileExclusive, kInvalidArgument, kInvalidArgument, "old"},
        {rw | kFileExclusive | kFileTruncate, kInvalidArgument, kInvalidArgument, "old"},
    };
    for (const Row& row : rows) {
        fs::remove("file");
        EXPECT_EQ(open(u"file", row.flags), row.missing) << std::hex << row.flags;
        test::writeFile("file", "old");
        EXPECT_EQ(open(u"file", row.flags), row.existing) << std::hex << row.flags;
        EXPECT_EQ(test::readFile("file"), row.left) << std::hex << row.flags;
    }
}

TEST_F(Files, AppendStartsAtTheEnd) {
    test::writeFile("file", "old");
    Handle handle = 0;
    ASSERT_EQ(ZvFileOpen(u"file", kFileWrite | kFileAppend, 0700, handle), kOk);
    DWORD written = 0;
    EXPECT_NE(WriteFile(reinterpret_cast<HANDLE>(handle), "new", 3, &written, nullptr), 0);
    EXPECT_EQ(ZvFileClose(handle), kOk);
    EXPECT_EQ(test::readFile("file"), "oldnew");
}

TEST_F(Files, ModeWithoutWriteBitsMakesANewFileReadOnly) {
    EXPECT_EQ(open(u"locked", kFileWrite | kFileCreate, 0444), kFileCreated);
    EXPECT_EQ(fs::status("locked").permissions() & fs::perms::owner_write, fs::perms::none);
    EXPECT_EQ(open(u"free", kFileWrite | kFileCreate, 0200), kFileCreated);
    EXPECT_NE(fs::status("free").permissions() & fs::perms::owner_write, fs::perms::none);
}

TEST_F(Files, TemporaryFilesGoWhenTheyAreClosed) {
    Handle handle = 0;
    ASSERT_EQ(ZvFileOpen(u"t", kFileWrite | kFileTemporary, 0700, handle), kFileCreated);
    EXPECT_TRUE(fs::exists("t"));
    EXPECT_EQ(ZvFileClose(handle), kOk);
    EXPECT_FALSE(fs::exists("t"));

    for (const char16_t* unnamed : {static_cast<const char16_t*>(nullptr), u""}) {
        constexpr std::uint32_t flags = kFileWrite | kFileTemporary | kFileCreate | kFileExclusive;
        ASSERT_EQ(ZvFileOpen(unnamed, flags, 0700, handle), kOk);
        char path[260];
        EXPECT_NE(GetFinalPathNameByHandleA(reinterpret_cast<HANDLE>(handle), path, 260, 0), 0u);
        EXPECT_EQ(fs::path(path).filename().string().substr(0, 3), "tmp");
        EXPECT_TRUE(fs::exists(path));
        EXPECT_EQ(ZvFileClose(handle), kOk);
        EXPECT_FALSE(fs::exists(path));
    }
}

TEST_F(Files, RefusesPathsThatMakeNoSense) {
    const std::u16string longest(259, u'x');
    const std::u16string tooLong(260, u'x');
    EXPECT_EQ(open(tooLong.c_str(), kFileRead), kInvalidArgument);
    EXPECT_NE(open(longest.c_str(), kFileRead), kInvalidArgument);
    EXPECT_EQ(open(nullptr, kFileRead), kInvalidArgument);
    EXPECT_EQ(ZvFileDelete(nullptr), kInvalidArgument);
    EXPECT_EQ(ZvFileClose(kNoHandle), kInvalidHandle);
}

TEST_F(Files, DeleteAnswersForAMissingFile) {
    test::writeFile("file", "");
    EXPECT_EQ(ZvFileDelete(u"file"), kOk);
    EXPECT_EQ(ZvFileDelete(u"file"), kFileNotFound);
    EXPECT_EQ(ZvFileDelete(u"no/such/folder"), kFileNotFound);
}

} // namespace
} // namespace zv::core
