#include "core/wide_calls.h"
#include "platform/child_process.h"
#include "platform/posix/test_hooks.h"
#include "platform/posix/wide_functions.h"
#include "support/scratch_folder.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

using zv::test::Child;

namespace {

TEST(Environment, NamesBetweenMarksAreReplaced) {
    setenv("ZV_ONE", "1", 1);
    setenv("ZV_LONG", "longer than its name", 1);
    setenv("ZV_EMPTY", "", 1);
    constexpr std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"%ZV_ONE%", "1"},
        {"a%ZV_ONE%b%ZV_LONG%c", "a1blonger than its namec"},
        {"%ZV_EMPTY%", ""},
        {"%ZV_NONE%", "%ZV_NONE%"},
        {"%ZV_NONE%ZV_ONE%", "%ZV_NONE%ZV_ONE%"}, // the mark behind an unknown name is its own
        {"100%", "100%"},
        {"%%", "%%"},
        {"%ZV_ONE", "%ZV_ONE"},
        {"50% of %ZV_ONE%", "50% of %ZV_ONE%"},
    };
    for (const auto& [source, expected] : cases) {
        SCOPED_TRACE(source);
        const auto need = static_cast<DWORD>(std::strlen(expected)) + 1;
        const auto target = std::make_unique<char[]>(need);
        EXPECT_EQ(ExpandEnvironmentStringsA(source, nullptr, 0), need);
        EXPECT_EQ(ExpandEnvironmentStringsA(source, target.get(), need - 1), need);
        EXPECT_EQ(ExpandEnvironmentStringsA(source, target.get(), need), need);
        EXPECT_STREQ(target.get(), expected);
        const std::u16string wide(source, source + std::strlen(source));
        const auto wideTarget = std::make_unique<char16_t[]>(need);
        EXPECT_EQ(ExpandEnvironmentStringsW(wide.c_str(), wideTarget.get(), need), need);
        EXPECT_EQ(std::u16string(wideTarget.get()), std::u16string(expected, expected + need - 1));
    }
    char16_t text[8]; // what the code page lacks passes through
    EXPECT_EQ(ExpandEnvironmentStringsW(u"\u3042%ZV_ONE%", text, 8), 3U);
    EXPECT_EQ(std::u16string(text), u"\u30421");
}

TEST(Names, AreGivenWithTheirSizes) {
    struct Case {
        BOOL (*narrow)(char*, DWORD*);
        BOOL (*wide)(char16_t*, DWORD*);
        DWORD tooSmall;
        DWORD counted; // of the terminator, on success
    };
    for (const Case& one : {Case{GetUserNameA, GetUserNameW, ERROR_INSUFFICIENT_BUFFER, 1},
                            Case{GetComputerNameA, GetComputerNameW, 111, 0}}) {
        DWORD need = 0;
        EXPECT_FALSE(one.narrow(nullptr, &need));
        EXPECT_EQ(GetLastError(), one.tooSmall);
        ASSERT_GT(need, 1U);
        const auto name = std::make_unique<char[]>(need);
        DWORD size = need - 1;
        EXPECT_FALSE(one.narrow(name.get(), &size));
        EXPECT_EQ(size, need);
        EXPECT_TRUE(one.narrow(name.get(), &size));
        EXPECT_EQ(std::strlen(name.get()) + 1, need);
        EXPECT_EQ(size, need - 1 + one.counted);
        const auto wide = std::make_unique<char16_t[]>(need);
        size = need;
        EXPECT_TRUE(one.wide(wide.get(), &size));
        EXPECT_EQ(std::char_traits<char16_t>::length(wide.get()) + 1, need);
    }
}

TEST(Version, IsOfTheFamilyThatATestChose) {
    OSVERSIONINFOA info{};
    EXPECT_FALSE(GetVersionExA(&info));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    info.dwOSVersionInfoSize = sizeof info;
    EXPECT_TRUE(GetVersionExA(&info));
    EXPECT_EQ(info.dwPlatformId, VER_PLATFORM_NT);
    zv::platform::posix::setPlatformId(VER_PLATFORM_WINDOWS);
    OSVERSIONINFOW wide{};
    wide.dwOSVersionInfoSize = sizeof wide;
    EXPECT_TRUE(GetVersionExW(&wide));
    EXPECT_EQ(wide.dwPlatformId, VER_PLATFORM_WINDOWS);
    zv::platform::posix::setPlatformId(VER_PLATFORM_NT);
}

