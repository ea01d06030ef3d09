// Recursive, process-local locks of the core layer.
//
// Two kinds keep one contract: CCriticalSection over the system's critical sections (the NT family)
// and CZvMutex, an atomic counter with a semaphore behind it (everywhere else). The process's one
// provider hands out the kind that fits the platform; everybody else works by handle.
#ifndef ZVSUPPORT_CORE_MUTEX_H
#define ZVSUPPORT_CORE_MUTEX_H

#include "core/handle.h"
#include "core/ref_counted.h"
#include "core/result.h"
#include "platform/win32.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace zv::core {

// Tries of CZvMutex before it blocks: 5 for each processor where there are several, else 0. Set
// once at core start-up.
extern std::int32_t g_spinCount;

// A recursive lock. All operations may be called by any thread.
class IMutex : public CZvCoreRefCounted {
public:
    // Blocks until the calling thread owns the mutex; the owner may lock again.
    virtual ResultCode lock() = 0;
    // 0 when the calling thread now owns the mutex (again), kFail when another one does.
    virtual ResultCode tryLock() = 0;
    // Gives back one level. Only the owner may call it.
    virtual ResultCode unlock() = 0;
    // Bit 0 of the creation flags.
    virtual bool getFlag() = 0;
};

class IMutexProvider : public CZvCoreRefCounted {
public:
    // Stores a new mutex with one reference, the caller's, in result. kOutOfMemory, or the code of
    // what the mutex is made of.
    virtual ResultCode createMutex(const char* name, std::uint32_t flags, IMutex*& result) = 0;
};

class CCriticalSection final : public IMutex {
public:
    explicit CCriticalSection(std::uint32_t flags);
    ~CCriticalSection() override;

    ResultCode lock() override;
    ResultCode tryLock() override;
    // Undefined when the calling thread is not the owner, like the call beneath it.
    ResultCode unlock() override;
    bool getFlag() override;

private:
    CRITICAL_SECTION section;
    std::uint8_t flag;
};

// The lock itself: the counter admits, the semaphore hands over.
class CZvCoreMutexImpl {
public:
    // Throws EZvCoreException when the semaphore cannot be made.
    CZvCoreMutexImpl(const char* name, std::uint32_t flags);
    ~CZvCoreMutexImpl();
    CZvCoreMutexImpl(const CZvCoreMutexImpl&) = delete;
    CZvCoreMutexImpl& operator=(const CZvCoreMutexImpl&) = delete;

    // Throw EZvCoreException when the semaphore fails.
    void acquire();
    bool tryAcquire();
    // False, and nothing changes, when the calling thread is not the owner.
    bool release();

    std::uint32_t getFlags() const { return flags; }
    // -1 when free, else levels held + threads waiting - 1; for tests and debuggers.
    std::int32_t getLockCount() const { return lockCount.load(); }
    std::uint32_t getOwner() const { return owner.load(); }

private:
    bool tryAcquire(std::uint32_t thread);
    void becomeOwner(std::uint32_t thread);

    std::atomic<std::int32_t> lockCount{-1};
    std::uint32_t recursion = 0; // touched by the owner alone
    std::atomic<std::uint32_t> owner{0};
    Handle m_semaphore = kNoHandle;
    std::string name;
    std::uint32_t flags;
};

class CZvMutex final : public IMutex {
public:
    CZvMutex(const char* name, std::uint32_t flags) : impl(name, flags) {}

    ResultCode lock() override;
    ResultCode tryLock() override;
    // kFail, and nothing changes, when the calling thread is not the owner.
    ResultCode unlock() override;
    bool getFlag() override;

    const CZvCoreMutexImpl& implementation() const { return impl; }

private:
    CZvCoreMutexImpl impl;
};

class CZvMutexProvider final : public IMutexProvider {
public:
    ResultCode createMutex(const char* name, std::uint32_t flags, IMutex*& result) override;
};

class CCriticalSectionProvider final : public IMutexProvider {
public:
    ResultCode createMutex(const char* name, std::uint32_t flags, IMutex*& result) override;
};

// Mutexes by handle. Each answers a result code and throws nothing.
//
// Stores kNoHandle, then a new mutex of the process's provider. A null name counts as empty. kFail
// when the core layer has no provider.
ResultCode MutexCreate(const char* name, std::uint32_t flags, Handle& mutex) noexcept;
// Drops the handle's reference and answers the remaining count, never negative.
ResultCode MutexDestroy(Handle mutex) noexcept;
ResultCode MutexLock(Handle mutex) noexcept;
ResultCode MutexTryLock(Handle mutex) noexcept;
ResultCode MutexUnlock(Handle mutex) noexcept;

struct MutexTraits {
    using Type = Handle;
    static constexpr Handle none() { return kNoHandle; }
    static void close(Handle mutex) { MutexDestroy(mutex); }
};
using UniqueMutex = UniqueHandle<MutexTraits>;

// Throws EZvCoreException with the creation's code.
UniqueMutex makeMutex(const char* name, std::uint32_t flags);

// Holds a mutex for a scope. The constructor throws EZvCoreException when the lock fails; a failing
// unlock in the destructor is not reported.
class MutexHold {
public:
    explicit MutexHold(Handle mutex) : mutex(mutex) { throwIfFailed(MutexLock(mutex)); }
    ~MutexHold() { MutexUnlock(mutex); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    Handle mutex;
};

} // namespace zv::core

#endif
