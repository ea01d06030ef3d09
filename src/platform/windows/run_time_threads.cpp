// The few functions of POSIX threads that the compiler's run-time asks for: a lock around the table
// of unwinding information, a once, and a slot for each thread's pending exceptions. Linked into
// the DLL alone.
//
// The toolchain's own answer keeps a thread-local slot and a record of every thread that it has
// seen until the process ends. Hosts load and unload the library again and again, and a process has
// 1088 slots; so here everything that was taken is on a list, and unloading gives it back.
//
// Any thread may call. No function here throws or allocates by operator new.
#include "platform/windows/run_time_threads.h"

#include <cerrno>

#include <pthread.h>
#include <windows.h>

namespace {

// One recursive lock serves every mutex. It needs no making and no ending, and is held for a few
// instructions at a time.
constinit volatile LONG lockOwner = 0; // thread identifier; 0 when free
constinit int lockDepth = 0;           // the owner's alone

void lock() {
    const auto self = static_cast<LONG>(GetCurrentThreadId());
    if (lockOwner != self) {
        for (int tries = 0; InterlockedCompareExchange(&lockOwner, self, 0) != 0; ++tries)
            Sleep(tries < 100 ? 0 : 1);
    }
    ++lockDepth;
}

void unlock() {
    if (--lockDepth == 0)
        InterlockedExchange(&lockOwner, 0);
}

class Hold {
public:
    Hold() { lock(); }
    ~Hold() { unlock(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
};

// One thread's value under one key.
struct Value {
    const void* value;
    unsigned key;
    Value* next;
    Value** place; // the pointer that leads here
};
constinit Value* values = nullptr;

struct Key {
    DWORD slot;
    void (*destructor)(void*);
};
constexpr unsigned kMostKeys = 8;
constinit Key keys[kMostKeys] = {};
constinit unsigned keyCount = 0;

// Takes a value off the list and lets its key's destructor have it.
void end(Value* ended) {
    *ended->place = ended->next;
    if (ended->next != nullptr)
        ended->next->place = ended->place;
    const Key& key = keys[ended->key];
    if (key.destructor != nullptr && ended->value != nullptr)
        key.destructor(const_cast<void*>(ended->value));
    HeapFree(GetProcessHeap(), 0, ended);
}

void NTAPI onThread(void*, DWORD reason, void*) {
    if (reason != DLL_THREAD_DETACH)
        return;
    const Hold hold;
    for (unsigned key = 0; key < keyCount; ++key) {
        if (auto* value = static_cast<Value*>(TlsGetValue(keys[key].slot))) {
            TlsSetValue(keys[key].slot, nullptr);
            end(value);
        }
    }
}

// The loader calls what is listed in this section when a thread comes or goes.
__attribute__((used, section(".CRT$XLY"))) const PIMAGE_TLS_CALLBACK threadCallback = onThread;

} // namespace

namespace zv::platform::windows {

void releaseRunTimeThreads() noexcept {
    const Hold hold;
    while (values != nullptr)
        end(values);
    while (keyCount != 0)
        TlsFree(keys[--keyCount].slot);
}

} // namespace zv::platform::windows

extern "C" {

int pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*) {
    return 0;
}
int pthread_mutex_destroy(pthread_mutex_t*) {
    return 0;
}
int pthread_mutex_lock(pthread_mutex_t*) {
    lock();
    return 0;
}
int pthread_mutex_unlock(pthread_mutex_t*) {
    unlock();
    return 0;
}

int pthread_once(pthread_once_t* once, void (*initialize)()) {
    const Hold hold;
    if (*once == PTHREAD_ONCE_INIT) {
        initialize();
        *once = PTHREAD_ONCE_INIT + 1;
    }
    return 0;
}

int pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) {
    const Hold hold;
    if (keyCount == kMostKeys)
        return EAGAIN;
    const DWORD slot = TlsAlloc();
    if (slot == TLS_OUT_OF_INDEXES)
        return EAGAIN;
    keys[keyCount] = {slot, destructor};
    *key = keyCount++;
    return 0;
}

void* pthread_getspecific(pthread_key_t key) {
    const DWORD error = GetLastError(); // which a look at a slot clears
    auto* value = static_cast<Value*>(TlsGetValue(keys[key].slot));
    SetLastError(error);
    return value != nullptr ? const_cast<void*>(value->value) : nullptr;
}

int pthread_setspecific(pthread_key_t key, const void* data) {
    const Hold hold;
    auto* value = static_cast<Value*>(TlsGetValue(keys[key].slot));
    if (value == nullptr) {
        value = static_cast<Value*>(HeapAlloc(GetProcessHeap(), 0, sizeof(Value)));
        if (value == nullptr)
            return ENOMEM;
        *value = {nullptr, key, values, &values};
        if (values != nullptr)
            values->place = &value->next;
        values = value;
        TlsSetValue(keys[key].slot, value);
    }
    value->value = data;
    return 0;
}

} // extern "C"
