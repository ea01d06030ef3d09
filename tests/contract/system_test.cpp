#include "contract/wide_functions.h"
#include "platform/win32.h"
#include "support/scratch_folder.h"
#include "support/self_process.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

using zv::test::SelfProcess;
using zv::test::setVariable;

namespace {

TEST(Environment, NamesBetweenMarksAreReplaced) {
    setVariable("ZV_ONE", "1");
    setVariable("ZV_LONG", "longer than its name");
    constexpr std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"%ZV_ONE%", "1"},
        {"a%ZV_ONE%b%ZV_LONG%c", "a1blonger than its namec"},
        {"%ZV_NONE%", "%ZV_NONE%"},
        {"%ZV_NONE%ZV_ONE%", "%ZV_NONE%ZV_ONE%"}, // the mark behind an unknown name is its own
        {"%ZV_NONE%%ZV_ONE%", "%ZV_NONE%1"},
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
        BOOL(ZV_SYSTEM_CALL* narrow)(char*, DWORD*);
        BOOL(ZV_SYSTEM_CALL* wide)(char16_t*, DWORD*);
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

TEST(Version, WantsTheStructuresSize) {
    OSVERSIONINFOA info{};
    EXPECT_FALSE(GetVersionExA(&info));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    info.dwOSVersionInfoSize = sizeof info;
    EXPECT_TRUE(GetVersionExA(&info));
    EXPECT_EQ(info.dwPlatformId, VER_PLATFORM_NT);
    EXPECT_GE(info.dwMajorVersion, 5U);
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    EXPECT_GE(system.dwNumberOfProcessors, 1U);
    EXPECT_GE(system.dwPageSize, 4096U);
}

TEST(Threads, HaveNumbersOfTheirOwn) {
    const DWORD mine = GetCurrentThreadId();
    EXPECT_EQ(GetCurrentThreadId(), mine);
    DWORD other = 0;
    std::thread([&] { other = GetCurrentThreadId(); }).join();
    EXPECT_NE(other, 0U);
    EXPECT_NE(other, mine);
}

TEST(Modules, AnswerForTheirNames) {
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

TEST(Modules, ThatAreNotThereAreTold) {
    const zv::test::ScratchFolder folder;
    const std::pair<const char*, DWORD> cases[] = {
        {"no_such_library", ERROR_MOD_NOT_FOUND},
        {"no_such.dll", ERROR_MOD_NOT_FOUND},
        {"./gone.dll", ERROR_MOD_NOT_FOUND},
        {".dll", ERROR_MOD_NOT_FOUND},
    };
    for (const auto& [name, error] : cases) {
        EXPECT_EQ(LoadLibraryA(name), nullptr) << name;
        EXPECT_EQ(GetLastError(), error) << name;
    }
    zv::test::writeFile("broken.dll", "no library");
    EXPECT_EQ(LoadLibraryA("./broken.dll"), nullptr);
    EXPECT_EQ(LoadLibraryW(u"\u3042"), nullptr);
    EXPECT_FALSE(FreeLibrary(nullptr));
}

// The program writes down its arguments between brackets, so that the split is seen.
ZV_TEST_ROLE(tellArguments) {
    std::string text;
    for (const std::string& argument : arguments)
        text += "[" + argument + "]";
    zv::test::writeFile("out", text);
    return 0;
}

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
        std::string line = '"' + zv::test::programPath() + "\" --role tellArguments " + arguments;
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        ASSERT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startup, &process));
        EXPECT_EQ(WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(process.hThread, 0), WAIT_OBJECT_0);
        EXPECT_TRUE(CloseHandle(process.hProcess));
        EXPECT_TRUE(CloseHandle(process.hThread));
        // Others may hold it yet.
        if (const HANDLE ended = OpenProcess(SYNCHRONIZE, FALSE, process.dwProcessId)) {
            EXPECT_EQ(WaitForSingleObject(ended, 0), WAIT_OBJECT_0);
            CloseHandle(ended);
        }
        EXPECT_EQ(zv::test::readFile("out"), expected) << arguments;
    }
}

ZV_TEST_ROLE(tellVariable) {
    const char* said = std::getenv("ZV_SAID");
    zv::test::writeFile("out", said != nullptr ? said : "nothing");
    return 0;
}

TEST(Processes, TakeFolderAndEnvironmentOrAreRefused) {
    const zv::test::ScratchFolder folder;
    std::filesystem::create_directory("sub");
    const std::string program = zv::test::programPath();
    const std::u16string application(program.begin(), program.end());
    std::u16string line = u"anything --role tellVariable";
    char variables[] = "ZV_SAID=word\0";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessW(application.c_str(), line.data(), nullptr, nullptr, FALSE, 0,
                               variables, u"sub", &startup, &process));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    EXPECT_EQ(zv::test::readFile("sub/out"), "word");

    char missing[] = "./no_such_program x"; // no search of folders that may be closed to the user
    STARTUPINFOA narrow{};
    narrow.cb = sizeof narrow;
    EXPECT_FALSE(CreateProcessA(nullptr, missing, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                &narrow, &process));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

ZV_TEST_ROLE(sleeper) {
    Sleep(120'000);
    return 0;
}

TEST(Processes, AreOpenedWhileTheyLive) {
    const zv::test::ScratchFolder folder;
    SelfProcess child("sleeper");
    for (const DWORD none : {0U, 0x7FFFFFFFU}) {
        EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, none), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
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
