#include "platform/win32.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr DWORD kLong = 60'000; // only guards against hanging

HANDLE newEvent(BOOL manualReset, BOOL signalled) {
    return CreateEventA(nullptr, manualReset, signalled, nullptr);
}

// Threads that wait on an event; lets a test signal it until so many are through.
class Waiters {
public:
    Waiters(HANDLE event, int count) {
        for (int i = 0; i < count; ++i)
            threads.emplace_back([this, event] {
                if (WaitForSingleObject(event, kLong) == WAIT_OBJECT_0)
                    ++through;
            });
    }
    ~Waiters() {
        for (std::thread& thread : threads)
            thread.join();
    }
    // Nobody tells when a thread begins to wait, so the signal is repeated.
    template <typename Signal>
    bool release(int wanted, Signal signal) {
        for (int tries = 0; through < wanted && tries < 60'000; ++tries) {
            signal();
            Sleep(1);
        }
        return through == wanted;
    }
    std::atomic<int> through{0};

private:
    std::vector<std::thread> threads;
};

TEST(Event, APulseReleasesThoseWhoWaitAndNobodyLater) {
    const HANDLE event = newEvent(TRUE, FALSE);
    PulseEvent(event); // without a waiter: no effect
    EXPECT_EQ(WaitForSingleObject(event, 10), WAIT_TIMEOUT);
    {
        Waiters waiters(event, 4);
        EXPECT_TRUE(waiters.release(4, [&] { PulseEvent(event); }));
    }
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    SetEvent(event);
    PulseEvent(event); // leaves it not signalled
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    CloseHandle(event);
}

TEST(Event, WhoWaitedIsReleasedHoweverSoonTheEventIsReset) {
    const HANDLE event = newEvent(TRUE, FALSE);
    Waiters waiters(event, 4);
    EXPECT_TRUE(waiters.release(4, [&] {
        SetEvent(event);
        ResetEvent(event);
    }));
    CloseHandle(event);
}

TEST(Event, ManualResetStaysAndAutoResetGoesWithOneWaiter) {
    const HANDLE manual = newEvent(TRUE, TRUE);
    const HANDLE automatic = newEvent(FALSE, TRUE);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_TIMEOUT);
    ResetEvent(manual);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_TIMEOUT);
    {
        Waiters waiters(automatic, 3);
        for (int expected = 1; expected <= 3; ++expected) {
            SetEvent(automatic);
            EXPECT_TRUE(waiters.release(expected, [] {}));
        }
    }
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_TIMEOUT);
    CloseHandle(manual);
    CloseHandle(automatic);
}

TEST(Semaphore, CountsUpToItsMaximum) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 1, 3, nullptr);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore, 5), WAIT_TIMEOUT);
    LONG before = -1;
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 3, &before));
    EXPECT_EQ(before, 0);
    for (const LONG count : {1, 0x7FFFFFFF}) {
        EXPECT_FALSE(ReleaseSemaphore(semaphore, count, nullptr));
        EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_POSTS);
    }
    CloseHandle(semaphore);
    for (const auto& [initial, maximum] : {std::pair<LONG, LONG>{-1, 1}, {2, 1}, {0, 0}}) {
        EXPECT_EQ(CreateSemaphoreA(nullptr, initial, maximum, nullptr), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(Semaphore, HandsEveryUnitToOneThread) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 32767, nullptr);
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 500; ++round)
                taken += WaitForSingleObject(semaphore, kLong) == WAIT_OBJECT_0;
        });
    for (int unit = 0; unit < 1000; ++unit)
        ReleaseSemaphore(semaphore, 2, nullptr);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(taken, 2000);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_TIMEOUT);
    CloseHandle(semaphore);
}

TEST(CriticalSection, IsRecursiveAndExcludesOthers) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    const auto triedElsewhere = [&] {
        BOOL taken = TRUE;
        std::thread([&] {
            taken = TryEnterCriticalSection(&section);
            if (taken)
                LeaveCriticalSection(&section);
        }).join();
        return taken;
    };
    EXPECT_FALSE(triedElsewhere());
    LeaveCriticalSection(&section);
    EXPECT_FALSE(triedElsewhere()); // one level is left
    LeaveCriticalSection(&section);
    EXPECT_TRUE(triedElsewhere());
    DeleteCriticalSection(&section);
}

TEST(Handles, UnknownValuesAreError6Everywhere) {
    const HANDLE closed = newEvent(TRUE, FALSE);
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    CloseHandle(closed);
    const auto asHandle = [](std::intptr_t value) { return reinterpret_cast<HANDLE>(value); };
    const HANDLE values[] = {nullptr, asHandle(1), closed, asHandle(0x7FFFFFFC)};
    DWORD moved = 0;
    for (const HANDLE value : values) {
        const bool refused[] = {!CloseHandle(value),
                                !SetEvent(value),
                                !ResetEvent(value),
                                !PulseEvent(value),
                                !FlushFileBuffers(value),
                                !ReleaseSemaphore(value, 1, nullptr),
                                !ReadFile(value, &moved, 1, &moved, nullptr),
                                !WriteFile(value, &moved, 1, &moved, nullptr),
                                WaitForSingleObject(value, 0) == WAIT_FAILED,
                                SetFilePointer(value, 0, nullptr, FILE_BEGIN) == 0xFFFFFFFF};
        for (std::size_t i = 0; i < std::size(refused); ++i)
            EXPECT_TRUE(refused[i]) << value << " call " << i;
        SetLastError(0);
        CloseHandle(value);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    }
    EXPECT_FALSE(SetEvent(semaphore)); // a handle of another kind
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(CloseHandle(semaphore));
}

} // namespace
