#include "core/wide_calls.h"

#include "core/platform_flags.h"
#include "core/wide_fallbacks.h"
#include "core/wide_text.h"
#include "support/self_process.h"
#include "support/test_folder.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

namespace fs = std::filesystem;

// Both columns of the table answer the same calls the same way.
class WideCallsTest : public testing::TestWithParam<bool> {
protected:
    WideCallsTest() : before(g_bCoreNT) {
        std::setlocale(LC_ALL, "C.UTF-8");
        g_bCoreNT = GetParam();
        LoadWideCalls();
    }
    ~WideCallsTest() override {
        g_bCoreNT = before;
        LoadWideCalls();
        std::setlocale(LC_ALL, "");
    }

    static HKEY openTestKey() {
        HKEY key = nullptr;
        DWORD disposition = 0;
        EXPECT_EQ(g_wideCalls.RegCreateKeyExW(RootKeyFromValue(HKEY_CURRENT_USER_VALUE),
                                              u"Test\\K\u00E4y", 0, nullptr, 0, KEY_ALL_ACCESS,
                                              nullptr, &key, &disposition),
                  0);
        return key;
    }

    static std::vector<BYTE> bytesOf(const std::u16string& text) {
        std::vector<BYTE> bytes(text.size() * 2);
        std::memcpy(bytes.data(), text.data(), bytes.size());
        return bytes;
    }

    test::TestFolder folder;

private:
    std::int32_t before;
};

INSTANTIATE_TEST_SUITE_P(Columns, WideCallsTest, testing::Bool(), [](const auto& column) {
    return std::string(column.param ? "Wide" : "Narrow");
});

TEST_P(WideCallsTest, HasEveryEntry) {
    // The table is nothing but pointers.
    std::vector<void*> entries(sizeof(WideCalls) / sizeof(void*));
    std::memcpy(entries.data(), &g_wideCalls, sizeof g_wideCalls);
    EXPECT_EQ(entries.size(), 21u);
    for (std::size_t i = 0; i < entries.size(); ++i)
        EXPECT_NE(entries[i], nullptr) << i;
}

