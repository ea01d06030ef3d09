#include "lang/rw_lock.h"

#include "core/heap.h"
#include "lang/exception.h"
#include "lang/worker.h"

#include <array>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

namespace core = zv::core;
using zv::test::isReady;
using zv::test::waitUntil;
using zv::test::Worker;

class RWLock : public testing::Test {
protected:
    ~RWLock() override {
        // Whatever the test did, the lock is free again: any thread gets it either way.
        EXPECT_TRUE(exclusiveFor(probe));
        EXPECT_TRUE(sharedFor(probe));
    }

    bool exclusiveFor(Worker& thread) {
        return thread.run([this] {
            const bool taken = lock.tryAcquire();
            if (taken)
                lock.release();
            return taken;
        });
    }
    bool sharedFor(Worker& thread) {
        return thread.run([this] {
            const bool taken = lock.tryAcquireShared();
            if (taken)
                lock.releaseShared();
            return taken;
        });
    }
    // Starts acquire in that thread and waits until it keeps new readers out.
    std::future<void> beginAcquire(Worker& thread) {
        auto done = thread.start([this] { lock.acquire(); });
        waitUntil([&] { return !sharedFor(probe); });
        return done;
    }
    void acquire(Worker& thread) {
        thread.run([this] { lock.acquire(); });
    }
    void release(Worker& thread) {
        thread.run([this] { lock.release(); });
    }
    void share(Worker& thread) {
        thread.run([this] { lock.acquireShared(); });
    }
    void unshare(Worker& thread) {
        thread.run([this] { lock.releaseShared(); });
    }

    CZvRWLock lock{"a lock"};
    Worker a, b, c, d, probe;
};

TEST_F(RWLock, AWaitingWriterGoesBeforeNewReadersButNotBeforeOldOnes) {
    share(a);
    share(b);
    auto writer = beginAcquire(c);
    std::string order;
    auto reader = d.start([&] {
        lock.acquireShared();
        order += 'd';
        lock.releaseShared();
    });
    share(a); // at once, though the writer waits
    unshare(a);
    unshare(b);
    EXPECT_FALSE(isReady(writer));
    EXPECT_FALSE(isReady(reader));
    unshare(a);
    writer.get();
    EXPECT_FALSE(isReady(reader));
    c.run([&] { order += 'c'; });
    release(c);
    reader.get();
    EXPECT_EQ(order, "cd");
}

TEST_F(RWLock, TheOnlyReaderMayBecomeWriter) {
    share(a);
    share(a);
    acquire(a);
    acquire(a);
    EXPECT_FALSE(sharedFor(b));
    share(a);
    release(a);
    EXPECT_FALSE(sharedFor(b));
    release(a);
    EXPECT_TRUE(sharedFor(b)); // three shared holds are left
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(exclusiveFor(b));
        unshare(a);
    }
    EXPECT_TRUE(exclusiveFor(b));
}

// A reader that waited for the others before it became writer has shared holds again afterwards:
// the gate that let it through must not let the next writer through.
TEST_F(RWLock, AWriterThatIsAReaderAgainKeepsTheNextWriterOut) {
    share(a);
    share(b);
    auto upgrade = beginAcquire(a);
    EXPECT_FALSE(isReady(upgrade));
    unshare(b);
    upgrade.get();
    release(a);
    EXPECT_FALSE(exclusiveFor(c));
    std::atomic<bool> entered{false};
    auto writer = c.start([&] {
        lock.acquire();
        entered = true;
    });
    waitUntil([&] { return !sharedFor(probe); });
    for (int i = 0; i < 1000; ++i) {
        ASSERT_FALSE(entered);
        std::this_thread::yield();
    }
    unshare(a);
    writer.get();
    release(c);
}

TEST_F(RWLock, AWriterMayGiveBackTheHoldsItCameWith) {
    share(a);
    acquire(a);
    unshare(a);
    EXPECT_THROW(unshare(a), EZvResultException);
    release(a);
    EXPECT_THROW(unshare(a), EZvResultException);
    EXPECT_TRUE(exclusiveFor(b));
}

TEST_F(RWLock, AWritersNewSharedHoldsOutliveIt) {
    acquire(a);
    share(a);
    EXPECT_TRUE(a.run([&] { return lock.tryAcquireShared(); }));
    release(a);
    EXPECT_TRUE(sharedFor(b));
    EXPECT_FALSE(exclusiveFor(b));
    unshare(a);
    EXPECT_FALSE(exclusiveFor(b));
    unshare(a);
    EXPECT_TRUE(exclusiveFor(b));
}

TEST_F(RWLock, ARefusedTryLeavesEverythingAsItWas) {
    share(a);
    share(b);
    EXPECT_FALSE(exclusiveFor(a)); // b reads
    EXPECT_FALSE(exclusiveFor(c));
    EXPECT_TRUE(sharedFor(c));
    unshare(b);
    EXPECT_FALSE(exclusiveFor(c)); // a reads, whatever it has tried
    EXPECT_TRUE(exclusiveFor(a));
    EXPECT_FALSE(exclusiveFor(c));
    unshare(a);
    acquire(a);
    EXPECT_FALSE(sharedFor(b));
    EXPECT_FALSE(exclusiveFor(b));
    release(a);
}

