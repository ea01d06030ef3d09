#include "core/mutex.h"

#include "core/global_data.h"
#include "core/sync.h"

#include <algorithm>

namespace zv::core {

std::int32_t g_spinCount = 0;

// ---------------------------------------------------------------------------------------------
// CCriticalSection

CCriticalSection::CCriticalSection(std::uint32_t flags)
    : flag(static_cast<std::uint8_t>(flags & 1)) {
    InitializeCriticalSection(&section);
}

CCriticalSection::~CCriticalSection() {
    DeleteCriticalSection(&section);
}

ResultCode CCriticalSection::lock() {
    EnterCriticalSection(&section);
    return kOk;
}

ResultCode CCriticalSection::tryLock() {
    return TryEnterCriticalSection(&section) != 0 ? kOk : kFail;
}

ResultCode CCriticalSection::unlock() {
    LeaveCriticalSection(&section);
    return kOk;
}

bool CCriticalSection::getFlag() {
    return flag != 0;
}

// ---------------------------------------------------------------------------------------------
// CZvCoreMutexImpl

CZvCoreMutexImpl::CZvCoreMutexImpl(const char* name, std::uint32_t flags)
    : name(name), flags(flags) {
    throwIfFailed(SemaphoreCreate(0, "CZvCoreMutexImpl::m_semaphore", 1, m_semaphore));
}

CZvCoreMutexImpl::~CZvCoreMutexImpl() {
    SyncClose(m_semaphore);
}

void CZvCoreMutexImpl::becomeOwner(std::uint32_t thread) {
    owner.store(thread, std::memory_order_relaxed);
    recursion = 1;
}

// Why relaxed accesses to `owner` are enough: a thread only ever asks whether the owner is itself.
//   1. It stored its own identifier, or the 0 that took it back, in its own program order, so it
//      reads itself exactly while it owns the mutex.
//   2. Any other value, however old, is another thread's or 0: not itself, which is the answer.
// What the mutex protects is ordered by lockCount (acquire when taken, release when given back)
// and, when there are waiters, by the semaphore.
bool CZvCoreMutexImpl::tryAcquire(std::uint32_t thread) {
    std::int32_t free = -1;
    if (lockCount.compare_exchange_strong(free, 0, std::memory_order_acquire,
                                          std::memory_order_relaxed)) {
        becomeOwner(thread);
        return true;
    }
    if (owner.load(std::memory_order_relaxed) != thread)
        return false;
    lockCount.fetch_add(1, std::memory_order_relaxed);
    ++recursion;
    return true;
}

bool CZvCoreMutexImpl::tryAcquire() {
    return tryAcquire(GetCurrentThreadId());
}

void CZvCoreMutexImpl::acquire() {
    const std::uint32_t thread = GetCurrentThreadId();
    for (std::int32_t tries = 0; tries < g_spinCount; ++tries) {
        if (tryAcquire(thread))
            return;
    }
    if (lockCount.fetch_add(1, std::memory_order_acquire) == -1) {
        becomeOwner(thread);
        return;
    }
    if (owner.load(std::memory_order_relaxed) == thread) {
        ++recursion; // the count keeps this thread's increment until the matching release
        return;
    }
    if (const ResultCode code = SemaphoreWait(m_semaphore); code < 0) {
        lockCount.fetch_sub(1, std::memory_order_relaxed); // no longer a waiter
        throw EZvCoreException(code);
    }
    becomeOwner(thread);
}

bool CZvCoreMutexImpl::release() {
    if (owner.load(std::memory_order_relaxed) != GetCurrentThreadId())
        return false;
    if (recursion-- > 1) {
        lockCount.fetch_sub(1, std::memory_order_relaxed);
        return true;
    }
    owner.store(0, std::memory_order_relaxed);
    if (lockCount.fetch_sub(1, std::memory_order_release) > 0)
        throwIfFailed(SemaphoreRelease(m_semaphore));
    return true;
}

// ---------------------------------------------------------------------------------------------
// CZvMutex

ResultCode CZvMutex::lock() {
    return coreFrame([this] {
        impl.acquire();
        return kOk;
    });
}

ResultCode CZvMutex::tryLock() {
    return coreFrame([this] { return impl.tryAcquire() ? kOk : kFail; });
}

ResultCode CZvMutex::unlock() {
    return coreFrame([this] { return impl.release() ? kOk : kFail; });
}

bool CZvMutex::getFlag() {
    return (impl.getFlags() & 1) != 0;
}

// ---------------------------------------------------------------------------------------------
// Providers

namespace {

template <typename Mutex, typename... Arguments>
ResultCode createMutexOf(IMutex*& result, Arguments... arguments) {
    result = nullptr;
    return coreFrame([&] {
        result = makeCoreRef<Mutex>(arguments...).detach();
        return kOk;
    });
}

} // namespace

ResultCode CZvMutexProvider::createMutex(const char* name, std::uint32_t flags, IMutex*& result) {
    return createMutexOf<CZvMutex>(result, name, flags);
}

ResultCode CCriticalSectionProvider::createMutex(const char*, std::uint32_t flags,
                                                 IMutex*& result) {
    return createMutexOf<CCriticalSection>(result, flags);
}

// ---------------------------------------------------------------------------------------------
// Mutexes by handle

namespace {

IMutex* mutexOf(Handle mutex) {
    if (mutex == kNoHandle || mutex == 0)
        throw EZvCoreException(kInvalidHandle);
    return reinterpret_cast<IMutex*>(mutex);
}

} // namespace

ResultCode MutexCreate(const char* name, std::uint32_t flags, Handle& mutex) noexcept {
    mutex = kNoHandle;
    return coreFrame([&] {
        if (g_globalData.mutexProvider == nullptr)
            return kFail;
        IMutex* created = nullptr;
        const ResultCode code =
            g_globalData.mutexProvider->createMutex(name != nullptr ? name : "", flags, created);
        if (code < 0)
            return code;
        mutex = reinterpret_cast<Handle>(created);
        return kOk;
    });
}

ResultCode MutexDestroy(Handle mutex) noexcept {
    return coreFrame([&] { return std::max(mutexOf(mutex)->dropReference(), 0); });
}

ResultCode MutexLock(Handle mutex) noexcept {
    return coreFrame([&] { return mutexOf(mutex)->lock(); });
}

ResultCode MutexTryLock(Handle mutex) noexcept {
    return coreFrame([&] { return mutexOf(mutex)->tryLock(); });
}

ResultCode MutexUnlock(Handle mutex) noexcept {
    return coreFrame([&] { return mutexOf(mutex)->unlock(); });
}

UniqueMutex makeMutex(const char* name, std::uint32_t flags) {
    Handle mutex = kNoHandle;
    throwIfFailed(MutexCreate(name, flags, mutex));
    return UniqueMutex(mutex);
}

} // namespace zv::core
