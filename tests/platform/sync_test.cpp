#include "platform/posix/handles.h"
#include "platform/win32.h"

#include <cstdint>
#include <thread>

#include <gtest/gtest.h>

namespace {

HANDLE newEvent(BOOL manualReset, BOOL signalled) {
    return CreateEventA(nullptr, manualReset, signalled, nullptr);
}

// Values that stand for something else on the product's own platform, or are never asked there.
TEST(Handles, PseudoHandlesAreNone) {
    const auto asHandle = [](std::intptr_t value) { return reinterpret_cast<HANDLE>(value); };
    for (const HANDLE value : {INVALID_HANDLE_VALUE, asHandle(-2), asHandle(INTPTR_MIN)}) {
        SetLastError(0);
        EXPECT_FALSE(CloseHandle(value));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(WaitForSingleObject(value, 0), WAIT_FAILED);
        EXPECT_FALSE(FindClose(value));
    }
}

TEST(Semaphore, TakesNoCountBelowOne) {
    for (const char* name : {static_cast<const char*>(nullptr), "zvtest.belowone"}) {
        const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, name);
        for (const LONG count : {0, -1}) {
            EXPECT_FALSE(ReleaseSemaphore(semaphore, count, nullptr));
            EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
        }
        CloseHandle(semaphore);
    }
}

TEST(Handles, AWaitOutlivesItsHandleAndTheTableIsReleased) {
    const HANDLE event = newEvent(TRUE, FALSE);
    const auto object = zv::platform::posix::objectOf(event);
    std::thread waiter([&] { EXPECT_EQ(object->wait(20), WAIT_TIMEOUT); });
    CloseHandle(event);
    waiter.join();
    const HANDLE left = newEvent(TRUE, TRUE);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(left) % 4, 0U);
    zv::platform::posix::releaseHandles();
    EXPECT_EQ(WaitForSingleObject(left, 0), WAIT_FAILED);
    const HANDLE next = newEvent(TRUE, TRUE); // the table is made anew
    EXPECT_EQ(WaitForSingleObject(next, 0), WAIT_OBJECT_0);
    CloseHandle(next);
}

} // namespace
