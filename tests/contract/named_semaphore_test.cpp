#include "platform/win32.h"
#include "support/scratch_folder.h"
#include "support/self_process.h"

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using zv::test::Arguments;
using zv::test::SelfProcess;

namespace {

constexpr DWORD kLong = 60'000; // only guards against hanging

class NamedSemaphoreTest : public testing::Test {
protected:
    NamedSemaphoreTest() {
        name = "zvtest." + std::to_string(GetCurrentProcessId()) + "." +
               testing::UnitTest::GetInstance()->current_test_info()->name();
    }

    HANDLE open(LONG initial, LONG maximum = 100) const {
        return CreateSemaphoreA(nullptr, initial, maximum, name.c_str());
    }
    // How many units are there; they are put back.
    static int count(HANDLE semaphore) {
        int units = 0;
        while (WaitForSingleObject(semaphore, 0) == WAIT_OBJECT_0)
            ++units;
        if (units > 0)
            ReleaseSemaphore(semaphore, units, nullptr);
        return units;
    }

    zv::test::ScratchFolder folder;
    std::string name;
};

// Another process does the steps of its second argument with the semaphore of its first, and tells
// by its answer how many of them failed: take, release, close and open again, tell and stay.
ZV_TEST_ROLE(semaphoreUser) {
    const auto opened = [&] { return CreateSemaphoreA(nullptr, 0, 100, arguments[0].c_str()); };
    HANDLE mine = opened();
    int failures = mine == nullptr;
    for (const char step : arguments[1]) {
        if (step == 't')
            failures += WaitForSingleObject(mine, kLong) != WAIT_OBJECT_0;
        else if (step == 'r')
            failures += !ReleaseSemaphore(mine, 1, nullptr);
        else if (step == 'c')
            failures += !CloseHandle(mine) || (mine = opened()) == nullptr;
        else {
            zv::test::writeFile("told", "x");
            Sleep(120'000);
        }
    }
    return failures;
}

void awaitTold() {
    while (zv::test::readFile("told").empty())
        Sleep(1);
}

TEST_F(NamedSemaphoreTest, TwoOpeningsInOneProcessAreOneSemaphore) {
    SetLastError(1);
    const HANDLE first = open(2, 3);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    const HANDLE second = open(50, 60);
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    ASSERT_NE(first, second);
    EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0);
    EXPECT_EQ(count(second), 1);
    EXPECT_TRUE(CloseHandle(first));
    EXPECT_EQ(count(second), 1); // the other handle still holds it
    EXPECT_TRUE(CloseHandle(second));
    const HANDLE afresh = open(5);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_EQ(count(afresh), 5);
    CloseHandle(afresh);
}

TEST_F(NamedSemaphoreTest, ReleasesAreLimitedAndTellTheFormerCount) {
    const HANDLE semaphore = open(1, 3);
    LONG before = -1;
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 2, &before));
    EXPECT_EQ(before, 1);
    EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, &before));
    EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_POSTS);
    EXPECT_EQ(count(semaphore), 3);
    CloseHandle(semaphore);
    EXPECT_EQ(open(4, 3), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(NamedSemaphoreTest, ANewCreationAfterTheLastHolderWasKilledStartsAfresh) {
    SelfProcess holder("semaphoreUser", {name, "rrrts"});
    awaitTold();
    const HANDLE joined = open(9);
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(count(joined), 2);
    CloseHandle(joined);
    holder.kill();
    const HANDLE semaphore = open(2);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_EQ(count(semaphore), 2);
    CloseHandle(semaphore);
}

TEST_F(NamedSemaphoreTest, AUnitStaysTakenWhenItsTakerClosesTheHandle) {
    const HANDLE semaphore = open(2);
    SelfProcess taker("semaphoreUser", {name, "tc"});
    EXPECT_EQ(taker.join(), 0);
    EXPECT_EQ(count(semaphore), 1);
    CloseHandle(semaphore);
}

// A queue's count: what a consumer took is consumed, however it ended.
TEST_F(NamedSemaphoreTest, UnitsOfACountAreNotGivenBack) {
    const HANDLE semaphore = open(0);
    EXPECT_EQ(SelfProcess("semaphoreUser", {name, "rrr"}).join(), 0);
    SelfProcess consumer("semaphoreUser", {name, "ts"});
    awaitTold();
    consumer.kill();
    EXPECT_EQ(count(semaphore), 2);
    EXPECT_EQ(SelfProcess("semaphoreUser", {name, "t"}).join(), 0);
    EXPECT_EQ(count(semaphore), 1);
    CloseHandle(semaphore);
}

ZV_TEST_ROLE(counter) {
    const HANDLE lock = CreateSemaphoreA(nullptr, 1, 100, arguments[0].c_str());
    for (int round = std::stoi(arguments[1]); round > 0; --round) {
        if (WaitForSingleObject(lock, kLong) != WAIT_OBJECT_0)
            return 1;
        int number = -1;
        std::ifstream("number") >> number;
        std::ofstream("number") << number + 1;
        if (!ReleaseSemaphore(lock, 1, nullptr))
            return 2;
    }
    return 0;
}

TEST_F(NamedSemaphoreTest, ALockOfFourProcessesExcludes) {
    constexpr int rounds = 300;
    zv::test::writeFile("number", "0");
    const HANDLE keeper = open(1);
    std::vector<std::unique_ptr<SelfProcess>> children;
    for (int i = 0; i < 4; ++i)
        children.push_back(
            std::make_unique<SelfProcess>("counter", Arguments{name, std::to_string(rounds)}));
    for (const auto& child : children)
        EXPECT_EQ(child->join(), 0);
    EXPECT_EQ(zv::test::readFile("number"), std::to_string(4 * rounds));
    CloseHandle(keeper);
}

TEST_F(NamedSemaphoreTest, NamesOfAnyKindStayApart) {
    const std::string base = name;
    const std::string names[] = {base + "/a",
                                 base + "%2fa",
                                 base + " a",
                                 base + "..",
                                 base + "\xE9",
                                 base + "\n1",
                                 base + "A",
                                 "Global\\" + base,
                                 base + std::string(150, 'n'),
                                 base + std::string(150, 'n') + "x"};
    std::vector<HANDLE> handles;
    for (std::size_t i = 0; i < std::size(names); ++i) {
        handles.push_back(CreateSemaphoreA(nullptr, static_cast<LONG>(i), 100, names[i].c_str()));
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS) << i;
    }
    for (std::size_t i = 0; i < std::size(names); ++i) {
        EXPECT_EQ(count(handles[i]), static_cast<int>(i));
        CloseHandle(handles[i]);
    }
    const HANDLE plain = open(3);
    const HANDLE local = CreateSemaphoreA(nullptr, 0, 100, ("Local\\" + base).c_str());
    EXPECT_EQ(count(local), 3);
    CloseHandle(plain);
    CloseHandle(local);
    for (const auto& [bad, error] : {std::pair{base + "\\a", ERROR_PATH_NOT_FOUND},
                                     {base + std::string(300, 'n'), ERROR_FILENAME_EXCED_RANGE}}) {
        EXPECT_EQ(CreateSemaphoreA(nullptr, 0, 1, bad.c_str()), nullptr);
        EXPECT_EQ(GetLastError(), error);
    }
}

} // namespace
