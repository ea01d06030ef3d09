// What the kinds of semaphore have in common.
#ifndef ZVSUPPORT_PLATFORM_POSIX_SYNC_H
#define ZVSUPPORT_PLATFORM_POSIX_SYNC_H

#include "platform/posix/handles.h"

namespace zv::platform::posix {

class SemaphoreObject : public HandleObject {
public:
    // As ReleaseSemaphore, last error included. count is 1 or more; previousCount may be null.
    virtual BOOL release(LONG count, LONG* previousCount) = 0;
};

} // namespace zv::platform::posix

#endif
