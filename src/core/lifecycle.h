// What happens when a process loads and unloads the library: the order in which the core layer, the
// class library and the module manager come up and go down.
//
// All of this runs under the system's loader lock, in one thread at a time.
#ifndef ZVSUPPORT_CORE_LIFECYCLE_H
#define ZVSUPPORT_CORE_LIFECYCLE_H

#include "core/result.h"
#include "platform/win32.h"

extern "C" {

// The library's entry point. Attach brings everything up and registers the module; detach does the
// reverse; any other reason does nothing. Always TRUE: a failure in here surfaces as the code that
// the exported functions answer.
BOOL ZV_SYSTEM_CALL DllMain(HINSTANCE instance, DWORD reason, void* reserved);

} // extern "C"

namespace zv::core {

// The COM task allocator while the core layer is started, null otherwise.
extern IMalloc* g_pTaskAllocator;

// Both layers and g_bPlatformNT. May throw.
void ZvLibraryInitialize();
void ZvLibraryTerminate();

// Counted: only the first start builds and only the last stop tears down. A failure in building the
// global data is kept for CoreStartResult; the layer counts as started all the same.
void ZvCoreInitialize();
// kFail when nothing was started.
ResultCode ZvCoreTerminate() noexcept;

// What became of the global data at the core layer's last start: 0, or the failure's code. kFail
// while the layer is not started. The exported functions answer it instead of doing anything.
ResultCode CoreStartResult() noexcept;

} // namespace zv::core

#endif
