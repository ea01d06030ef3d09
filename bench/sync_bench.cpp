// Uncontended locking beside the standard library's locks.
#include "core/lifecycle.h"
#include "core/mutex.h"
#include "lang/rw_lock.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <shared_mutex>

namespace {

using namespace zv::core;

void recursiveMutex(benchmark::State& state) {
    std::recursive_mutex mutex;
    for (auto unused : state) {
        mutex.lock();
        mutex.unlock();
    }
}

template <typename Provider>
void coreMutex(benchmark::State& state) {
    Provider* provider = makeCoreRef<Provider>().detach();
    IMutex* mutex = nullptr;
    provider->createMutex("bench", 0, mutex);
    for (auto unused : state) {
        mutex->lock();
        mutex->unlock();
    }
    mutex->dropReference();
    provider->dropReference();
}

void sharedMutexShared(benchmark::State& state) {
    std::shared_mutex mutex;
    for (auto unused : state) {
        mutex.lock_shared();
        mutex.unlock_shared();
    }
}

void sharedMutexExclusive(benchmark::State& state) {
    std::shared_mutex mutex;
    for (auto unused : state) {
        mutex.lock();
        mutex.unlock();
    }
}

void rwLockShared(benchmark::State& state) {
    ZVCL::CZvRWLock lock;
    for (auto unused : state) {
        lock.acquireShared();
        lock.releaseShared();
    }
}

void rwLockExclusive(benchmark::State& state) {
    ZVCL::CZvRWLock lock;
    for (auto unused : state) {
        lock.acquire();
        lock.release();
    }
}

BENCHMARK(recursiveMutex);
BENCHMARK(coreMutex<CCriticalSectionProvider>)->Name("criticalSection");
BENCHMARK(coreMutex<CZvMutexProvider>)->Name("zvMutex");
BENCHMARK(sharedMutexShared);
BENCHMARK(rwLockShared);
BENCHMARK(sharedMutexExclusive);
BENCHMARK(rwLockExclusive);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    benchmark::RunSpecifiedBenchmarks();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
