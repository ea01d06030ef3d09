// A recursive lock of one process, as a library object.
#ifndef ZVSUPPORT_LANG_MUTEX_H
#define ZVSUPPORT_LANG_MUTEX_H

#include "core/mutex.h"
#include "lang/sync_object.h"

namespace ZVCL {

class CZvMutex final : public CZvLockObject {
public:
    // A null name is the empty one. Throws EZvResultException with the core mutex's code.
    explicit CZvMutex(const char* name = nullptr, std::uint32_t flags = 0);

    void acquire() override;
    bool tryAcquire() override;
    // Only the thread that holds the lock may call it.
    void release() override;

private:
    zv::core::UniqueMutex handle;
};

// A lock that never keeps anybody out, for code that is handed its lock.
class CZvFakeMutex final : public CZvLockObject {
public:
    void acquire() override {}
    bool tryAcquire() override { return true; }
    void release() override {}
};

} // namespace ZVCL

#endif
