#include "platform/posix/sync.h"

#include "platform/posix/deadline.h"
#include "platform/posix/named_semaphore.h"

#include <chrono>
#include <list>
#include <new>
#include <string_view>
#include <thread>

#include <pthread.h>
#include <unistd.h>

using namespace zv::platform::posix;

namespace {

// A semaphore of this process alone.
class LocalSemaphore : public SemaphoreObject {
public:
    LocalSemaphore(LONG initialCount, LONG maximumCount)
        : count(initialCount), maximum(maximumCount) {}

    DWORD wait(DWORD milliseconds) override {
        const Deadline deadline(milliseconds);
        std::unique_lock lock(mutex);
        if (!deadline.wait(changed, lock, [&] { return count > 0; }))
            return WAIT_TIMEOUT;
        --count;
        return WAIT_OBJECT_0;
    }

    BOOL release(LONG added, LONG* previousCount) override {
        const std::lock_guard lock(mutex);
        if (added > maximum - count)
            return failWith(ERROR_TOO_MANY_POSTS, FALSE);
        if (previousCount != nullptr)
            *previousCount = count;
        count += added;
        if (added == 1)
            changed.notify_one();
        else
            changed.notify_all();
        return TRUE;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    LONG count;
    const LONG maximum;
};

// An event keeps a list of the threads that wait at this moment. Whoever signals it marks them, so
// a thread that was let go stays let go, however soon the event is reset; and a thread that comes
// after a pulse finds nothing of it.
class Event : public HandleObject {
public:
    Event(bool isManualReset, bool isSignalled)
        : manualReset(isManualReset), signalled(isSignalled) {}

    DWORD wait(DWORD milliseconds) override {
        const Deadline deadline(milliseconds);
        std::unique_lock lock(mutex);
        if (signalled) {
            signalled = manualReset;
            return WAIT_OBJECT_0;
        }
        const auto waiter = waiters.insert(waiters.end(), false);
        const bool released = deadline.wait(changed, lock, [&] { return *waiter; });
        waiters.erase(waiter);
        return released ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    }

    void set() {
        const std::lock_guard lock(mutex);
        const bool used = releaseWaiters();
        signalled = manualReset || !used;
    }
    void reset() {
        const std::lock_guard lock(mutex);
        signalled = false;
    }
    void pulse() {
        const std::lock_guard lock(mutex);
        releaseWaiters();
        signalled = false;
    }

private:
    // Lets every waiting thread go, or one of them for an auto-reset event; false without any.
    bool releaseWaiters() {
        bool any = false;
        for (bool& released : waiters) {
            if (released)
                continue;
            released = any = true;
            if (!manualReset)
                break;
        }
        changed.notify_all();
        return any;
    }

    std::mutex mutex;
    std::condition_variable changed;
    const bool manualReset;
    bool signalled;
    std::list<bool> waiters; // true: let go
};

static_assert(sizeof(pthread_mutex_t) <= sizeof(CRITICAL_SECTION));
static_assert(alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));

pthread_mutex_t* mutexOf(CRITICAL_SECTION* section) {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(section));
}

// The name that a semaphore is shared by: there is one session here, so that a local name is a
// plain one. Null and the last error for a name that no object can have.
const char* sharedName(const char* name) {
    constexpr std::string_view local = "Local\\", global = "Global\\";
    const std::string_view whole(name);
    if (whole.size() >= MAX_PATH_LENGTH)
        return failWith<const char*>(ERROR_FILENAME_EXCED_RANGE, nullptr);
    const std::size_t prefix = whole.starts_with(local)    ? local.size()
                               : whole.starts_with(global) ? global.size()
                                                           : 0;
    if (whole.find('\\', prefix) != whole.npos)
        return failWith<const char*>(ERROR_PATH_NOT_FOUND, nullptr);
    return prefix == local.size() ? name + prefix : name;
}

template <typename Operation>
BOOL onEvent(HANDLE handle, Operation operation) {
    const auto event = objectOf<Event>(handle);
    if (event == nullptr)
        return FALSE;
    operation(*event);
    return TRUE;
}

} // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (section) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_destroy(mutexOf(section));
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_lock(mutexOf(section));
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    return pthread_mutex_trylock(mutexOf(section)) == 0 ? TRUE : FALSE;
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_unlock(mutexOf(section));
}

HANDLE CreateSemaphoreA(SECURITY_ATTRIBUTES*, LONG initialCount, LONG maximumCount,
                        const char* name) {
    return guarded<HANDLE>(nullptr, [&]() -> HANDLE {
        if (initialCount < 0 || maximumCount < 1 || initialCount > maximumCount)
            return failWith<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
        if (name == nullptr || *name == 0)
            return newHandle(std::make_shared<LocalSemaphore>(initialCount, maximumCount));
        bool existed = false;
        const char* const shared = sharedName(name);
        if (shared == nullptr)
            return nullptr;
        auto semaphore = openNamedSemaphore(shared, initialCount, maximumCount, &existed);
        if (semaphore == nullptr)
            return nullptr;
        const HANDLE handle = newHandle(std::move(semaphore));
        SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return handle;
    });
}

BOOL ReleaseSemaphore(HANDLE handle, LONG count, LONG* previousCount) {
    return guarded(FALSE, [&] {
        const auto semaphore = objectOf<SemaphoreObject>(handle);
        if (semaphore == nullptr)
            return FALSE;
        if (count < 1)
            return failWith(ERROR_INVALID_PARAMETER, FALSE);
        return semaphore->release(count, previousCount);
    });
}

HANDLE CreateEventA(SECURITY_ATTRIBUTES*, BOOL manualReset, BOOL initialState, const char* name) {
    return guarded<HANDLE>(nullptr, [&]() -> HANDLE {
        if (name != nullptr && *name != 0)
            return failWith<HANDLE>(ERROR_NOT_SUPPORTED, nullptr);
        return newHandle(std::make_shared<Event>(manualReset != FALSE, initialState != FALSE));
    });
}

BOOL SetEvent(HANDLE event) {
    return onEvent(event, [](Event& object) { object.set(); });
}

BOOL ResetEvent(HANDLE event) {
    return onEvent(event, [](Event& object) { object.reset(); });
}

BOOL PulseEvent(HANDLE event) {
    return onEvent(event, [](Event& object) { object.pulse(); });
}

DWORD GetTickCount() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void Sleep(DWORD milliseconds) {
    while (milliseconds == INFINITE_WAIT)
        pause();
    if (milliseconds == 0)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
