#include "contract/wide_functions.h"
#include "platform/win32.h"
#include "support/scratch_folder.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using zv::test::readFile;
using zv::test::writeFile;

namespace {

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;
constexpr char kSeparator = static_cast<char>(fs::path::preferred_separator);

class FilesTest : public testing::Test {
protected:
    static HANDLE open(const std::string& path, DWORD disposition, DWORD access = kReadWrite,
                       DWORD flags = FILE_ATTRIBUTE_NORMAL) {
        SetLastError(0xBAD);
        return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           disposition, flags, nullptr);
    }
    static BY_HANDLE_FILE_INFORMATION informationOf(const std::string& path) {
        BY_HANDLE_FILE_INFORMATION info{};
        const HANDLE file = open(path, OPEN_EXISTING, GENERIC_READ);
        EXPECT_TRUE(GetFileInformationByHandle(file, &info));
        CloseHandle(file);
        return info;
    }

    zv::test::ScratchFolder folder;
};

TEST_F(FilesTest, OpenByDispositionWithTheirErrors) {
    struct Case {
        DWORD disposition;
        const char* path;
        bool opened;
        DWORD error;
        const char* content; // afterwards
    };
    constexpr Case cases[] = {
        {CREATE_NEW, "there", false, ERROR_FILE_EXISTS, "text"},
        {CREATE_NEW, "new", true, ERROR_SUCCESS, ""},
        {CREATE_ALWAYS, "there", true, ERROR_ALREADY_EXISTS, ""},
        {CREATE_ALWAYS, "new", true, ERROR_SUCCESS, ""},
        {OPEN_EXISTING, "there", true, ERROR_SUCCESS, "text"},
        {OPEN_EXISTING, "new", false, ERROR_FILE_NOT_FOUND, ""},
        {OPEN_EXISTING, "gone/new", false, ERROR_PATH_NOT_FOUND, ""},
        {OPEN_EXISTING, "there/new", false, ERROR_PATH_NOT_FOUND, ""},
        {OPEN_EXISTING, "", false, ERROR_PATH_NOT_FOUND, ""},
        {OPEN_EXISTING, "folder", false, ERROR_ACCESS_DENIED, ""},
        {OPEN_ALWAYS, "there", true, ERROR_ALREADY_EXISTS, "text"},
        {OPEN_ALWAYS, "new", true, ERROR_SUCCESS, ""},
        {OPEN_ALWAYS, "gone/new", false, ERROR_PATH_NOT_FOUND, ""},
        {TRUNCATE_EXISTING, "there", true, ERROR_SUCCESS, ""},
        {TRUNCATE_EXISTING, "new", false, ERROR_FILE_NOT_FOUND, ""},
        {0, "there", false, ERROR_INVALID_PARAMETER, "text"},
        {6, "there", false, ERROR_INVALID_PARAMETER, "text"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(std::string(one.path) + " " + std::to_string(one.disposition));
        fs::remove("new");
        fs::create_directory("folder");
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
    EXPECT_EQ(GetLastError(), 131U); // before the beginning
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, 3), 0xFFFFFFFF);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
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

TEST_F(FilesTest, NamesAreMadeMovedAndRemoved) {
    const auto check = [](BOOL answer, DWORD error) {
        return error == 0 ? answer != FALSE : answer == FALSE && GetLastError() == error;
    };
    EXPECT_TRUE(check(CreateDirectoryA("folder", nullptr), 0));
    EXPECT_TRUE(check(CreateDirectoryA("folder", nullptr), ERROR_ALREADY_EXISTS));
    EXPECT_TRUE(check(CreateDirectoryA("gone/folder", nullptr), ERROR_PATH_NOT_FOUND));
    writeFile("folder/file", "F");
    writeFile("file", "f");
    EXPECT_TRUE(check(RemoveDirectoryA("folder"), ERROR_DIR_NOT_EMPTY));
    EXPECT_TRUE(check(RemoveDirectoryA("gone"), ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(check(RemoveDirectoryA("file"), 267)); // no folder
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

TEST_F(FilesTest, InformationTellsTimeSizeAndIdentity) {
    writeFile("file", "12345");
    writeFile("other", "12345");
    fs::create_hard_link("file", "same");
    const auto before = informationOf("file");
    EXPECT_EQ(before.nFileSizeLow, 5U);
    EXPECT_EQ(before.nNumberOfLinks, 2U);
    EXPECT_EQ(before.nFileIndexLow, informationOf("same").nFileIndexLow);
    EXPECT_NE(before.nFileIndexLow, informationOf("other").nFileIndexLow);
    Sleep(30); // more than the resolution of file times
    writeFile("file", "123456");
    const auto after = informationOf("same");
    EXPECT_EQ(after.nFileSizeLow, 6U);
    const auto ticks = [](const FILETIME& time) {
        return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    };
    const std::uint64_t passed = ticks(after.ftLastWriteTime) - ticks(before.ftLastWriteTime);
    EXPECT_GT(passed, 0U);
    EXPECT_LT(passed, 600'000'000U); // a minute
}

TEST_F(FilesTest, ReadOnlyFilesSaySo) {
    CloseHandle(open("kept", CREATE_NEW, kReadWrite, FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(informationOf("kept").dwFileAttributes & FILE_ATTRIBUTE_READONLY);
    fs::permissions("kept", fs::perms::owner_write, fs::perm_options::add);
    EXPECT_FALSE(informationOf("kept").dwFileAttributes & FILE_ATTRIBUTE_READONLY);
}

TEST_F(FilesTest, TemporaryFilesGoWithTheirHandle) {
    const HANDLE file =
        open("temporary", CREATE_NEW, kReadWrite | DELETE_ACCESS, FILE_FLAG_DELETE_ON_CLOSE);
    EXPECT_TRUE(fs::exists("temporary"));
    CloseHandle(file);
    EXPECT_FALSE(fs::exists("temporary"));
}

TEST_F(FilesTest, TheFinalPathLeadsToTheOpenFile) {
    fs::create_directory("sub");
    writeFile("sub/file", "");
    const HANDLE file = open("sub/../sub/./file", OPEN_EXISTING, GENERIC_READ);
    std::string path(1000, '#');
    const DWORD length = GetFinalPathNameByHandleA(file, path.data(), 1000, 0);
    ASSERT_GT(length, 8U);
    ASSERT_LT(length, 1000U);
    EXPECT_EQ(path[length], 0);
    path.resize(length);
    EXPECT_EQ(path.substr(length - 8), std::string("sub") + kSeparator + "file");
    EXPECT_EQ(informationOf(path).nFileIndexLow, informationOf("sub/file").nFileIndexLow);
    EXPECT_GE(GetFinalPathNameByHandleA(file, path.data(), length, 0), length);
    CloseHandle(file);
}

TEST_F(FilesTest, AReplacementTakesThePlaceOrLeavesBothNames) {
    writeFile("real", "old");
    writeFile("new", "new");
    for (const auto& [replaced, replacement] : {std::pair{"none", "new"}, {"real", "none"}}) {
        EXPECT_FALSE(ReplaceFileA(replaced, replacement, nullptr, 0, nullptr, nullptr));
        EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    }
    EXPECT_EQ(readFile("real"), "old");
    const std::string real = folder.path().string() + kSeparator + "real";
    const std::string replacement = folder.path().string() + kSeparator + "new";
    ASSERT_TRUE(ReplaceFileA(real.c_str(), replacement.c_str(), nullptr, 0, nullptr, nullptr))
        << GetLastError();
    EXPECT_EQ(readFile("real"), "new");
    EXPECT_FALSE(fs::exists("new"));
}

TEST_F(FilesTest, FullPaths) {
    const std::string here = fs::current_path().string() + kSeparator;
    const std::string last = folder.path().filename().string();
    struct Case {
        std::string name;
        std::string path; // below the current folder, with "/"
        const char* part; // null: none
    };
    const Case cases[] = {
        {"file", "file", "file"},    {"./a/../b", "b", "b"},     {"a//./b", "a/b", "b"},
        {"a/", "a/", nullptr},       {"a/..", "", last.c_str()}, {".", "", last.c_str()},
        {"a b.c", "a b.c", "a b.c"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        std::string path = here + one.path;
        if (one.path.empty())
            path.pop_back();
        std::replace(path.begin(), path.end(), '/', kSeparator);
        const auto length = static_cast<DWORD>(path.size());
        std::string buffer(path.size() + 1, '#');
        char* part = nullptr;
        EXPECT_EQ(GetFullPathNameA(one.name.c_str(), length + 1, buffer.data(), &part), length);
        EXPECT_EQ(buffer.c_str(), path);
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
    EXPECT_EQ(GetFullPathNameW(u"a/b", 300, wide, &part), here.size() + 3);
    EXPECT_EQ(std::u16string(part), u"b");
}

TEST_F(FilesTest, TemporaryNamesAreMadeOnce) {
    for (const char* name : {"TMP", "TMPDIR"}) // each system has one
        zv::test::setVariable(name, folder.path().string().c_str());
    const std::string expected = folder.path().string() + kSeparator;
    char path[MAX_PATH_LENGTH];
    EXPECT_EQ(GetTempPathA(sizeof path, path), expected.size());
    EXPECT_EQ(path, expected);
    EXPECT_EQ(GetTempPathA(3, path), expected.size() + 1);
    for (const char* name : {"TMP", "TMPDIR"})
        zv::test::setVariable(name, nullptr);
    std::set<std::string> names;
    for (int i = 0; i < 20; ++i) {
        char name[MAX_PATH_LENGTH];
        EXPECT_NE(GetTempFileNameA(expected.c_str(), "prefix", 0, name), 0U);
        EXPECT_TRUE(fs::exists(name));
        EXPECT_EQ(std::string(name).rfind(expected + "pre", 0), 0U);
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 20U);
    char16_t wide[MAX_PATH_LENGTH];
    fs::create_directory("some");
    EXPECT_EQ(GetTempFileNameW(u"some", u"ab", 0x19, wide), 0x19U); // only a name
    EXPECT_EQ(fs::path(wide), fs::path("some") / "ab19.tmp");
    EXPECT_FALSE(fs::exists(wide));
    for (const UINT unique : {0U, 0x19U}) {
        EXPECT_EQ(GetTempFileNameW(u"gone", u"ab", unique, wide), 0U);
        EXPECT_EQ(GetLastError(), 267U); // no folder
    }
    EXPECT_EQ(GetTempFileNameW(std::u16string(250, u'x').c_str(), u"ab", 1, wide), 0U);
}

} // namespace
