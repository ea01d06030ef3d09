// The reader-writer lock itself, made of two recursive mutexes and a gate, and the core functions
// that drive it by handle.
//
// Every operation may be called by any thread at any time; a hold belongs to the thread that took
// it.
#ifndef ZVSUPPORT_LANG_RW_LOCK_IMPL_H
#define ZVSUPPORT_LANG_RW_LOCK_IMPL_H

#include "core/handle.h"
#include "core/mutex.h"
#include "core/ref_counted.h"
#include "core/result.h"
#include "core/sync.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace zv::core {

class CZvRWLockImpl {
public:
    // A null name is the empty one. This and every operation throw EZvCoreException with the code
    // of a mutex or gate that fails, and std::bad_alloc.
    CZvRWLockImpl(const char* name, std::uint32_t flags);
    CZvRWLockImpl(const CZvRWLockImpl&) = delete;
    CZvRWLockImpl& operator=(const CZvRWLockImpl&) = delete;

    void acquireShared();
    bool tryAcquireShared(); // false: it would have to wait
    bool releaseShared();    // false: the thread has no shared hold
    std::int32_t acquire();  // the recursion depth
    bool tryAcquire();
    bool release(); // false: the thread does not have the exclusive hold

private:
    struct Reader {
        std::uint32_t thread;
        std::uint32_t holds;
    };

    // Callers hold m_arrayLock.
    std::vector<Reader>::iterator findReader(std::uint32_t thread);
    bool onlyReads(std::uint32_t thread) const;
    bool reenter(std::uint32_t thread);
    void addReader(std::uint32_t thread, std::uint32_t holds);
    // The caller holds m_lock and m_arrayLock.
    void registerHold(std::uint32_t thread);
    // The caller holds m_lock, and nobody else reads.
    void becomeWriter(std::uint32_t thread);
    // The caller holds m_lock and is no writer.
    void waitForReaders(std::uint32_t thread);
    bool isWriter(std::uint32_t thread) const;

    CoreRef<IMutex> m_lock;
    UniqueSync m_writerGate;
    std::atomic<std::int32_t> m_count{0};
    std::int32_t m_savedCount = 0; // touched by the writer alone
    std::vector<Reader> m_readers;
    std::atomic<std::uint32_t> m_pendingWriter{0};
    CoreRef<IMutex> m_arrayLock;
    std::atomic<std::uint32_t> m_writerActive{0}; // the writer's thread identifier
    std::string m_name;
    std::uint32_t m_flags;
};

// Reader-writer locks by handle. Each answers a result code and throws nothing; kFail is what the
// operations above answer with false.
ResultCode RWLockCreate(const char* name, std::uint32_t flags, Handle& lock) noexcept;
ResultCode RWLockDestroy(Handle lock) noexcept;
ResultCode RWLockLockShared(Handle lock) noexcept;
ResultCode RWLockTryLockShared(Handle lock) noexcept;
ResultCode RWLockUnlockShared(Handle lock) noexcept;
ResultCode RWLockLock(Handle lock) noexcept; // the recursion depth, positive
ResultCode RWLockTryLock(Handle lock) noexcept;
ResultCode RWLockUnlock(Handle lock) noexcept;

struct RWLockTraits {
    using Type = Handle;
    static constexpr Handle none() { return kNoHandle; }
    static void close(Handle lock) { RWLockDestroy(lock); }
};
using UniqueRWLock = UniqueHandle<RWLockTraits>;

} // namespace zv::core

#endif
