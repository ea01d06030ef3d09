#include "platform/win32.h"
#include "support/scratch_folder.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace std::string_view_literals;
using zv::test::readFile;
using zv::test::writeFile;

class NetworkDrives : public testing::Test {
protected:
    void putTable(std::string_view lines) { writeFile("config/zentrova/drives", lines); }

    zv::test::ScratchFolder folder;
};

struct Listing {
    DWORD error = 0; // that ended it
    std::vector<std::string> entries;
    int calls = 0;
};

// The whole enumeration, in areas of that size that grow when they are told to.
Listing list(DWORD areaSize = 1600, DWORD most = 0xFFFFFFFF) {
    Listing listing;
    HANDLE handle = nullptr;
    listing.error = WNetOpenEnumA(RESOURCE_CONNECTED, RESOURCETYPE_DISK, 0, nullptr, &handle);
    if (listing.error != 0)
        return listing;
    std::vector<char> area(areaSize);
    for (;;) {
        DWORD count = most;
        auto size = static_cast<DWORD>(area.size());
        listing.error = WNetEnumResourceA(handle, &count, area.data(), &size);
        ++listing.calls;
        if (listing.error == ERROR_MORE_DATA) {
            EXPECT_GT(size, area.size());
            area.resize(size);
            continue;
        }
        if (listing.error != 0)
            break;
        EXPECT_LE(count, most);
        for (DWORD i = 0; i < count; ++i) {
            NETRESOURCEA entry;
            std::memcpy(&entry, area.data() + i * sizeof entry, sizeof entry);
            EXPECT_EQ(entry.dwType, RESOURCETYPE_DISK);
            listing.entries.push_back(std::string(entry.lpLocalName) + ' ' + entry.lpRemoteName);
        }
    }
    EXPECT_EQ(WNetCloseEnum(handle), 0u);
    EXPECT_EQ(WNetCloseEnum(handle), ERROR_INVALID_HANDLE);
    return listing;
}

TEST_F(NetworkDrives, AreTheLinesThatMakeSense) {
    struct Case {
        std::string_view table;
        std::vector<std::string> entries;
    };
    const Case cases[] = {
        {"", {}},
        {"F: \\\\SRV\\SYS /mnt\n", {"F: \\\\SRV\\SYS"}},
        {"# F: \\\\SRV\\SYS /mnt\n\n \t\n", {}},
        {"\tf:  \\\\SRV \t /a b \r\nG: \\\\S\\V\r\n", {"f: \\\\SRV", "G: \\\\S\\V"}},
        {"F:\nF \\\\S\\V /m\nFF: \\\\S\\V /m\n1: \\\\S\\V /m\n: x y\nlast: line", {}},
        {"F: \\\\A\\V /a\0b\nG: \\\\B\\V /b"sv, {"G: \\\\B\\V"}},
        {"\xEF\xBB\xBF\tF: \\\\S\\V /m", {"F: \\\\S\\V"}},
        {"\xFF\xFE\x80\nF: \xC3\xA9 /m", {"F: \xC3\xA9"}},
    };
    for (const Case& one : cases) {
        putTable(one.table);
        const Listing listing = list();
        EXPECT_EQ(listing.entries, one.entries) << one.table;
        EXPECT_EQ(listing.error, ERROR_NO_MORE_ITEMS);
    }
}

TEST_F(NetworkDrives, ComeInAsManyCallsAsTheAreaNeeds) {
    EXPECT_TRUE(list().entries.empty()); // there is no table
    std::string table;
    std::vector<std::string> expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string entry = std::string(1, static_cast<char>('A' + i % 26)) + ": \\\\SRV" +
                                  std::to_string(i) + "\\" + std::string(i % 50, 'v');
        table += entry + " /mnt\n";
        expected.push_back(entry);
    }
    table += "Z: " + std::string(1 << 20, 'x') + "\n"; // one that needs an area of its own
    expected.push_back("Z: " + std::string(1 << 20, 'x'));
    putTable(table);
    EXPECT_EQ(list().entries, expected);
    EXPECT_EQ(list(1).entries, expected);
    const Listing singly = list(1 << 21, 1);
    EXPECT_EQ(singly.entries, expected);
    EXPECT_EQ(singly.calls, 3002);
}

TEST_F(NetworkDrives, WhatIsNoTableIsAnError) {
    std::filesystem::create_directories("config/zentrova/drives");
    EXPECT_EQ(list().error, ERROR_ACCESS_DENIED);
    std::filesystem::remove("config/zentrova/drives");
    ASSERT_EQ(mkfifo("config/zentrova/drives", 0600), 0);
    EXPECT_EQ(list().error, ERROR_ACCESS_DENIED);
    std::filesystem::remove("config/zentrova/drives");
    writeFile("config/zentrova/other", "");
    std::filesystem::create_symlink("drives", "config/zentrova/drives"); // leads to itself
    EXPECT_NE(list().error, 0u);

    HANDLE handle = nullptr;
    DWORD count = 1;
    DWORD size = 100;
    char area[100];
    EXPECT_EQ(WNetOpenEnumA(RESOURCE_CONNECTED, RESOURCETYPE_DISK, 0, nullptr, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WNetOpenEnumA(7, RESOURCETYPE_DISK, 0, nullptr, &handle), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WNetEnumResourceA(nullptr, &count, area, &size), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WNetEnumResourceA(nullptr, nullptr, area, &size), ERROR_INVALID_PARAMETER);
}

bool deletes(const char* path) {
    return DeleteFileA(path) != FALSE;
}

TEST_F(NetworkDrives, LeadTheirPathsIntoTheirFolders) {
    std::filesystem::create_directories("mounted here/sub");
    const std::string mount = (folder.path() / "mounted here").string();
    putTable("F: \\\\SRV\\SYS " + mount + "\nf: \\\\SRV\\SYS /second\nG: \\\\SRV\\SYS\n");
    for (const char* path : {"F:/file", "f:\\file", "F:file", "F:\\sub/../file", "f://file"}) {
        writeFile("mounted here/file", "x");
        EXPECT_TRUE(deletes(path)) << path;
        EXPECT_FALSE(std::filesystem::exists("mounted here/file")) << path;
    }
    const HANDLE made =
        CreateFileA("F:\\sub\\made", GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(made, INVALID_HANDLE_VALUE);
    CloseHandle(made);
    EXPECT_TRUE(std::filesystem::exists("mounted here/sub/made"));
    EXPECT_TRUE(MoveFileExA("f:/sub/made", "f:/moved", 0));
    EXPECT_TRUE(RemoveDirectoryA("F:\\sub"));
    EXPECT_TRUE(CreateDirectoryA("F:\\other", nullptr));
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA("F:\\mov*", &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    EXPECT_STREQ(data.cFileName, "moved");
    // A drive without a folder, one that is not in the table, and a path that only looks like one.
    for (const char* path : {"G:/file", "H:/file", "1:/file"}) {
        writeFile(path, "x");
        EXPECT_TRUE(deletes(path)) << path;
    }
    EXPECT_FALSE(deletes("F:/gone"));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(deletes("F:"));
}

} // namespace