TEST_F(RWLock, RefusesToReleaseWhatTheThreadDoesNotHold) {
    const auto code = [&](Worker& thread, void (CZvRWLock::*operation)()) {
        return thread.run([&] {
            return resultFrame([&] {
                (lock.*operation)();
                return core::kOk;
            });
        });
    };
    EXPECT_EQ(code(a, &CZvRWLock::releaseShared), core::kFail);
    EXPECT_EQ(code(a, &CZvRWLock::release), core::kFail);
    share(a);
    EXPECT_EQ(code(a, &CZvRWLock::release), core::kFail);
    EXPECT_EQ(code(b, &CZvRWLock::releaseShared), core::kFail);
    acquire(a);
    share(a);
    // The holds of one thread are not for another to give back.
    EXPECT_EQ(code(b, &CZvRWLock::releaseShared), core::kFail);
    EXPECT_EQ(code(b, &CZvRWLock::release), core::kFail);
    EXPECT_FALSE(sharedFor(b));
    unshare(a);
    unshare(a);
    EXPECT_EQ(code(a, &CZvRWLock::releaseShared), core::kFail);
    release(a);
}

TEST_F(RWLock, TheTableOfReadersGrows) {
    std::array<Worker, 20> readers;
    for (Worker& reader : readers) {
        share(reader);
        share(reader);
    }
    auto writer = beginAcquire(a);
    for (Worker& reader : readers) {
        EXPECT_FALSE(isReady(writer));
        unshare(reader);
        unshare(reader);
    }
    writer.get();
    release(a);
}

TEST_F(RWLock, AFailedEntryLeavesNoTrace) {
    std::array<Worker, 8> readers;
    for (Worker& reader : readers)
        share(reader);
    probe.run([&] {
        core::setHeapGate([] { return false; }); // the ninth reader needs a larger table
        const ResultCode code = resultFrame([&] {
            lock.acquireShared();
            return core::kOk;
        });
        core::setHeapGate(nullptr);
        EXPECT_EQ(code, core::kOutOfMemory);
        EXPECT_THROW(lock.releaseShared(), EZvResultException);
    });
    for (Worker& reader : readers)
        unshare(reader);
}

TEST(RWLockHandle, AnswersDepthsAndCodes) {
    core::Handle lock = 0;
    ASSERT_EQ(core::RWLockCreate(nullptr, 7, lock), core::kOk);
    EXPECT_EQ(core::RWLockLock(lock), 1);
    EXPECT_EQ(core::RWLockLock(lock), 2);
    EXPECT_EQ(core::RWLockTryLock(lock), core::kOk);
    EXPECT_EQ(core::RWLockLock(lock), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(core::RWLockUnlock(lock), core::kOk);
    EXPECT_EQ(core::RWLockUnlock(lock), core::kFail);
    EXPECT_EQ(core::RWLockUnlockShared(lock), core::kFail);
    EXPECT_EQ(core::RWLockTryLockShared(lock), core::kOk);
    EXPECT_EQ(core::RWLockUnlockShared(lock), core::kOk);
    EXPECT_EQ(core::RWLockDestroy(lock), core::kOk);
    for (const core::Handle none : {core::kNoHandle, core::Handle{0}}) {
        EXPECT_EQ(core::RWLockLock(none), core::kInvalidHandle);
        EXPECT_EQ(core::RWLockLockShared(none), core::kInvalidHandle);
        EXPECT_EQ(core::RWLockDestroy(none), core::kInvalidHandle);
    }
    core::setHeapGate([] { return false; });
    const ResultCode code = core::RWLockCreate("x", 0, lock);
    core::setHeapGate(nullptr);
    EXPECT_EQ(code, core::kOutOfMemory);
    EXPECT_EQ(lock, core::kNoHandle);
}

// Threads take the lock in every way, nested and upgraded, and look at what it guards: a writer's
// two halves are never seen apart, and nobody is inside with a writer.
TEST(RWLockRandom, KeepsReadersAndWritersApart) {
    CZvRWLock lock;
    int left = 0; // changed together, by writers alone; plain, so that the sanitizer sees a race
    int right = 0;
    const auto write = [&] {
        ++left;
        std::this_thread::yield();
        ++right;
    };
    std::atomic<int> writes{0};
    {
        std::vector<std::jthread> threads;
        for (unsigned seed = 1; seed <= 4; ++seed) {
            threads.emplace_back([&, seed] {
                std::mt19937 random(seed);
                for (int i = 0; i < 1500; ++i) {
                    switch (random() % 6) {
                    case 0: // a writer that stays on as a reader
                        lock.acquire();
                        lock.acquireShared();
                        write();
                        ++writes;
                        lock.release();
                        ASSERT_EQ(left, right);
                        lock.releaseShared();
                        break;
                    case 1: // a reader that becomes a writer where it can
                        lock.acquireShared();
                        ASSERT_EQ(left, right);
                        if (lock.tryAcquire()) {
                            write();
                            ++writes;
                            lock.release();
                        }
                        ASSERT_EQ(left, right);
                        lock.releaseShared();
                        break;
                    case 2:
                        lock.acquire();
                        lock.acquire();
                        write();
                        ++writes;
                        lock.release();
                        ASSERT_EQ(left, right);
                        lock.release();
                        break;
                    case 3:
                        if (!lock.tryAcquireShared())
                            break;
                        ASSERT_EQ(left, right);
                        lock.releaseShared();
                        break;
                    default:
                        lock.acquireShared();
                        lock.acquireShared();
                        ASSERT_EQ(left, right);
                        lock.releaseShared();
                        std::this_thread::yield();
                        ASSERT_EQ(left, right);
                        lock.releaseShared();
                    }
                }
            });
        }
    }
    EXPECT_EQ(left, writes);
    EXPECT_EQ(right, writes);
    EXPECT_TRUE(lock.tryAcquire());
    lock.release();
}

} // namespace
} // namespace ZVCL
