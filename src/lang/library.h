// Start-up and shut-down of the class library.
//
// Both run under the system's loader lock, in one thread at a time; the allocation-failure handler
// that they set and put back is the calling thread's.
#ifndef ZVSUPPORT_LANG_LIBRARY_H
#define ZVSUPPORT_LANG_LIBRARY_H

#include "core/result.h"
#include "lang/mutex.h"

namespace ZVCL {

// Guards the creation and the destruction of the class table and of the charset registry. Null
// while the class library is not started.
extern CZvMutex* g_pGlobalLock;

// Counted: only the first start builds. A failure answers its code and leaves what was built for
// the matching ZvclTerminate; the start counts all the same.
zv::core::ResultCode ZvclInitialize() noexcept;
// Only the last stop tears down. kFail when nothing was started.
zv::core::ResultCode ZvclTerminate() noexcept;

} // namespace ZVCL

#endif
