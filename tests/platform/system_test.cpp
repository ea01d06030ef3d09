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

TEST(Version, IsOfTheFamilyThatATestChose) {
    zv::platform::posix::setPlatformId(VER_PLATFORM_WINDOWS);
    OSVERSIONINFOW wide{};
    wide.dwOSVersionInfoSize = sizeof wide;
    EXPECT_TRUE(GetVersionExW(&wide));
    EXPECT_EQ(wide.dwPlatformId, VER_PLATFORM_WINDOWS);
    zv::platform::posix::setPlatformId(VER_PLATFORM_NT);
}

TEST(Threads, HaveNumbersOfTheirOwnAlsoAfterAFork) {
    const DWORD mine = GetCurrentThreadId();
    Child child([&](Child&) {
        return GetCurrentThreadId() == GetCurrentProcessId() && GetCurrentThreadId() != mine ? 0
                                                                                             : 1;
    });
    EXPECT_EQ(child.join(), 0);
}

// What is found by name has the type that the table of wide calls gives it.
using zv::core::WideCalls;
static_assert(std::is_same_v<decltype(&CreateFileW), decltype(WideCalls::CreateFileW)>);
static_assert(std::is_same_v<decltype(&CreateProcessW), decltype(WideCalls::CreateProcessW)>);
static_assert(std::is_same_v<decltype(&FindFirstFileW), decltype(WideCalls::FindFirstFileW)>);
static_assert(std::is_same_v<decltype(&GetUserNameW), decltype(WideCalls::GetUserNameW)>);

// The product's own platform has no empty variables that a program's run-time could make.
TEST(Environment, AnEmptyVariableIsReplacedByNothing) {
    setenv("ZV_EMPTY", "", 1);
    char text[8];
    EXPECT_EQ(ExpandEnvironmentStringsA("a%ZV_EMPTY%b", text, sizeof text), 3U);
    EXPECT_STREQ(text, "ab");
}

TEST(Modules, LibrariesAreFoundByNameOrPath) {
    for (const char* name : {"libc.so.6", "libm.so.6"}) {
        const HMODULE module = LoadLibraryA(name);
        ASSERT_NE(module, nullptr) << name;
        EXPECT_EQ(GetProcAddress(module, "no_such_function"), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
        EXPECT_TRUE(FreeLibrary(module));
    }
}

TEST(Processes, LeaveNothingBehind) {
    char line[] = "true";
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessA(nullptr, line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr,
                               &process));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
    EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, process.dwProcessId), nullptr);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
}

TEST(Processes, AreNotStartedSuspended) {
    PROCESS_INFORMATION process{};
    constexpr DWORD suspended = 4;
    EXPECT_FALSE(CreateProcessA("/bin/sh", nullptr, nullptr, nullptr, FALSE, suspended, nullptr,
                                nullptr, nullptr, &process));
    EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);
}

} // namespace
