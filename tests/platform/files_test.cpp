#include "platform/posix/file_seam.h"
#include "platform/posix/wide_functions.h"
#include "platform/win32.h"
#include "support/scratch_folder.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <tuple>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace seam = zv::platform::posix::seam;
using zv::test::readFile;
using zv::test::writeFile;

namespace {

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

class FilesTest : public testing::Test {
protected:
    ~FilesTest() override { seam::setHook(nullptr); }

    static HANDLE open(const std::string& path, DWORD disposition, DWORD access = kReadWrite,
                       DWORD flags = FILE_ATTRIBUTE_NORMAL) {
        SetLastError(0xBAD);
        return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           disposition, flags, nullptr);
    }
    static unsigned modeOf(const char* path) {
        struct stat status {};
        lstat(path, &status);
        return status.st_mode & 07777;
    }
    static bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

    zv::test::ScratchFolder folder;
};

TEST_F(FilesTest, AFullDiskAnswersWhatReachedIt) {
    const HANDLE file = open("file", CREATE_NEW);
    seam::setHook([](seam::FileCall call, const char*) {
        return call == seam::FileCall::Write ? seam::Verdict{.limit = 3} : seam::Verdict{};
    });
    DWORD moved = 0;
    EXPECT_FALSE(WriteFile(file, "12345", 5, &moved, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
    EXPECT_EQ(moved, 3U);
    seam::setHook([](seam::FileCall, const char*) { return seam::Verdict{.error = EIO}; });
    EXPECT_FALSE(WriteFile(file, "12345", 5, &moved, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_WRITE_FAULT);
    EXPECT_EQ(moved, 0U);
    EXPECT_FALSE(ReadFile(file, &moved, 1, &moved, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_READ_FAULT);
    EXPECT_FALSE(FlushFileBuffers(file));
    EXPECT_EQ(GetLastError(), ERROR_WRITE_FAULT);
    seam::setHook(nullptr);
    CloseHandle(file);
    EXPECT_EQ(readFile("file"), "123");
}

TEST_F(FilesTest, TemporaryFilesGoWithTheirHandleWhereverTheyAre) {
    const HANDLE file =
        open("temporary", CREATE_NEW, kReadWrite | DELETE_ACCESS, FILE_FLAG_DELETE_ON_CLOSE);
    EXPECT_TRUE(exists("temporary"));
    std::filesystem::rename("temporary", "moved");
    writeFile("temporary", "another's");
    std::filesystem::create_directory("elsewhere");
    std::filesystem::current_path("elsewhere");
    CloseHandle(file);
    EXPECT_FALSE(exists("../moved"));
    EXPECT_EQ(readFile("../temporary"), "another's");
    std::filesystem::current_path(folder.path());
}

TEST_F(FilesTest, InformationIsTakenFromTheInode) {
    writeFile("file", "");
    const timespec times[2] = {{0, 0}, {1'000'000'000, 123'456'700}};
    utimensat(AT_FDCWD, "file", times, 0);
    const HANDLE file = open("file", OPEN_EXISTING, GENERIC_READ);
    BY_HANDLE_FILE_INFORMATION info;
    EXPECT_TRUE(GetFileInformationByHandle(file, &info));
    CloseHandle(file);
    const std::uint64_t ticks = std::uint64_t{info.ftLastWriteTime.dwHighDateTime} << 32 |
                                info.ftLastWriteTime.dwLowDateTime;
    EXPECT_EQ(ticks, 126'444'736'001'234'567U);
    CloseHandle(open("kept", CREATE_NEW, kReadWrite, FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(modeOf("kept") & 0222U, 0U);
}

TEST_F(FilesTest, OpeningFollowsLinksAndTakesNoNameForAnother) {
    std::filesystem::create_symlink("linked", "dangling");
    CloseHandle(open("dangling", OPEN_ALWAYS));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS); // a new file
    EXPECT_TRUE(exists("linked"));
    // A name that the code page lacks must not become another's.
    writeFile("?", "kept");
    EXPECT_FALSE(DeleteFileW(u"\u3042"));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
    EXPECT_EQ(readFile("?"), "kept");
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA("*", &data);
    EXPECT_FALSE(CloseHandle(search)); // not its call
    EXPECT_TRUE(FindClose(search));
}

TEST_F(FilesTest, TheFinalPathOfAnOpenFileHasNoLinks) {
    const std::string real = std::filesystem::canonical(folder.path()).string() + "/file";
    writeFile("file", "");
    std::filesystem::create_symlink("file", "link");
    const HANDLE file = open("link", OPEN_EXISTING, GENERIC_READ);
    std::string path(real.size() + 1, '\0');
    const auto size = static_cast<DWORD>(path.size());
    EXPECT_EQ(GetFinalPathNameByHandleA(file, path.data(), size, 0), real.size());
    EXPECT_EQ(path.c_str(), real);
    EXPECT_GE(GetFinalPathNameByHandleA(file, path.data(), size - 1, 0), size - 1);
    DeleteFileA("file");
    EXPECT_EQ(GetFinalPathNameByHandleA(file, path.data(), size, 0), 0U);
    CloseHandle(file);
}

TEST_F(FilesTest, AReplacementTakesModeAndPlaceAndFollowsALink) {
    writeFile("real", "old");
    chmod("real", 0640);
    std::filesystem::create_symlink("real", "link");
    writeFile("new", "new");
    chmod("new", 0600);
    ASSERT_TRUE(ReplaceFileA("link", "new", nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(readFile("real"), "new");
    EXPECT_EQ(modeOf("real"), 0640U);
    EXPECT_TRUE(std::filesystem::is_symlink("link"));
    EXPECT_FALSE(exists("new"));
}

TEST_F(FilesTest, AReplacementThatFailsLeavesBothNames) {
    writeFile("new", "new");
    writeFile("real", "old");
    // Every call in front of the rename, and the rename itself.
    static int calls;
    for (int failing = 0;; ++failing) {
        calls = failing;
        seam::setHook([](seam::FileCall, const char*) {
            return seam::Verdict{.error = calls-- == 0 ? ENOSPC : 0};
        });
        chmod("real", 0640);
        chmod("new", 0600);
        const BOOL answer = ReplaceFileA("real", "new", nullptr, 0, nullptr, nullptr);
        seam::setHook(nullptr);
        if (readFile("real") == "new") { // only the folder's flush is behind it
            EXPECT_GE(failing, 3);
            EXPECT_FALSE(answer);
            break;
        }
        EXPECT_FALSE(answer);
        EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
        EXPECT_EQ(readFile("real"), "old");
        EXPECT_EQ(readFile("new"), "new");
    }
}

TEST_F(FilesTest, FullPathsHaveOneRoot) {
    for (const auto& [name, path, part] : {std::tuple{"/x//y/./z", "/x/y/z", "z"},
                                           {"/x/..", "/", ""},
                                           {"/../../up", "/up", "up"},
                                           {"/", "/", ""},
                                           {"/a\\b c", "/a\\b c", "a\\b c"}}) {
        char buffer[40];
        char* found = nullptr;
        EXPECT_EQ(GetFullPathNameA(name, sizeof buffer, buffer, &found), std::strlen(path));
        EXPECT_STREQ(buffer, path);
        EXPECT_STREQ(found != nullptr ? found : "", part);
    }
}

TEST_F(FilesTest, ArgumentsThatOnlyTheDocumentsRefuse) {
    writeFile("there", "text");
    EXPECT_EQ(open("there", TRUNCATE_EXISTING, GENERIC_READ), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(readFile("there"), "text");
    EXPECT_EQ(GetFullPathNameA("", 0, nullptr, nullptr), 0U);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
}

TEST_F(FilesTest, TemporaryFilesAreTheirMakersAlone) {
    char name[MAX_PATH_LENGTH];
    EXPECT_NE(GetTempFileNameA(".", "prefix", 0, name), 0U);
    EXPECT_EQ(modeOf(name), 0600U);
}

} // namespace