TEST_P(WideCallsTest, FilesAndFolders) {
    EXPECT_NE(g_wideCalls.CreateDirectoryW(u"f\u00F6lder", nullptr), 0);
    EXPECT_EQ(g_wideCalls.CreateDirectoryW(u"f\u00F6lder", nullptr), 0);
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);

    const HANDLE file =
        g_wideCalls.CreateFileW(u"f\u00F6lder/\u00E9.txt", GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    EXPECT_TRUE(fs::exists(u"f\u00F6lder/\u00E9.txt"));

    WIN32_FIND_DATAW found;
    const HANDLE search = g_wideCalls.FindFirstFileW(u"f\u00F6lder/*.txt", &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(std::u16string(found.cFileName), u"\u00E9.txt");
    EXPECT_NE(FindClose(search), 0);

    EXPECT_EQ(g_wideCalls.RemoveDirectoryW(u"f\u00F6lder"), 0);
    EXPECT_NE(g_wideCalls.DeleteFileW(u"f\u00F6lder/\u00E9.txt"), 0);
    EXPECT_EQ(g_wideCalls.DeleteFileW(u"f\u00F6lder/\u00E9.txt"), 0);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_NE(g_wideCalls.RemoveDirectoryW(u"f\u00F6lder"), 0);
    EXPECT_EQ(g_wideCalls.FindFirstFileW(u"none*", &found), INVALID_HANDLE_VALUE);
}

TEST_P(WideCallsTest, PathsAndNames) {
    char16_t buffer[300];
    char16_t* part = nullptr;
    const DWORD length =
        g_wideCalls.GetFullPathNameW(u"\u00E4\u00E4/b\u00F6.txt", 300, buffer, &part);
    ASSERT_GT(length, 0u);
    ASSERT_LT(length, 300u);
    EXPECT_EQ(std::u16string(buffer).size(), length);
    EXPECT_EQ(std::u16string(part), u"b\u00F6.txt");
    char16_t tiny[4] = {u'x', u'x', u'x', u'x'};
    EXPECT_EQ(g_wideCalls.GetFullPathNameW(u"\u00E4\u00E4/b\u00F6.txt", 2, tiny, nullptr),
              length + 1);
    EXPECT_EQ(tiny[2], u'x');

    const DWORD folderLength = g_wideCalls.GetTempPathW(300, buffer);
    ASSERT_GT(folderLength, 0u);
    EXPECT_EQ(g_wideCalls.GetTempPathW(1, tiny), folderLength + 1);
    char16_t name[260];
    EXPECT_NE(g_wideCalls.GetTempFileNameW(buffer, u"tmp", 0, name), 0u);
    EXPECT_TRUE(fs::exists(fs::path(name)));
    EXPECT_NE(g_wideCalls.DeleteFileW(name), 0);
}

TEST_P(WideCallsTest, ExpandsTheEnvironment) {
    test::setVariable("ZV_TEST_NAME", narrow(u"w\u00F6rd").c_str());
    char16_t buffer[32];
    EXPECT_EQ(g_wideCalls.ExpandEnvironmentStringsW(u"<%ZV_TEST_NAME%>%zv_none%", buffer, 32), 16u);
    EXPECT_EQ(std::u16string(buffer), u"<w\u00F6rd>%zv_none%");
    char16_t exact[7] = {0, 0, 0, 0, 0, 0, u'x'};
    EXPECT_EQ(g_wideCalls.ExpandEnvironmentStringsW(u"%ZV_TEST_NAME%", exact, 5), 5u);
    EXPECT_EQ(std::u16string(exact), u"w\u00F6rd");
    EXPECT_EQ(g_wideCalls.ExpandEnvironmentStringsW(u"%ZV_TEST_NAME%", exact, 4), 5u);
    EXPECT_EQ(exact[6], u'x');
    test::setVariable("ZV_TEST_NAME", nullptr);
}

TEST_P(WideCallsTest, TellsTheUserAndTheRoomItsNameNeeds) {
    char16_t name[127];
    DWORD size = 127;
    ASSERT_NE(g_wideCalls.GetUserNameW(name, &size), 0);
    EXPECT_EQ(size, wcslen(name) + 1);
    char16_t tiny[2] = {u'x', u'x'};
    DWORD room = 1;
    EXPECT_EQ(g_wideCalls.GetUserNameW(tiny, &room), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(room, size);
    EXPECT_EQ(tiny[1], u'x');
}

// The computer's name is kept in the registry, not in a test's own.
TEST(WideCalls, TellTheComputer) {
    for (const bool wide : {false, true}) {
        const auto entry = (wide ? g_wideCalls : narrowFallbacks()).GetComputerNameW;
        char16_t name[127];
        DWORD size = 127;
        EXPECT_NE(entry(name, &size), 0);
        EXPECT_EQ(size, wcslen(name) + (wide ? 0 : 1)); // the fallback counts the terminator
        char16_t tiny[2] = {u'x', u'x'};
        DWORD room = 1;
        EXPECT_EQ(entry(tiny, &room), 0);
        EXPECT_EQ(tiny[1], u'x');
    }
}

ZV_TEST_ROLE(write_file) {
    test::writeFile(arguments.at(0), "done");
    return 0;
}

TEST_P(WideCallsTest, LoadsLibrariesAndStartsPrograms) {
    const HMODULE module = g_wideCalls.LoadLibraryW(u"kernel32.dll");
    ASSERT_NE(module, nullptr);
    EXPECT_NE(FreeLibrary(module), 0);
    EXPECT_EQ(g_wideCalls.LoadLibraryW(u"no-such-library"), nullptr);

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    std::u16string command = u'"' + widen(test::programPath()) + u"\" --role write_file \"a b\"";
    ASSERT_NE(g_wideCalls.CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0,
                                         nullptr, nullptr, &startup, &process),
              0);
    EXPECT_EQ(WaitForSingleObject(process.hProcess, INFINITE_WAIT), WAIT_OBJECT_0);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    EXPECT_EQ(test::readFile("a b"), "done");
}

TEST_P(WideCallsTest, RegistryTextSurvivesAndSizesAreWide) {
    const HKEY key = openTestKey();
    ASSERT_NE(key, nullptr);
    const std::u16string text(u"v\u00E4lue\0", 6);
    const std::vector<BYTE> data = bytesOf(text);
    EXPECT_EQ(g_wideCalls.RegSetValueExW(key, u"n\u00E4me", 0, REG_SZ, data.data(),
                                         static_cast<DWORD>(data.size())),
              0);

    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(g_wideCalls.RegQueryValueExW(key, u"N\u00C4ME", nullptr, &type, nullptr, &size), 0);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 12u);
    std::vector<BYTE> read(13, 0xEE);
    size = 11;
    EXPECT_EQ(g_wideCalls.RegQueryValueExW(key, u"n\u00E4me", nullptr, &type, read.data(), &size),
              static_cast<LONG>(ERROR_MORE_DATA));
    EXPECT_EQ(size, 12u);
    EXPECT_EQ(read[11], 0xEE);
    EXPECT_EQ(g_wideCalls.RegQueryValueExW(key, u"n\u00E4me", nullptr, &type, read.data(), &size),
              0);
    EXPECT_EQ(std::vector<BYTE>(read.begin(), read.begin() + 12), data);
    EXPECT_EQ(read[12], 0xEE);

    char16_t name[8];
    DWORD length = 8;
    EXPECT_EQ(g_wideCalls.RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(std::u16string(name, length), u"n\u00E4me");
    length = 4;
    EXPECT_EQ(g_wideCalls.RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr),
              static_cast<LONG>(ERROR_MORE_DATA));
    length = 8;
    EXPECT_EQ(g_wideCalls.RegEnumValueW(key, 1, name, &length, nullptr, nullptr, nullptr, nullptr),
              static_cast<LONG>(ERROR_NO_MORE_ITEMS));

    EXPECT_EQ(g_wideCalls.RegDeleteValueW(key, u"n\u00E4me"), 0);
    EXPECT_EQ(g_wideCalls.RegDeleteValueW(key, u"n\u00E4me"),
              static_cast<LONG>(ERROR_FILE_NOT_FOUND));
    RegCloseKey(key);
}

