// Gives back all that the stand-in holds for the process: at unload, after the library has let go
// of everything. A call of the stand-in that comes later starts afresh.
#ifndef ZVSUPPORT_PLATFORM_POSIX_TEARDOWN_H
#define ZVSUPPORT_PLATFORM_POSIX_TEARDOWN_H

namespace zv::platform::posix {

// One thread, with no call of the stand-in under way.
void releaseAll() noexcept;

} // namespace zv::platform::posix

#endif
