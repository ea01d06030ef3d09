#include "platform/posix/teardown.h"

#include "platform/posix/code_pages.h"
#include "platform/posix/handles.h"
#include "platform/posix/named_semaphore.h"
#include "platform/posix/registry.h"

namespace zv::platform::posix {

void releaseAll() noexcept {
    closeRegistry();
    abandonNamedSemaphores();
    releaseHandles();
    releaseCodePages();
}

} // namespace zv::platform::posix
