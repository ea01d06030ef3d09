// The library's own part of the compiler's thread support.
#ifndef ZVSUPPORT_PLATFORM_WINDOWS_RUN_TIME_THREADS_H
#define ZVSUPPORT_PLATFORM_WINDOWS_RUN_TIME_THREADS_H

namespace zv::platform::windows {

// Gives back the slots and every thread's values: when the library is unloaded, after everything
// else. One thread; a later use starts afresh.
void releaseRunTimeThreads() noexcept;

} // namespace zv::platform::windows

#endif
