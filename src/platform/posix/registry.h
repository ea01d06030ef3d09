// The registry on Linux: the Reg* calls of platform/win32.h and core/wide_calls.h, answered from
// the user's hive file (docs/hive.md has its format and how several processes share it).
//
// Nothing is opened before the first call. Any thread may make any call; one mutex of the process
// stands around them all.
#ifndef ZVSUPPORT_PLATFORM_POSIX_REGISTRY_H
#define ZVSUPPORT_PLATFORM_POSIX_REGISTRY_H

namespace zv::platform::posix {

// Closes the hive and frees all that belongs to it, open keys included: their handles are invalid
// afterwards (error 6). The next call opens the hive anew, where XDG_DATA_HOME then points.
void closeRegistry() noexcept;

} // namespace zv::platform::posix

#endif
