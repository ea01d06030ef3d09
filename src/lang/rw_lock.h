// A reader-writer lock as a library object: many threads hold it shared, or one holds it exclusive.
//
// A thread may nest holds of either kind. Whoever waits for the exclusive hold goes before new
// shared holders; a thread that holds the lock shared already gets it shared again at once. The
// only shared holder may take the lock exclusive on top; two shared holders that both try wait for
// each other for ever.
#ifndef ZVSUPPORT_LANG_RW_LOCK_H
#define ZVSUPPORT_LANG_RW_LOCK_H

#include "core/handle.h"
#include "lang/rw_lock_impl.h"
#include "lang/sync_object.h"

namespace ZVCL {

class CZvRWLock final : public CZvLockObject {
public:
    // The flags are kept and mean nothing. Throws EZvResultException with the code of what the lock
    // is made of.
    explicit CZvRWLock(const char* name = nullptr, std::uint32_t flags = 0);

    // The exclusive hold. release throws EZvResultException, kFail, when the calling thread does
    // not have it.
    void acquire() override;
    bool tryAcquire() override;
    void release() override;

    // The shared hold, likewise.
    virtual void acquireShared();
    virtual bool tryAcquireShared();
    virtual void releaseShared();

private:
    zv::core::UniqueRWLock handle;
};

} // namespace ZVCL

#endif
