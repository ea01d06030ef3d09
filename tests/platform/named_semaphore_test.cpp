#include "platform/posix/named_semaphore.h"

#include "platform/child_process.h"
#include "platform/win32.h"

#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

using zv::test::Child;

namespace {

constexpr DWORD kLong = 60'000; // only guards against hanging

class NamedSemaphoreTest : public testing::Test {
protected:
    NamedSemaphoreTest() {
        name = "zvtest." + std::to_string(getpid()) + "." +
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
    std::string statePath() const {
        return "/dev/shm/zvsupport-" + std::to_string(geteuid()) + "-" + name;
    }
    bool hasState() const { return access(statePath().c_str(), F_OK) == 0; }

    std::string name;
};

TEST_F(NamedSemaphoreTest, TheUnitOfAKilledHolderComesBack) {
    const HANDLE lock = open(1);
    Child holder([&](Child& self) {
        if (WaitForSingleObject(open(1), 0) == WAIT_OBJECT_0)
            self.tellAndStay();
        return 1;
    });
    holder.awaitTold();
    EXPECT_EQ(WaitForSingleObject(lock, 0), WAIT_TIMEOUT);
    Child waiter([&](Child& self) {
        const HANDLE mine = open(1);
        self.tell();
        return WaitForSingleObject(mine, kLong) == WAIT_OBJECT_0 &&
                       ReleaseSemaphore(mine, 1, nullptr)
                   ? 0
                   : 1;
    });
    waiter.awaitTold();
    EXPECT_EQ(WaitForSingleObject(lock, 30), WAIT_TIMEOUT);
    holder.kill();
    EXPECT_EQ(waiter.join(), 0);
    EXPECT_EQ(WaitForSingleObject(lock, kLong), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(lock, 0), WAIT_TIMEOUT); // once, not twice
    ReleaseSemaphore(lock, 1, nullptr);
    CloseHandle(lock);
}

TEST_F(NamedSemaphoreTest, AnUnloadedLibraryGivesItsUnitsBackAndItsHandlesAreNone) {
    const HANDLE semaphore = open(1);
    Child unloading([&](Child&) {
        const HANDLE mine = open(1);
        if (WaitForSingleObject(mine, 0) != WAIT_OBJECT_0)
            return 1;
        zv::platform::posix::abandonNamedSemaphores();
        const bool refused =
            WaitForSingleObject(mine, 0) == WAIT_FAILED && GetLastError() == ERROR_INVALID_HANDLE;
        return refused && CloseHandle(mine) ? 0 : 2;
    });
    EXPECT_EQ(unloading.join(), 0);
    EXPECT_EQ(WaitForSingleObject(semaphore, kLong), WAIT_OBJECT_0);
    CloseHandle(semaphore);
    EXPECT_FALSE(hasState());
}

TEST_F(NamedSemaphoreTest, AForkedChildHoldsAnOpeningOfItsOwn) {
    const HANDLE inherited = open(1);
    Child holder([&](Child& self) {
        if (WaitForSingleObject(inherited, 0) == WAIT_OBJECT_0)
            self.tellAndStay();
        return 1;
    });
    holder.awaitTold();
    EXPECT_EQ(WaitForSingleObject(inherited, 0), WAIT_TIMEOUT);
    holder.kill();
    EXPECT_EQ(WaitForSingleObject(inherited, kLong), WAIT_OBJECT_0);
    // A child that never touches the semaphore keeps nothing of it alive.
    Child bystander([&](Child& self) {
        self.tellAndStay();
        return 0;
    });
    bystander.awaitTold();
    CloseHandle(inherited);
    const HANDLE afresh = open(7);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_EQ(count(afresh), 7);
    CloseHandle(afresh);
}

TEST_F(NamedSemaphoreTest, ClosingWhileAThreadWaitsLeavesItWaiting) {
    const HANDLE waited = open(0);
    DWORD answer = WAIT_FAILED;
    std::thread waiter([&] { answer = WaitForSingleObject(waited, kLong); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const HANDLE other = open(0);
    CloseHandle(waited);
    EXPECT_TRUE(ReleaseSemaphore(other, 1, nullptr));
    waiter.join();
    // The thread may have come only after its handle was closed.
    EXPECT_TRUE(answer == WAIT_OBJECT_0 || answer == WAIT_FAILED);
    CloseHandle(other);
    EXPECT_FALSE(hasState());
}

TEST_F(NamedSemaphoreTest, KillsAtAnyMomentLeaveOneUnit) {
    std::mt19937 random(1);
    const HANDLE lock = open(1);
    for (int round = 0; round < 40; ++round) {
        std::vector<std::unique_ptr<Child>> children;
        for (int i = 0; i < 3; ++i)
            children.push_back(std::make_unique<Child>([&](Child& self) {
                self.tell();
                for (;;) {
                    const HANDLE mine = open(1);
                    if (WaitForSingleObject(mine, kLong) == WAIT_OBJECT_0)
                        ReleaseSemaphore(mine, 1, nullptr);
                    CloseHandle(mine);
                }
                return 0;
            }));
        for (const auto& child : children)
            child->awaitTold();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        children.clear(); // kills them
        ASSERT_EQ(WaitForSingleObject(lock, kLong), WAIT_OBJECT_0);
        ASSERT_EQ(WaitForSingleObject(lock, 0), WAIT_TIMEOUT);
        ASSERT_TRUE(ReleaseSemaphore(lock, 1, nullptr));
    }
    CloseHandle(lock);
    EXPECT_FALSE(hasState());
}

// Creation and the end of the last holder race; no process may be left alone with a semaphore that
// the others do not see.
TEST_F(NamedSemaphoreTest, ProcessesThatComeAndGoMeetInOneSemaphore) {
    const std::string path = testing::TempDir() + name;
    std::ofstream(path) << 0;
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < 4; ++i)
        children.push_back(std::make_unique<Child>([&](Child&) {
            for (int round = 0; round < 150; ++round) {
                const HANDLE lock = open(1);
                if (WaitForSingleObject(lock, kLong) != WAIT_OBJECT_0)
                    return 1;
                int number = -1;
                std::ifstream(path) >> number;
                std::ofstream(path) << number + 1;
                ReleaseSemaphore(lock, 1, nullptr);
                CloseHandle(lock);
            }
            return 0;
        }));
    for (const auto& child : children)
        EXPECT_EQ(child->join(), 0);
    int number = -1;
    std::ifstream(path) >> number;
    EXPECT_EQ(number, 4 * 150);
    EXPECT_FALSE(hasState());
    unlink(path.c_str());
}

TEST_F(NamedSemaphoreTest, ADamagedStateIsStartedAfreshWhenNobodyHoldsIt) {
    for (const std::string& bytes : {std::string(), std::string("torn"), std::string(9000, 'x')}) {
        std::ofstream(statePath()) << bytes;
        const HANDLE semaphore = open(4);
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
        EXPECT_EQ(count(semaphore), 4);
        struct stat status {};
        stat(statePath().c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777, 0600U);
        CloseHandle(semaphore);
    }
}

TEST_F(NamedSemaphoreTest, RefusesWhatItCannotTrustOrStore) {
    const std::string victim = testing::TempDir() + name;
    std::ofstream(victim) << "precious";
    ASSERT_EQ(symlink(victim.c_str(), statePath().c_str()), 0);
    EXPECT_EQ(open(1), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    std::string text;
    std::ifstream(victim) >> text;
    EXPECT_EQ(text, "precious");
    unlink(statePath().c_str());
    unlink(victim.c_str());

    // Every slot is taken.
    const int foreign = ::open(statePath().c_str(), O_RDWR | O_CREAT, 0600);
    struct flock all {};
    all.l_type = F_WRLCK;
    all.l_start = 64;
    ASSERT_EQ(fcntl(foreign, F_OFD_SETLK, &all), 0);
    EXPECT_EQ(open(1), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_OPEN_FILES);
    EXPECT_FALSE(hasState());
    close(foreign);

    // No room for the state.
    Child limited([&](Child&) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100, 100};
        setrlimit(RLIMIT_FSIZE, &limit);
        SetLastError(0);
        return open(1) == nullptr && GetLastError() != 0 && !hasState() ? 0 : 1;
    });
    EXPECT_EQ(limited.join(), 0);
    const HANDLE semaphore = open(1);
    EXPECT_EQ(count(semaphore), 1);
    CloseHandle(semaphore);
}

} // namespace
