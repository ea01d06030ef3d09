#include "core/sync.h"

#include "platform/win32.h"
#include "support/self_process.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

// A name that no other test program of this machine uses.
std::string uniqueName(const char* subject) {
    return std::string("zvtest-") + subject + "-" + std::to_string(GetCurrentProcessId());
}

TEST(Semaphore, CountsUnits) {
    Handle handle = 0;
    ASSERT_EQ(SemaphoreCreate(1, nullptr, 0, handle), kOk);
    const UniqueSync semaphore(handle);
    EXPECT_EQ(SemaphoreTryWait(handle), kOk);
    EXPECT_EQ(SemaphoreTryWait(handle), kFail);
    EXPECT_EQ(SemaphoreRelease(handle), kOk);
    EXPECT_EQ(SemaphoreWait(handle), kOk);
    EXPECT_EQ(SemaphoreTryWait(handle), kFail);
}

TEST(Semaphore, RefusesAUnitBeyondTheMaximumAndAWrongCount) {
    Handle handle = 0;
    ASSERT_EQ(SemaphoreCreate(kSemaphoreMaximum, "full", 0, handle), kOk);
    const UniqueSync semaphore(handle);
    EXPECT_EQ(SemaphoreRelease(handle), kFail);
    EXPECT_EQ(SemaphoreWait(handle), kOk);
    EXPECT_EQ(SemaphoreRelease(handle), kOk);

    Handle none = 0;
    EXPECT_EQ(SemaphoreCreate(-1, nullptr, 0, none), kFail);
    EXPECT_EQ(none, kNoHandle);
}

TEST(Semaphore, IsSharedByNameOnlyWhenItIsCreatedThatWay) {
    const std::string name = uniqueName("shared");
    Handle first = 0;
    Handle second = 0;
    Handle apart = 0;
    ASSERT_EQ(createNamedSemaphore(name.c_str(), 1, first), kOk);
    const UniqueSync closeFirst(first);
    // The second creation's count has no effect.
    ASSERT_EQ(SemaphoreCreate(5, name.c_str(), kSemaphoreShared, second), kOk);
    const UniqueSync closeSecond(second);
    ASSERT_EQ(SemaphoreCreate(5, name.c_str(), 0, apart), kOk);
    const UniqueSync closeApart(apart);

    EXPECT_EQ(SemaphoreTryWait(second), kOk);
    EXPECT_EQ(SemaphoreTryWait(first), kFail);
    EXPECT_EQ(SemaphoreTryWait(apart), kOk);
    EXPECT_EQ(SemaphoreRelease(first), kOk);
    EXPECT_EQ(SemaphoreTryWait(second), kOk);
    EXPECT_EQ(SemaphoreRelease(second), kOk);
}

// The name and what is to be done with it.
ZV_TEST_ROLE(semaphore_user) {
    Handle handle = kNoHandle;
    if (createNamedSemaphore(arguments.at(0).c_str(), 7, handle) != kOk)
        return 1;
    const UniqueSync semaphore(handle);
    // Another process's units are there and no more; one is taken, one given back.
    return SemaphoreTryWait(handle) == kOk && SemaphoreTryWait(handle) == kFail &&
                   SemaphoreRelease(handle) == kOk
               ? 0
               : 2;
}

TEST(Semaphore, IsSharedWithAnotherProcess) {
    const std::string name = uniqueName("processes");
    Handle handle = 0;
    ASSERT_EQ(createNamedSemaphore(name.c_str(), 1, handle), kOk);
    const UniqueSync semaphore(handle);
    EXPECT_EQ(test::SelfProcess("semaphore_user", {name}).join(), 0);
    EXPECT_EQ(SemaphoreTryWait(handle), kOk);
    EXPECT_EQ(SemaphoreTryWait(handle), kFail);
    // A waiting process goes on when this one releases.
    test::SelfProcess waiting("semaphore_waiter", {name});
    EXPECT_EQ(SemaphoreRelease(handle), kOk);
    EXPECT_EQ(waiting.join(), 0);
    EXPECT_EQ(SemaphoreTryWait(handle), kFail);
    EXPECT_EQ(SemaphoreRelease(handle), kOk);
}

ZV_TEST_ROLE(semaphore_waiter) {
    Handle handle = kNoHandle;
    if (createNamedSemaphore(arguments.at(0).c_str(), 7, handle) != kOk)
        return 1;
    const UniqueSync semaphore(handle);
    return SemaphoreWait(handle) == kOk ? 0 : 2;
}

TEST(Semaphore, StartsAfreshWhenItsLastHolderIsGone) {
    const std::string name = uniqueName("afresh");
    for (int round = 0; round < 2; ++round) {
        Handle handle = 0;
        ASSERT_EQ(createNamedSemaphore(name.c_str(), 1, handle), kOk);
        EXPECT_EQ(SemaphoreTryWait(handle), kOk) << round;
        EXPECT_EQ(SyncClose(handle), kOk);
    }
}

TEST(Gate, LetsThroughWhileItIsOpen) {
    Handle gate = 0;
    ASSERT_EQ(GateCreate("gate", 0, gate), kOk);
    const UniqueSync close(gate);
    EXPECT_EQ(GateTryWait(gate), kFail);
    EXPECT_EQ(GateWaitFor(gate, 5), kTimeout);
    EXPECT_EQ(GateOpen(gate), kOk);
    EXPECT_EQ(GateWait(gate), kOk);
    EXPECT_EQ(GateTryWait(gate), kOk);
    EXPECT_EQ(GateWaitFor(gate, 5), kOk);
    EXPECT_EQ(GateClose(gate), kOk);
    EXPECT_EQ(GateTryWait(gate), kFail);
}

TEST(Event, PulseReleasesTheWaitersOfTheMomentAndNobodyElse) {
    Handle event = 0;
    ASSERT_EQ(EventCreate("event", 0, event), kOk);
    const UniqueSync close(event);
    EXPECT_EQ(EventPulse(event), kOk);
    EXPECT_EQ(EventTryWait(event), kFail);
    EXPECT_EQ(EventWaitFor(event, 5), kTimeout);

    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] {
            EXPECT_EQ(EventWait(event), kOk);
            ++released;
        });
    }
    while (released < 4) { // a waiter may not have begun to wait yet
        EventPulse(event);
        std::this_thread::yield();
    }
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(EventTryWait(event), kFail);
}

TEST(SyncHandles, RefuseWhatIsNone) {
    EXPECT_EQ(SemaphoreWait(kNoHandle), kInvalidHandle);
    EXPECT_EQ(EventPulse(kNoHandle), kInvalidHandle);
    EXPECT_EQ(SyncClose(kNoHandle), kInvalidHandle);
}

} // namespace
} // namespace zv::core
