#include "lang/rw_lock_impl.h"

#include "core/global_data.h"
#include "platform/win32.h"

#include <algorithm>
#include <memory>
#include <mutex>

// Which thread touches what, and why the unlocked accesses are sound.
//
//   1. A thread joins the table only while it holds m_lock, which a writer keeps from before it
//      looks for readers until its last release. So once a writer has seen that nobody else reads,
//      nobody else can, and while a writer is active the table holds its own entry or nothing.
//   2. m_readers is changed under m_arrayLock alone. The active writer may read it without: by 1 no
//      other thread changes it then, and what readers changed before is ordered by the look of 1.
//   3. m_writerActive holds the writer's identifier. A thread only asks whether that is its own,
//      and it stored its own identifier, or the 0 that took it back, itself; whatever stale value
//      it may read of another thread is not its own, which is the right answer.
//   4. m_savedCount belongs to the active writer; one writer hands it to the next through m_lock.
//   5. m_count is the sum of the entries while no writer is active. A thread that has an entry
//      cannot read 0 there: its own part came before, in its own order, and nobody takes it away.
//      So 0 means "I have no entry" to any thread, and to the holder of m_lock "nobody reads"; the
//      reader that made it 0 did so with release order, after it had left the table.
//   6. A pending writer stores m_pendingWriter before it looks at the table under m_arrayLock, and
//      closes the gate there when others read. A reader leaves the table and looks at
//      m_pendingWriter under m_arrayLock too. Whoever comes second sees the first: the writer that
//      the table is empty, or the reader that it has to open the gate. The gate wakes the writer,
//      which then looks at the table again.
//   7. So the gate is closed only while a writer waits for readers, and readers that no writer
//   waits
//      for never touch it: what they would tell by it the table tells as well.
namespace zv::core {

namespace {

CoreRef<IMutex> makeLock(const std::string& name) {
    if (g_globalData.mutexProvider == nullptr)
        throw EZvCoreException(kFail);
    IMutex* created = nullptr;
    throwIfFailed(g_globalData.mutexProvider->createMutex(name.c_str(), 0, created));
    return CoreRef<IMutex>::adopt(created);
}

UniqueSync makeGate(const std::string& name) {
    UniqueSync gate;
    throwIfFailed(GateCreate(name.c_str(), 0, gate.receive()));
    return gate;
}

// Holds one level of a mutex for a scope.
class Hold {
public:
    explicit Hold(IMutex& mutex) : mutex(&mutex) { throwIfFailed(mutex.lock()); }
    Hold(IMutex& mutex, std::try_to_lock_t) : mutex(mutex.tryLock() >= 0 ? &mutex : nullptr) {}
    ~Hold() {
        if (mutex != nullptr)
            mutex->unlock();
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    explicit operator bool() const { return mutex != nullptr; }
    // Leaves the level with the calling thread.
    void keep() { mutex = nullptr; }

private:
    IMutex* mutex;
};

} // namespace

CZvRWLockImpl::CZvRWLockImpl(const char* name, std::uint32_t flags)
    : m_name(name != nullptr ? name : ""), m_flags(flags) {
    const std::string prefix = m_name + "::CZvRWLockImpl::";
    m_lock = makeLock(prefix + "m_lock");
    m_writerGate = makeGate(prefix + "m_writerGate");
    m_readers.reserve(8);
    m_arrayLock = makeLock(prefix + "m_arrayLock");
    throwIfFailed(GateOpen(m_writerGate.get()));
}

std::vector<CZvRWLockImpl::Reader>::iterator CZvRWLockImpl::findReader(std::uint32_t thread) {
    return std::find_if(m_readers.begin(), m_readers.end(),
                        [thread](const Reader& reader) { return reader.thread == thread; });
}

bool CZvRWLockImpl::isWriter(std::uint32_t thread) const {
    return m_writerActive.load(std::memory_order_relaxed) == thread;
}

bool CZvRWLockImpl::onlyReads(std::uint32_t thread) const {
    return m_readers.empty() || (m_readers.size() == 1 && m_readers.front().thread == thread);
}

// ---------------------------------------------------------------------------------------------
// Shared holds

bool CZvRWLockImpl::reenter(std::uint32_t thread) {
    const auto reader = findReader(thread);
    if (reader == m_readers.end())
        return false;
    if (isWriter(thread)) {
        ++m_savedCount;
    } else {
        m_count.fetch_add(1, std::memory_order_relaxed);
        ++reader->holds;
    }
    return true;
}

void CZvRWLockImpl::registerHold(std::uint32_t thread) {
    if (isWriter(thread)) {
        ++m_savedCount;
        return;
    }
    m_readers.push_back({thread, 1});
    m_count.fetch_add(1, std::memory_order_relaxed);
}

void CZvRWLockImpl::acquireShared() {
    const std::uint32_t thread = GetCurrentThreadId();
    if (m_count.load(std::memory_order_relaxed) != 0) {
        const Hold array(*m_arrayLock);
        if (reenter(thread))
            return;
    }
    const Hold lock(*m_lock);
    const Hold array(*m_arrayLock);
    registerHold(thread);
}

bool CZvRWLockImpl::tryAcquireShared() {
    const std::uint32_t thread = GetCurrentThreadId();
    if (m_count.load(std::memory_order_relaxed) != 0) {
        const Hold array(*m_arrayLock, std::try_to_lock);
        if (!array)
            return false;
        if (reenter(thread))
            return true;
    }
    const Hold lock(*m_lock, std::try_to_lock);
    if (!lock)
        return false;
    const Hold array(*m_arrayLock, std::try_to_lock);
    if (!array)
        return false;
    registerHold(thread);
    return true;
}

bool CZvRWLockImpl::releaseShared() {
    const std::uint32_t thread = GetCurrentThreadId();
    if (isWriter(thread)) {
        if (m_savedCount == 0)
            return false;
        --m_savedCount;
        return true;
    }
    const Hold array(*m_arrayLock);
    const auto reader = findReader(thread);
    if (reader == m_readers.end())
        return false;
    if (--reader->holds == 0)
        m_readers.erase(reader);
    m_count.fetch_sub(1, std::memory_order_release);
    const std::uint32_t pending = m_pendingWriter.load(std::memory_order_relaxed);
    if (pending != 0 && onlyReads(pending))
        throwIfFailed(GateOpen(m_writerGate.get()));
    return true;
}

// ---------------------------------------------------------------------------------------------
// The exclusive hold

void CZvRWLockImpl::waitForReaders(std::uint32_t thread) {
    if (m_count.load(std::memory_order_acquire) == 0)
        return;
    m_pendingWriter.store(thread, std::memory_order_relaxed);
    ResultCode code = kOk;
    for (;;) {
        {
            const Hold array(*m_arrayLock);
            if (onlyReads(thread))
                break;
            code = GateClose(m_writerGate.get());
        }
        if (code >= 0)
            code = GateWait(m_writerGate.get());
        if (code < 0)
            break;
    }
    m_pendingWriter.store(0, std::memory_order_relaxed);
    throwIfFailed(code);
}

void CZvRWLockImpl::becomeWriter(std::uint32_t thread) {
    m_savedCount = m_count.load(std::memory_order_relaxed);
    m_count.store(0, std::memory_order_relaxed);
    m_writerActive.store(thread, std::memory_order_relaxed);
}

std::int32_t CZvRWLockImpl::acquire() {
    const std::uint32_t thread = GetCurrentThreadId();
    Hold lock(*m_lock);
    if (!isWriter(thread)) {
        waitForReaders(thread);
        becomeWriter(thread);
    }
    lock.keep();
    return m_count.fetch_add(1, std::memory_order_relaxed) + 1;
}

// The thread never becomes the pending writer here: it does not wait, so nobody has to wake it.
bool CZvRWLockImpl::tryAcquire() {
    const std::uint32_t thread = GetCurrentThreadId();
    Hold lock(*m_lock, std::try_to_lock);
    if (!lock)
        return false;
    if (!isWriter(thread)) {
        if (m_count.load(std::memory_order_acquire) != 0) {
            const Hold array(*m_arrayLock);
            if (!onlyReads(thread))
                return false;
        }
        becomeWriter(thread);
    }
    lock.keep();
    m_count.fetch_add(1, std::memory_order_relaxed);
    return true;
}

bool CZvRWLockImpl::release() {
    const std::uint32_t thread = GetCurrentThreadId();
    if (!isWriter(thread))
        return false;
    if (m_count.load(std::memory_order_relaxed) > 1) {
        m_count.fetch_sub(1, std::memory_order_relaxed);
    } else {
        // The writer's shared holds live on as its table entry.
        if (m_savedCount != 0 || !m_readers.empty()) {
            const Hold array(*m_arrayLock);
            if (m_savedCount == 0)
                m_readers.clear();
            else // there is room: the table never shrinks below its first 8 entries
                m_readers.assign(1, {thread, static_cast<std::uint32_t>(m_savedCount)});
        }
        m_count.store(m_savedCount, std::memory_order_relaxed);
        m_savedCount = 0;
        m_writerActive.store(0, std::memory_order_relaxed);
    }
    throwIfFailed(m_lock->unlock());
    return true;
}

// ---------------------------------------------------------------------------------------------
// By handle

namespace {

CZvRWLockImpl& implOf(Handle lock) {
    if (lock == kNoHandle || lock == 0)
        throw EZvCoreException(kInvalidHandle);
    return *reinterpret_cast<CZvRWLockImpl*>(lock);
}

ResultCode okIf(bool done) {
    return done ? kOk : kFail;
}

} // namespace

ResultCode RWLockCreate(const char* name, std::uint32_t flags, Handle& lock) noexcept {
    lock = kNoHandle;
    return coreFrame([&] {
        lock = reinterpret_cast<Handle>(std::make_unique<CZvRWLockImpl>(name, flags).release());
        return kOk;
    });
}

ResultCode RWLockDestroy(Handle lock) noexcept {
    return coreFrame([&] {
        const std::unique_ptr<CZvRWLockImpl> ended(&implOf(lock));
        return kOk;
    });
}

ResultCode RWLockLockShared(Handle lock) noexcept {
    return coreFrame([&] {
        implOf(lock).acquireShared();
        return kOk;
    });
}

ResultCode RWLockTryLockShared(Handle lock) noexcept {
    return coreFrame([&] { return okIf(implOf(lock).tryAcquireShared()); });
}

ResultCode RWLockUnlockShared(Handle lock) noexcept {
    return coreFrame([&] { return okIf(implOf(lock).releaseShared()); });
}

ResultCode RWLockLock(Handle lock) noexcept {
    return coreFrame([&] { return implOf(lock).acquire(); });
}

ResultCode RWLockTryLock(Handle lock) noexcept {
    return coreFrame([&] { return okIf(implOf(lock).tryAcquire()); });
}

ResultCode RWLockUnlock(Handle lock) noexcept {
    return coreFrame([&] { return okIf(implOf(lock).release()); });
}

} // namespace zv::core
