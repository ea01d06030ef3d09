#include "lang/sync_object.h"

#include "lang/class.h"
#include "lang/event.h"
#include "lang/exception.h"
#include "lang/gate.h"
#include "lang/mutex.h"
#include "lang/rw_lock.h"
#include "lang/semaphore.h"
#include "lang/worker.h"
#include "platform/win32.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

namespace core = zv::core;
using zv::test::isReady;
using zv::test::Worker;

// ---------------------------------------------------------------------------------------------
// Real locks keep one contract.

template <typename Lock>
class RealLock : public testing::Test {};
using RealLocks = testing::Types<CZvMutex, CZvRWLock>;
TYPED_TEST_SUITE(RealLock, RealLocks);

TYPED_TEST(RealLock, ExcludesOtherThreadsAndLetsItsOwnerInAgain) {
    TypeParam lock("a name", 1);
    Worker other;
    const auto otherGetsIn = [&] {
        return other.run([&] {
            const bool taken = lock.tryAcquire();
            if (taken)
                lock.release();
            return taken;
        });
    };
    EXPECT_TRUE(otherGetsIn());
    lock.acquire();
    EXPECT_TRUE(lock.tryAcquire());
    EXPECT_FALSE(otherGetsIn());
    lock.release();
    EXPECT_FALSE(otherGetsIn());
    auto waiting = other.start([&] { lock.acquire(); });
    EXPECT_FALSE(isReady(waiting));
    lock.release();
    waiting.get();
    EXPECT_FALSE(lock.tryAcquire());
    other.run([&] { lock.release(); });
    {
        const LockHold hold(lock);
        EXPECT_FALSE(otherGetsIn());
    }
    EXPECT_TRUE(otherGetsIn());
}

TYPED_TEST(RealLock, KeepsACounterOfManyThreadsRight) {
    TypeParam lock;
    int counter = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int n = 0; n < 2000; ++n) {
                    const LockHold hold(lock);
                    ++counter;
                }
            });
        }
    }
    EXPECT_EQ(counter, 8000);
}

TEST(FakeMutex, LetsEverybodyIn) {
    CZvFakeMutex mutex;
    mutex.acquire();
    Worker other;
    EXPECT_TRUE(other.run([&] { return mutex.tryAcquire(); }));
    mutex.release();
}

// ---------------------------------------------------------------------------------------------

TEST(Semaphore, CountsItsUnits) {
    const auto object = ZvRef<CZvObject>::share(CZvClass::forName(u"CZvSemaphore")->newInstance());
    auto& semaphore = dynamic_cast<CZvSemaphore&>(*object);
    EXPECT_FALSE(semaphore.tryAcquire());
    semaphore.release();
    EXPECT_TRUE(semaphore.tryAcquire());
    EXPECT_FALSE(semaphore.tryAcquire());

    CZvSemaphore full(core::kSemaphoreMaximum);
    try {
        full.release();
        FAIL();
    } catch (EZvResultException& exception) {
        EXPECT_EQ(exception.getResult(), core::kFail);
    }
    full.acquire();
    full.release();
    EXPECT_THROW(CZvSemaphore(-1), EZvResultException);

    Worker other;
    auto waiting = other.start([&] { semaphore.acquire(); });
    EXPECT_FALSE(isReady(waiting));
    semaphore.release();
    waiting.get();
}

TEST(Semaphore, IsSharedByNameWhenAsked) {
    const std::string name = "zvsupport test " + std::to_string(GetCurrentProcessId());
    CZvSemaphore first(1, name.c_str(), core::kSemaphoreShared);
    CZvSemaphore second(5, name.c_str(), core::kSemaphoreShared);
    CZvSemaphore apart(1, name.c_str(), 0);
    EXPECT_TRUE(second.tryAcquire());
    EXPECT_FALSE(first.tryAcquire());
    EXPECT_TRUE(apart.tryAcquire());
    second.release();
    EXPECT_TRUE(first.tryAcquire());
}

TEST(Gate, LetsThroughWhileItIsOpen) {
    CZvGate gate;
    EXPECT_FALSE(gate.waitFor(1));
    EXPECT_FALSE(gate.tryAcquire());
    Worker other;
    auto waiting = other.start([&] { gate.acquire(); });
    EXPECT_FALSE(isReady(waiting));
    gate.open();
    waiting.get();
    EXPECT_TRUE(gate.tryAcquire());
    EXPECT_TRUE(gate.waitFor(1));
    gate.close();
    EXPECT_FALSE(gate.waitFor(1));
}

TEST(Event, APulseReleasesThoseWhoWaitAndNobodyElse) {
    CZvEvent event;
    event.pulse();
    EXPECT_FALSE(event.waitFor(1));
    EXPECT_FALSE(event.tryAcquire());
    Worker first;
    Worker second;
    auto a = first.start([&] { event.acquire(); });
    auto b = second.start([&] { return event.waitFor(60000); });
    // Whoever has not begun to wait yet waits for the next pulse.
    zv::test::waitUntil([&] {
        event.pulse();
        return isReady(a) && isReady(b);
    });
    EXPECT_TRUE(b.get());
    EXPECT_FALSE(event.tryAcquire());
}

TEST(WaitAnswer, SortsTheCodes) {
    EXPECT_TRUE(waitAnswer(core::kOk));
    EXPECT_FALSE(waitAnswer(core::kTimeout));
    EXPECT_FALSE(waitAnswer(1));
    EXPECT_THROW(waitAnswer(core::kInvalidHandle), EZvResultException);
}

} // namespace
} // namespace ZVCL
