// The two process-wide flags that tell whether the system is of the NT family. Both are set at
// process attach, before any other thread uses the library, and only read afterwards.
#ifndef ZVSUPPORT_CORE_PLATFORM_FLAGS_H
#define ZVSUPPORT_CORE_PLATFORM_FLAGS_H

#include <cstdint>

namespace zv::core {

// Set by the core layer's start-up; chooses the wide-call table and the mutex provider.
extern std::int32_t g_bCoreNT;
// Set by the library's start-up, after both layers are up.
extern std::int32_t g_bPlatformNT;

} // namespace zv::core

#endif
