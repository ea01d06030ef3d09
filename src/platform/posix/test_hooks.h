// What tests may change about the system that the stand-in shows.
#ifndef ZVSUPPORT_PLATFORM_POSIX_TEST_HOOKS_H
#define ZVSUPPORT_PLATFORM_POSIX_TEST_HOOKS_H

#include "platform/win32.h"

namespace zv::platform::posix {

// The family that GetVersionEx answers from now on, in every thread: VER_PLATFORM_NT (as in a
// new process) or VER_PLATFORM_WINDOWS.
void setPlatformId(DWORD platformId) noexcept;

} // namespace zv::platform::posix

#endif
