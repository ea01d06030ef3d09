// Semaphores that the processes of one user share by name.
//
// Like the kernel objects that they stand for, they live as long as some process holds them open.
// When the last holder is gone, also by being killed, the next creation starts afresh.
//
// One difference is on purpose. Units of a semaphore have no owner, so where a process is killed
// that had taken one, the unit is lost for good; for a semaphore used as a lock this would stop
// every other host until all of them have ended. Here the units of a process that died, or that
// unloaded the library, come back, as long as the semaphore is used as a lock: no process ever
// released more than it had taken. Closing the last handle keeps to the rule of the original: what
// was taken stays taken.
//
// How it works stands above the state's declaration in named_semaphore.cpp.
#ifndef ZVSUPPORT_PLATFORM_POSIX_NAMED_SEMAPHORE_H
#define ZVSUPPORT_PLATFORM_POSIX_NAMED_SEMAPHORE_H

#include "platform/posix/sync.h"

#include <memory>

namespace zv::platform::posix {

// The semaphore of that name (not empty), for one more handle; *existed tells whether some process,
// this one included, held it open, in which case the counts are ignored. Null on failure, with the
// last error: 4 too many processes hold it open, 5 the name belongs to another user, 112 no room
// for the state, 31 the state is damaged and in use. Throws std::bad_alloc. Any thread.
//
// After fork() the child's handles are openings of its own, made at their first use.
std::shared_ptr<SemaphoreObject> openNamedSemaphore(const char* name, LONG initialCount,
                                                    LONG maximumCount, bool* existed);

// Lets go of every named semaphore as a killed process would: what this process holds comes back to
// the others (see above). Handles that are left answer error 6 until they are closed. One thread,
// no call under way.
void abandonNamedSemaphores() noexcept;

} // namespace zv::platform::posix

#endif
