#include "core/mutex.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

// Both kinds keep one contract, whatever kind the process's provider hands out.
template <typename Provider>
class MutexContract : public testing::Test {
protected:
    static CoreRef<IMutex> make(std::uint32_t flags = 0) {
        const auto provider = makeCoreRef<Provider>();
        IMutex* mutex = nullptr;
        EXPECT_EQ(provider->createMutex("test", flags, mutex), kOk);
        return CoreRef<IMutex>::adopt(mutex);
    }

    // What another thread's tryLock answers; it gives back what it got.
    static ResultCode tryElsewhere(IMutex& mutex) {
        ResultCode answer = kOk;
        std::thread([&] {
            answer = mutex.tryLock();
            if (answer == kOk)
                mutex.unlock();
        }).join();
        return answer;
    }
};

using Providers = testing::Types<CCriticalSectionProvider, CZvMutexProvider>;
TYPED_TEST_SUITE(MutexContract, Providers);

TYPED_TEST(MutexContract, OwnerLocksAgainAndGivesBackEachLevel) {
    const auto mutex = this->make();
    EXPECT_EQ(mutex->lock(), kOk);
    EXPECT_EQ(mutex->tryLock(), kOk);
    EXPECT_EQ(mutex->lock(), kOk);
    for (int level = 0; level < 3; ++level) {
        EXPECT_EQ(this->tryElsewhere(*mutex), kFail) << level;
        EXPECT_EQ(mutex->unlock(), kOk);
    }
    EXPECT_EQ(this->tryElsewhere(*mutex), kOk);
}

TYPED_TEST(MutexContract, KeepsBitZeroOfTheFlags) {
    EXPECT_FALSE(this->make(0)->getFlag());
    EXPECT_TRUE(this->make(1)->getFlag());
    EXPECT_FALSE(this->make(2)->getFlag());
    EXPECT_TRUE(this->make(3)->getFlag());
}

TYPED_TEST(MutexContract, AdmitsOneThreadAtATime) {
    const auto mutex = this->make();
    std::int32_t plain = 0; // the mutex alone protects it
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 3000; ++round) {
                const bool again = (round + i) % 3 == 0;
                mutex->lock();
                if (again)
                    mutex->lock();
                ++plain;
                if (again)
                    mutex->unlock();
                mutex->unlock();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(plain, 4 * 3000);
    EXPECT_EQ(mutex->tryLock(), kOk);
    EXPECT_EQ(mutex->unlock(), kOk);
}

TYPED_TEST(MutexContract, HandsOverToABlockedThread) {
    const auto mutex = this->make();
    std::atomic<bool> held{false};
    mutex->lock();
    std::thread waiter([&] {
        mutex->lock();
        held = true;
        mutex->unlock();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(5)); // long enough to block, mostly
    EXPECT_FALSE(held);
    mutex->unlock();
    waiter.join();
    EXPECT_TRUE(held);
}

TEST(CZvMutex, CountsLevelsAndIsFreeAgain) {
    const auto mutex = makeCoreRef<CZvMutex>("test", 0);
    const CZvCoreMutexImpl& impl = mutex->implementation();
    EXPECT_EQ(impl.getLockCount(), -1);
    for (int level = 0; level < 3; ++level) {
        mutex->lock();
        EXPECT_EQ(impl.getLockCount(), level);
    }
    EXPECT_EQ(impl.getOwner(), GetCurrentThreadId());
    for (int level = 0; level < 3; ++level)
        mutex->unlock();
    EXPECT_EQ(impl.getLockCount(), -1);
    EXPECT_EQ(impl.getOwner(), 0u);
}

TEST(CZvMutex, RefusesAnUnlockByAThreadThatDoesNotOwnIt) {
    const auto mutex = makeCoreRef<CZvMutex>("test", 0);
    EXPECT_EQ(mutex->unlock(), kFail);
    mutex->lock();
    std::thread([&] { EXPECT_EQ(mutex->unlock(), kFail); }).join();
    EXPECT_EQ(mutex->implementation().getOwner(), GetCurrentThreadId());
    EXPECT_EQ(mutex->unlock(), kOk);
}

TEST(MutexHandles, CountReferencesAndRefuseWhatIsNone) {
    Handle mutex = 0;
    ASSERT_EQ(MutexCreate(nullptr, 0, mutex), kOk);
    EXPECT_EQ(MutexLock(mutex), kOk);
    EXPECT_EQ(MutexTryLock(mutex), kOk);
    EXPECT_EQ(MutexUnlock(mutex), kOk);
    EXPECT_EQ(MutexUnlock(mutex), kOk);
    EXPECT_EQ(MutexDestroy(mutex), 0);
    EXPECT_EQ(MutexLock(kNoHandle), kInvalidHandle);
    EXPECT_EQ(MutexDestroy(kNoHandle), kInvalidHandle);
}

} // namespace
} // namespace zv::core
