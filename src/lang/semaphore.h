// A counting semaphore as a library object; with a name it is shared between processes.
#ifndef ZVSUPPORT_LANG_SEMAPHORE_H
#define ZVSUPPORT_LANG_SEMAPHORE_H

#include "core/sync.h"
#include "lang/sync_object.h"

namespace ZVCL {

class CZvSemaphore final : public CZvSyncObject {
public:
    // initialCount: 0 to zv::core::kSemaphoreMaximum units. With zv::core::kSemaphoreShared in the
    // flags the semaphore of that name is opened if it exists, whatever its count. Throws
    // EZvResultException with the core semaphore's code.
    explicit CZvSemaphore(std::int32_t initialCount = 0, const char* name = nullptr,
                          std::uint32_t flags = 0);

    // Take one unit.
    void acquire() override;
    bool tryAcquire() override;
    // Gives one unit back. Throws EZvResultException, kFail, beyond the maximum.
    virtual void release();

private:
    zv::core::UniqueSync handle;
};

} // namespace ZVCL

#endif