TEST(Threads, HaveNumbersOfTheirOwnAlsoAfterAFork) {
    const DWORD mine = GetCurrentThreadId();
    EXPECT_EQ(GetCurrentThreadId(), mine);
    DWORD other = 0;
    std::thread([&] { other = GetCurrentThreadId(); }).join();
    EXPECT_NE(other, 0U);
    EXPECT_NE(other, mine);
    Child child([&](Child&) { return GetCurrentThreadId() == GetCurrentProcessId() ? 0 : 1; });
    EXPECT_EQ(child.join(), 0);
}

// Every entry of the table is found by its exact name, with the type that the table gives it.
TEST(Modules, TheStandInAnswersForItsNames) {
    using zv::core::WideCalls;
    static_assert(std::is_same_v<decltype(&CreateFileW), decltype(WideCalls::CreateFileW)>);
    static_assert(std::is_same_v<decltype(&CreateProcessW), decltype(WideCalls::CreateProcessW)>);
    static_assert(std::is_same_v<decltype(&FindFirstFileW), decltype(WideCalls::FindFirstFileW)>);
    static_assert(std::is_same_v<decltype(&GetUserNameW), decltype(WideCalls::GetUserNameW)>);
    constexpr const char* kernel[] = {
        "GetTempFileNameW", "GetTempPathW",     "CreateFileW",      "DeleteFileW",
        "CreateDirectoryW", "RemoveDirectoryW", "FindFirstFileW",   "CreateProcessW",
        "GetFullPathNameW", "LoadLibraryW",     "GetComputerNameW", "ExpandEnvironmentStringsW"};
    constexpr const char* account[] = {"GetUserNameW",  "RegCreateKeyExW",  "RegSetValueExW",
                                       "RegOpenKeyExW", "RegQueryValueExW", "RegDeleteKeyW",
                                       "RegEnumKeyExW", "RegEnumValueW",    "RegDeleteValueW"};
    const HMODULE kernel32 = LoadLibraryA("KERNEL32.dll");
    const HMODULE advapi32 = LoadLibraryW(u"advapi32");
    for (const char* name : kernel) {
        EXPECT_NE(GetProcAddress(kernel32, name), nullptr) << name;
        EXPECT_EQ(GetProcAddress(advapi32, name), nullptr) << name;
        EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    }
    for (const char* name : account)
        EXPECT_NE(GetProcAddress(advapi32, name), nullptr) << name;
    EXPECT_EQ(GetProcAddress(kernel32, "createfilew"), nullptr);
    EXPECT_EQ(GetProcAddress(kernel32, nullptr), nullptr);
    EXPECT_TRUE(FreeLibrary(kernel32));
    EXPECT_TRUE(FreeLibrary(advapi32));
    EXPECT_NE(GetProcAddress(kernel32, "CreateFileW"), nullptr); // they stay
}

TEST(Modules, LibrariesAreFoundByNameOrPath) {
    for (const char* name : {"libc.so.6", "libm.so.6"}) {
        const HMODULE module = LoadLibraryA(name);
        ASSERT_NE(module, nullptr) << name;
        EXPECT_EQ(GetProcAddress(module, "no_such_function"), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
        EXPECT_TRUE(FreeLibrary(module));
    }
    const zv::test::ScratchFolder folder;
    zv::test::writeFile("broken.so", "no library");
    for (const char* name :
         {"no_such_library", "no_such.dll", "./gone.so", "./broken.so", ".dll"}) {
        EXPECT_EQ(LoadLibraryA(name), nullptr) << name;
        EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND) << name;
    }
    EXPECT_EQ(LoadLibraryW(u"\u3042"), nullptr);
    EXPECT_FALSE(FreeLibrary(nullptr));
}

