#include "platform/posix/file_seam.h"
#include "platform/posix/wide_functions.h"
#include "platform/win32.h"
#include "support/scratch_folder.h"

#include <cerrno>
#include <set>
#include <string>
#include <vector>

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

TEST_F(FilesTest, OpenByDispositionWithTheirErrors) {
    constexpr DWORD untouched = 0xBAD;
    struct Case {
        DWORD disposition;
        const char* path;
        bool opened;
        DWORD error;
        const char* content; // afterwards
    };
    constexpr Case cases[] = {
        {CREATE_NEW, "there", false, ERROR_FILE_EXISTS, "text"},
        {CREATE_NEW, "new", true, untouched, ""},
        {CREATE_ALWAYS, "there", true, ERROR_ALREADY_EXISTS, ""},
        {CREATE_ALWAYS, "new", true, ERROR_SUCCESS, ""},
        {OPEN_EXISTING, "there", true, untouched, "text"},
        {OPEN_EXISTING, "new", false, ERROR_FILE_NOT_FOUND, ""},
        {OPEN_EXISTING, "gone/new", false, ERROR_PATH_NOT_FOUND, ""},
        {OPEN_EXISTING, "there/new", false, ERROR_PATH_NOT_FOUND, ""},
        {OPEN_EXISTING, "", false, ERROR_PATH_NOT_FOUND, ""},
        {OPEN_EXISTING, "folder", false, ERROR_ACCESS_DENIED, ""},
        {OPEN_ALWAYS, "there", true, ERROR_ALREADY_EXISTS, "text"},
        {OPEN_ALWAYS, "new", true, ERROR_SUCCESS, ""},
        {OPEN_ALWAYS, "dangling", true, ERROR_SUCCESS, ""},
        {OPEN_ALWAYS, "gone/new", false, ERROR_PATH_NOT_FOUND, ""},
        {TRUNCATE_EXISTING, "there", true, untouched, ""},
        {TRUNCATE_EXISTING, "new", false, ERROR_FILE_NOT_FOUND, ""},
        {0, "there", false, ERROR_INVALID_PARAMETER, "text"},
        {6, "there", false, ERROR_INVALID_PARAMETER, "text"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(std::string(one.path) + " " + std::to_string(one.disposition));
        std::filesystem::remove("new");
        std::filesystem::remove("dangling");
        std::filesystem::remove("linked");
        std::filesystem::create_directory("folder");
        std::filesystem::create_symlink("linked", "dangling");
        writeFile("there", "text");
        const HANDLE file = open(one.path, one.disposition);
        EXPECT_EQ(GetLastError(), one.error);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, one.opened);
        if (one.opened)
            CloseHandle(file);
        EXPECT_EQ(readFile(one.path), one.content);
    }
    EXPECT_EQ(open(std::string(300, 'n'), CREATE_NEW), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_FILENAME_EXCED_RANGE);
    EXPECT_EQ(open("there", TRUNCATE_EXISTING, GENERIC_READ), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(FilesTest, ReadWriteAndPosition) {
    const HANDLE file = open("file", CREATE_NEW, kReadWrite, FILE_FLAG_WRITE_THROUGH);
    DWORD moved = 0;
    EXPECT_TRUE(WriteFile(file, "0123456789", 10, &moved, nullptr));
    EXPECT_EQ(moved, 10U);
    EXPECT_TRUE(FlushFileBuffers(file));
    EXPECT_EQ(SetFilePointer(file, -3, nullptr, FILE_END), 7U);
    EXPECT_EQ(SetFilePointer(file, -2, nullptr, FILE_CURRENT), 5U);
    char bytes[8];
    EXPECT_TRUE(ReadFile(file, bytes, sizeof bytes, &moved, nullptr));
    EXPECT_EQ(std::string(bytes, moved), "56789");
    EXPECT_TRUE(ReadFile(file, bytes, sizeof bytes, &moved, nullptr));
    EXPECT_EQ(moved, 0U);
    EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_BEGIN), 0xFFFFFFFF);
    EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
    LONG high = 1;
    EXPECT_EQ(SetFilePointer(file, 5, &high, FILE_BEGIN), 5U);
    EXPECT_EQ(high, 1);
    high = -1;
    EXPECT_EQ(SetFilePointer(file, -5, &high, FILE_CURRENT), 0U);
    EXPECT_EQ(high, 1);
    CloseHandle(file);

    const HANDLE reader = open("file", OPEN_EXISTING, GENERIC_READ);
    EXPECT_FALSE(WriteFile(reader, "x", 1, &moved, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    CloseHandle(reader);
}

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

TEST_F(FilesTest, InformationTellsTimeSizeAndIdentity) {
    writeFile("file", "12345");
    std::filesystem::create_hard_link("file", "same");
    writeFile("other", "12345");
    const timespec times[2] = {{0, 0}, {1'000'000'000, 123'456'700}};
    utimensat(AT_FDCWD, "file", times, 0);
    BY_HANDLE_FILE_INFORMATION info[3];
    const char* names[3] = {"file", "same", "other"};
    for (int i = 0; i < 3; ++i) {
        const HANDLE file = open(names[i], OPEN_EXISTING, GENERIC_READ);
        EXPECT_TRUE(GetFileInformationByHandle(file, &info[i]));
        CloseHandle(file);
    }
    EXPECT_EQ(info[0].nFileSizeLow, 5U);
    EXPECT_EQ(info[0].nNumberOfLinks, 2U);
    const std::uint64_t ticks = std::uint64_t{info[0].ftLastWriteTime.dwHighDateTime} << 32 |
                                info[0].ftLastWriteTime.dwLowDateTime;
    EXPECT_EQ(ticks, 126'444'736'001'234'567U);
    EXPECT_EQ(info[0].nFileIndexLow, info[1].nFileIndexLow);
    EXPECT_NE(info[0].nFileIndexLow, info[2].nFileIndexLow);

    const HANDLE readOnly = open("kept", CREATE_NEW, kReadWrite, FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(GetFileInformationByHandle(readOnly, &info[0]));
    EXPECT_EQ(info[0].dwFileAttributes, FILE_ATTRIBUTE_READONLY);
    CloseHandle(readOnly);
    EXPECT_EQ(modeOf("kept") & 0222U, 0U);
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

TEST_F(FilesTest, NamesAreMadeMovedAndRemoved) {
    const auto check = [](BOOL answer, DWORD error) {
        const DWORD last = GetLastError();
        SetLastError(0);
        return (answer != FALSE) == (error == 0) && last == error;
    };
    SetLastError(0);
    EXPECT_TRUE(check(CreateDirectoryA("folder", nullptr), 0));
    EXPECT_TRUE(check(CreateDirectoryA("folder", nullptr), ERROR_ALREADY_EXISTS));
    EXPECT_TRUE(check(CreateDirectoryA("gone/folder", nullptr), ERROR_PATH_NOT_FOUND));
    writeFile("folder/file", "F");
    writeFile("file", "f");
    EXPECT_TRUE(check(RemoveDirectoryA("folder"), ERROR_DIR_NOT_EMPTY));
    EXPECT_TRUE(check(RemoveDirectoryA("gone"), ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(check(DeleteFileA("gone"), ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(check(DeleteFileA("gone/file"), ERROR_PATH_NOT_FOUND));
    EXPECT_TRUE(check(DeleteFileA("folder"), ERROR_ACCESS_DENIED));
    EXPECT_TRUE(check(MoveFileExA("file", "folder/file", 0), ERROR_ALREADY_EXISTS));
    EXPECT_TRUE(check(MoveFileExA("file", "gone/file", 0), ERROR_PATH_NOT_FOUND));
    EXPECT_TRUE(check(MoveFileExA("none", "file2", 0), ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(readFile("folder/file"), "F");
    EXPECT_TRUE(check(
        MoveFileExA("file", "folder/file", MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH), 0));
    EXPECT_EQ(readFile("folder/file"), "f");
    EXPECT_TRUE(check(DeleteFileW(u"folder/file"), 0));
    EXPECT_TRUE(check(RemoveDirectoryW(u"folder"), 0));
    // A name that the code page lacks must not become another's.
    writeFile("?", "kept");
    EXPECT_TRUE(check(DeleteFileW(u"\u3042"), ERROR_INVALID_NAME));
    EXPECT_EQ(readFile("?"), "kept");
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
    EXPECT_FALSE(ReplaceFileA("none", "new", nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(readFile("new"), "new");
    writeFile("real", "old");
    EXPECT_FALSE(ReplaceFileA("real", "none", nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
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

TEST_F(FilesTest, SearchesMatchTheLastComponent) {
    for (const char* name : {"a.tmp", "ab.tmp", "b.ini", "[x].tmp", "a", ".hidden"})
        writeFile(std::string("f/") + name, "12");
    const auto found = [](const char* pattern) {
        std::set<std::string> names;
        WIN32_FIND_DATAA data;
        const HANDLE search = FindFirstFileA(pattern, &data);
        if (search == INVALID_HANDLE_VALUE)
            return names;
        EXPECT_FALSE(CloseHandle(search)); // not its call
        do
            names.insert(data.cFileName);
        while (FindNextFileA(search, &data));
        EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
        EXPECT_TRUE(FindClose(search));
        return names;
    };
    using Names = std::set<std::string>;
    EXPECT_EQ(found("f/*.tmp"), (Names{"a.tmp", "ab.tmp", "[x].tmp"}));
    EXPECT_EQ(found("f/?.???"), (Names{"a.tmp", "b.ini"}));
    EXPECT_EQ(found("f/*b*"), (Names{"ab.tmp", "b.ini"}));
    EXPECT_EQ(found("f/[x].*p"), (Names{"[x].tmp"}));
    EXPECT_EQ(found("f/a"), (Names{"a"}));
    EXPECT_EQ(found("f/*.*").size(), 8U); // with "." and ".."
    EXPECT_EQ(found("f/*z"), Names{});
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(found("gone/*"), Names{});
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);

    WIN32_FIND_DATAW wide;
    const HANDLE search = FindFirstFileW(u"f/b.*", &wide);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(std::u16string(wide.cFileName), u"b.ini");
    EXPECT_EQ(wide.nFileSizeLow, 2U);
    FindClose(search);
}

TEST_F(FilesTest, FullPaths) {
    const std::string here = std::filesystem::current_path().string();
    struct Case {
        std::string name;
        std::string path;
        const char* part; // null: none
    };
    const Case cases[] = {
        {"file", here + "/file", "file"},
        {"./a/../b", here + "/b", "b"},
        {"/x//y/./z", "/x/y/z", "z"},
        {"/x/..", "/", nullptr},
        {"/../../up", "/up", "up"},
        {"a/", here + "/a/", nullptr},
        {"/", "/", nullptr},
        {".", here, here.c_str() + here.rfind('/') + 1},
        {"a\\b c", here + "/a\\b c", "a\\b c"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        const auto length = static_cast<DWORD>(one.path.size());
        std::string buffer(one.path.size() + 1, '#');
        char* part = nullptr;
        EXPECT_EQ(GetFullPathNameA(one.name.c_str(), length + 1, buffer.data(), &part), length);
        EXPECT_EQ(buffer.c_str(), one.path);
        EXPECT_EQ(part != nullptr, one.part != nullptr);
        if (part != nullptr && one.part != nullptr) {
            EXPECT_STREQ(part, one.part);
        }
        EXPECT_EQ(GetFullPathNameA(one.name.c_str(), length, buffer.data(), &part), length + 1);
        EXPECT_EQ(GetFullPathNameA(one.name.c_str(), 0, nullptr, nullptr), length + 1);
    }
    EXPECT_EQ(GetFullPathNameA("", 0, nullptr, nullptr), 0U);
    char16_t wide[300];
    char16_t* part = nullptr;
    EXPECT_EQ(GetFullPathNameW(u"/a/b", 300, wide, &part), 4U);
    EXPECT_EQ(std::u16string(part), u"b");
}

TEST_F(FilesTest, TemporaryNamesAreMadeOnce) {
    setenv("TMPDIR", folder.path().c_str(), 1);
    const std::string expected = folder.path().string() + "/";
    char path[MAX_PATH_LENGTH];
    EXPECT_EQ(GetTempPathA(sizeof path, path), expected.size());
    EXPECT_EQ(path, expected);
    EXPECT_EQ(GetTempPathA(3, path), expected.size() + 1);
    unsetenv("TMPDIR");
    std::set<std::string> names;
    for (int i = 0; i < 20; ++i) {
        char name[MAX_PATH_LENGTH];
        EXPECT_NE(GetTempFileNameA(expected.c_str(), "prefix", 0, name), 0U);
        EXPECT_TRUE(exists(name));
        EXPECT_EQ(std::string(name).rfind(expected + "pre", 0), 0U);
        EXPECT_EQ(modeOf(name), 0600U);
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 20U);
    char16_t wide[MAX_PATH_LENGTH];
    EXPECT_EQ(GetTempFileNameW(u"some/folder", u"ab", 0x1F, wide), 0x1FU); // only a name
    EXPECT_EQ(std::u16string(wide), u"some/folder/ab1F.tmp");
    EXPECT_EQ(GetTempFileNameW(u"gone", u"ab", 0, wide), 0U);
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(GetTempFileNameW(std::u16string(250, u'x').c_str(), u"ab", 1, wide), 0U);
}

} // namespace
