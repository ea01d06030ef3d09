// What all synchronisation objects have in common: acquire, try to acquire and, for locks, release.
//
// Every operation of every class below CZvSyncObject may be called by any thread at any time.
#ifndef ZVSUPPORT_LANG_SYNC_OBJECT_H
#define ZVSUPPORT_LANG_SYNC_OBJECT_H

#include "lang/object.h"

#include <cstdint>

namespace ZVCL {

class CZvSyncObject : public CZvObject {
public:
    CZvSyncObject() = default;
    CZvSyncObject(const CZvSyncObject&) = delete;
    CZvSyncObject& operator=(const CZvSyncObject&) = delete;

    // Waits without limit. Throws EZvResultException with the primitive's code.
    virtual void acquire() = 0;
    // False when acquire would have to wait, and on any failure. Never throws.
    virtual bool tryAcquire() = 0;
};

class CZvLockObject : public CZvSyncObject {
public:
    // Throws EZvResultException with the primitive's code.
    virtual void release() = 0;
};

// Holds a lock for a scope. The constructor throws what acquire throws; a failing release in the
// destructor is not reported.
class LockHold {
public:
    explicit LockHold(CZvLockObject& lock) : lock(lock) { lock.acquire(); }
    ~LockHold() {
        try {
            lock.release();
        } catch (...) {
            // A destructor has nobody to tell.
        }
    }
    LockHold(const LockHold&) = delete;
    LockHold& operator=(const LockHold&) = delete;

private:
    CZvLockObject& lock;
};

// The answer of a timed wait's result code: true on 0, false when the time ran out or on a positive
// code. Throws EZvResultException on any other failure.
bool waitAnswer(ResultCode code);

} // namespace ZVCL

#endif