TEST_P(WideCallsTest, RegistryKeysAndOtherTypes) {
    const HKEY key = openTestKey();
    ASSERT_NE(key, nullptr);
    const BYTE number[] = {1, 2, 3, 4};
    EXPECT_EQ(g_wideCalls.RegSetValueExW(key, nullptr, 0, REG_DWORD, number, 4), 0);
    BYTE read[4] = {};
    DWORD size = 4;
    DWORD type = 0;
    EXPECT_EQ(g_wideCalls.RegQueryValueExW(key, u"", nullptr, &type, read, &size), 0);
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(std::memcmp(read, number, 4), 0);

    const std::vector<BYTE> list = bytesOf(std::u16string(u"\u00E4\0b\0\0", 5));
    EXPECT_EQ(g_wideCalls.RegSetValueExW(key, u"list", 0, REG_MULTI_SZ, list.data(),
                                         static_cast<DWORD>(list.size())),
              0);
    std::vector<BYTE> readList(256);
    size = 256;
    EXPECT_EQ(g_wideCalls.RegQueryValueExW(key, u"list", nullptr, &type, readList.data(), &size),
              0);
    EXPECT_EQ(type, REG_MULTI_SZ);
    ASSERT_GE(size, list.size()); // the narrow road writes zeros behind the list
    readList.resize(list.size());
    EXPECT_EQ(readList, list);
    RegCloseKey(key);

    HKEY parent = nullptr;
    ASSERT_EQ(g_wideCalls.RegOpenKeyExW(RootKeyFromValue(HKEY_CURRENT_USER_VALUE), u"TEST", 0,
                                        KEY_ALL_ACCESS, &parent),
              0);
    char16_t name[8];
    DWORD length = 8;
    FILETIME time;
    EXPECT_EQ(g_wideCalls.RegEnumKeyExW(parent, 0, name, &length, nullptr, nullptr, nullptr, &time),
              0);
    EXPECT_EQ(std::u16string(name, length), u"K\u00E4y");
    length = 3;
    EXPECT_EQ(g_wideCalls.RegEnumKeyExW(parent, 0, name, &length, nullptr, nullptr, nullptr, &time),
              static_cast<LONG>(ERROR_MORE_DATA));
    EXPECT_EQ(g_wideCalls.RegDeleteKeyW(parent, u"K\u00E4y"), 0);
    EXPECT_EQ(g_wideCalls.RegOpenKeyExW(parent, u"K\u00E4y", 0, KEY_READ, &parent),
              static_cast<LONG>(ERROR_FILE_NOT_FOUND));
    RegCloseKey(parent);
}

} // namespace
} // namespace zv::core
