// Files of the core layer: opened by flags, by wide path. Every function answers a result code and
// throws nothing; Windows errors are mapped by ResultFromWin32Error.
#ifndef ZVSUPPORT_CORE_FILES_H
#define ZVSUPPORT_CORE_FILES_H

#include "core/handle.h"
#include "core/result.h"

#include <cstdint>

namespace zv::core {

inline constexpr std::uint32_t kFileRead = 0x80000000;
inline constexpr std::uint32_t kFileWrite = 0x40000000;
inline constexpr std::uint32_t kFileCreate = 0x100;
inline constexpr std::uint32_t kFileTruncate = 0x200;
inline constexpr std::uint32_t kFileExclusive = 0x400; // only with kFileCreate
inline constexpr std::uint32_t kFileWriteThrough = 0x1000;
inline constexpr std::uint32_t kFileTemporary = 0x40; // deleted when closed
inline constexpr std::uint32_t kFileAppend = 0x8;     // positioned at the end after opening

// The room that a path takes at most, in characters, terminator included.
inline constexpr std::uint32_t kFilePathCapacity = 260;

// Opens a file. 0, or kFileCreated when it was not there before; handle is kNoHandle unless the
// open succeeded. mode is a POSIX permission mask of which only the write bits (octal 0222) count:
// a file created without any is read-only. A temporary file with a null or empty path gets a name
// of its own. kInvalidArgument for a path of kFilePathCapacity characters or more, for a null path
// without kFileTemporary, and for kFileExclusive without kFileCreate. When positioning at the end
// fails the code is answered and the handle stays open.
ResultCode ZvFileOpen(const char16_t* path, std::uint32_t flags, std::uint32_t mode,
                      Handle& handle) noexcept;
// A new, empty, uniquely named file in the temporary folder; result has room for kFilePathCapacity.
ResultCode ZvTempFileName(char16_t* result) noexcept;
ResultCode ZvFileClose(Handle handle) noexcept;
ResultCode ZvFileDelete(const char16_t* path) noexcept; // kFileNotFound when there is none

struct FileTraits {
    using Type = Handle;
    static constexpr Handle none() { return kNoHandle; }
    static void close(Handle file) { ZvFileClose(file); }
};
using UniqueFile = UniqueHandle<FileTraits>;

} // namespace zv::core

#endif