// The program prints its arguments between brackets, so that the split is seen.
TEST(Processes, SplitTheCommandLineAndAreWaitedFor) {
    constexpr std::pair<const char*, const char*> cases[] = {
        {R"(a b)", "[a][b]"},
        {R"("a b" "")", "[a b][]"},
        {"a\t \"b", "[a][b]"},
        {R"(a\b "c\\" d\"e)", R"([a\b][c\][d"e])"},
        {R"("a\\\"b" c\\d)", R"([a\"b][c\\d])"},
        {R"("say ""hi""" x"y z"w)", R"([say "hi"][xy zw])"},
    };
    const zv::test::ScratchFolder folder;
    for (const auto& [arguments, expected] : cases) {
        std::string line = std::string(R"(sh -c "printf '[%s]' \"$@\" > out" sh )") + arguments;
        STARTUPINFOA startup{};
        PROCESS_INFORMATION process{};
        ASSERT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startup, &process));
        EXPECT_EQ(WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(process.hThread, 0), WAIT_OBJECT_0);
        EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, process.dwProcessId), nullptr); // none left
        EXPECT_TRUE(CloseHandle(process.hProcess));
        EXPECT_TRUE(CloseHandle(process.hThread));
        EXPECT_EQ(zv::test::readFile("out"), expected) << arguments;
    }
}

TEST(Processes, TakeFolderAndEnvironmentOrAreRefused) {
    const zv::test::ScratchFolder folder;
    std::filesystem::create_directory("sub");
    char16_t line[] = u"sh -c \"printf %s $ZV_SAID > out\"";
    char variables[] = "ZV_SAID=word\0PATH=/usr/bin:/bin\0";
    STARTUPINFOW startup{};
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessW(u"/bin/sh", line, nullptr, nullptr, FALSE, 0, variables, u"sub",
                               &startup, &process));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    EXPECT_EQ(zv::test::readFile("sub/out"), "word");

    char missing[] = "./no_such_program x"; // no search of folders that may be closed to the user
    EXPECT_FALSE(CreateProcessA(nullptr, missing, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                nullptr, &process));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    constexpr DWORD suspended = 4;
    EXPECT_FALSE(CreateProcessA("/bin/sh", nullptr, nullptr, nullptr, FALSE, suspended, nullptr,
                                nullptr, nullptr, &process));
    EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);
}

TEST(Processes, AreOpenedWhileTheyLive) {
    Child child([](Child& self) {
        self.tellAndStay();
        return 0;
    });
    child.awaitTold();
    // The number of a process that is not there.
    EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, 0), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, 0x7FFFFFFF), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, child.number());
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(WaitForSingleObject(process, 5), WAIT_TIMEOUT);
    child.kill();
    EXPECT_EQ(WaitForSingleObject(process, 60'000), WAIT_OBJECT_0);
    CloseHandle(process);
}

TEST(TaskAllocator, GivesMemoryForAsLongAsTheProcessLives) {
    IMalloc* allocator = nullptr;
    EXPECT_LT(CoGetMalloc(2, &allocator), 0);
    EXPECT_EQ(allocator, nullptr);
    ASSERT_EQ(CoGetMalloc(1, &allocator), 0);
    const BYTE mallocId[16] = {2, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
    const BYTE otherId[16] = {3};
    void* same = nullptr;
    EXPECT_EQ(allocator->QueryInterface(mallocId, &same), 0);
    EXPECT_EQ(same, allocator);
    EXPECT_LT(allocator->QueryInterface(otherId, &same), 0);
    EXPECT_EQ(same, nullptr);
    void* block = allocator->Alloc(10);
    std::memcpy(block, "contents", 9);
    block = allocator->Realloc(block, 100'000);
    EXPECT_STREQ(static_cast<char*>(block), "contents");
    EXPECT_GE(allocator->GetSize(block), 100'000U);
    allocator->Free(block);
    for (int i = 0; i < 3; ++i)
        EXPECT_GT(allocator->Release(), 0U);
    allocator->Free(allocator->Alloc(1)); // also after the last reference went
}

} // namespace
