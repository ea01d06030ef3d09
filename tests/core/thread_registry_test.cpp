#include "lang/thread_registry.h"

#include "core/com/client_data.h"
#include "core/global_data.h"
#include "core/heap.h"

#include <new>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

void firstHandler() {}
void secondHandler() {}

TEST(ThreadRegistry, KnowsTheThreadThatBuiltItAndOthersOnDemand) {
    CZvThreadManager registry;
    const auto own = registry.find(GetCurrentThreadId());
    ASSERT_TRUE(own);
    EXPECT_EQ(own->allocFailureHandler, nullptr);
    std::thread([&] { EXPECT_FALSE(registry.find(GetCurrentThreadId())); }).join();
}

TEST(ThreadRegistry, ReplacesARecordAndLeavesTheOldOneToItsHolder) {
    CZvThreadManager registry;
    registry.registerThread(7, nullptr);
    const auto old = registry.find(7);
    old->allocFailureHandler = firstHandler;
    registry.registerThread(7, nullptr);
    EXPECT_EQ(registry.find(7)->allocFailureHandler, nullptr);
    EXPECT_EQ(old->allocFailureHandler, firstHandler);
}

TEST(SetAllocFailureHandler, AnswersTheHandlerBefore) {
    std::thread([] {
        EXPECT_EQ(SetAllocFailureHandler(firstHandler), nullptr);
        EXPECT_EQ(SetAllocFailureHandler(secondHandler), firstHandler);
        EXPECT_EQ(SetAllocFailureHandler(nullptr), secondHandler);
    }).join();
}

// ---------------------------------------------------------------------------------------------
// The allocation operator asks the registry.

bool refuse() {
    return false;
}

struct HandlerRan {};

TEST(AllocationOperator, CallsTheThreadsHandlerOnceAndThenThrows) {
    static int calls;
    calls = 0;
    std::thread([] {
        SetAllocFailureHandler([] { ++calls; });
        setHeapGate(refuse);
        std::string what;
        try {
            operator delete(operator new(16));
        } catch (const std::bad_alloc& exception) {
            what = exception.what();
        }
        setHeapGate(nullptr);
        EXPECT_EQ(what, "bad allocation");
        SetAllocFailureHandler(nullptr);
    }).join();
    EXPECT_EQ(calls, 1);
}

TEST(AllocationOperator, LetsWhatTheHandlerThrowsThrough) {
    std::thread([] {
        SetAllocFailureHandler([] { throw HandlerRan(); });
        setHeapGate(refuse);
        bool thrown = false;
        try {
            operator delete(operator new(16));
        } catch (const HandlerRan&) {
            thrown = true;
        }
        setHeapGate(nullptr);
        EXPECT_TRUE(thrown);
        SetAllocFailureHandler(nullptr);
    }).join();
}

} // namespace
} // namespace zv::core
