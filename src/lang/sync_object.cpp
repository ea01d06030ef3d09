#include "lang/sync_object.h"

#include "lang/event.h"
#include "lang/exception.h"
#include "lang/gate.h"
#include "lang/mutex.h"
#include "lang/rw_lock.h"
#include "lang/semaphore.h"

namespace ZVCL {

namespace core = zv::core;

bool waitAnswer(ResultCode code) {
    return code != core::kTimeout && throwIfFailed(code) == core::kOk;
}

// ---------------------------------------------------------------------------------------------
// CZvMutex

CZvMutex::CZvMutex(const char* name, std::uint32_t flags) {
    throwIfFailed(core::MutexCreate(name, flags, handle.receive()));
}

void CZvMutex::acquire() {
    throwIfFailed(core::MutexLock(handle.get()));
}

bool CZvMutex::tryAcquire() {
    return core::MutexTryLock(handle.get()) >= 0;
}

void CZvMutex::release() {
    throwIfFailed(core::MutexUnlock(handle.get()));
}

// ---------------------------------------------------------------------------------------------
// CZvSemaphore

CZvSemaphore::CZvSemaphore(std::int32_t initialCount, const char* name, std::uint32_t flags) {
    throwIfFailed(core::SemaphoreCreate(initialCount, name, flags, handle.receive()));
}

void CZvSemaphore::acquire() {
    throwIfFailed(core::SemaphoreWait(handle.get()));
}

bool CZvSemaphore::tryAcquire() {
    return core::SemaphoreTryWait(handle.get()) >= 0;
}

void CZvSemaphore::release() {
    throwIfFailed(core::SemaphoreRelease(handle.get()));
}

// ---------------------------------------------------------------------------------------------
// CZvEvent

CZvEvent::CZvEvent(const char* name, std::uint32_t flags) {
    throwIfFailed(core::EventCreate(name, flags, handle.receive()));
}

void CZvEvent::acquire() {
    throwIfFailed(core::EventWait(handle.get()));
}

bool CZvEvent::tryAcquire() {
    return core::EventTryWait(handle.get()) >= 0;
}

bool CZvEvent::waitFor(std::uint32_t milliseconds) {
    return waitAnswer(core::EventWaitFor(handle.get(), milliseconds));
}

void CZvEvent::pulse() {
    throwIfFailed(core::EventPulse(handle.get()));
}

// ---------------------------------------------------------------------------------------------
// CZvGate

CZvGate::CZvGate(const char* name, std::uint32_t flags) {
    throwIfFailed(core::GateCreate(name, flags, handle.receive()));
}

void CZvGate::acquire() {
    throwIfFailed(core::GateWait(handle.get()));
}

bool CZvGate::tryAcquire() {
    return core::GateTryWait(handle.get()) >= 0;
}

bool CZvGate::waitFor(std::uint32_t milliseconds) {
    return waitAnswer(core::GateWaitFor(handle.get(), milliseconds));
}

void CZvGate::open() {
    throwIfFailed(core::GateOpen(handle.get()));
}

void CZvGate::close() {
    throwIfFailed(core::GateClose(handle.get()));
}

// ---------------------------------------------------------------------------------------------
// CZvRWLock

CZvRWLock::CZvRWLock(const char* name, std::uint32_t flags) {
    throwIfFailed(core::RWLockCreate(name, flags, handle.receive()));
}

void CZvRWLock::acquire() {
    throwIfFailed(core::RWLockLock(handle.get()));
}

bool CZvRWLock::tryAcquire() {
    return core::RWLockTryLock(handle.get()) >= 0;
}

void CZvRWLock::release() {
    throwIfFailed(core::RWLockUnlock(handle.get()));
}

void CZvRWLock::acquireShared() {
    throwIfFailed(core::RWLockLockShared(handle.get()));
}

bool CZvRWLock::tryAcquireShared() {
    return core::RWLockTryLockShared(handle.get()) >= 0;
}

void CZvRWLock::releaseShared() {
    throwIfFailed(core::RWLockUnlockShared(handle.get()));
}

} // namespace ZVCL
