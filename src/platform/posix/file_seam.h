// Every file call of the stand-in goes through here, so that tests can make the n-th one fail, cut
// it short or end the process in front of it. (Calls that only look, such as stat, and positioning
// are made directly.)
//
// Without a hook (the normal state) each function is the system call of the same name, retried when
// a signal interrupted it. A hook is set by tests alone, before the threads that it concerns start.
//
// Errors: as the system call, -1 (or false) and errno.
#ifndef ZVSUPPORT_PLATFORM_POSIX_FILE_SEAM_H
#define ZVSUPPORT_PLATFORM_POSIX_FILE_SEAM_H

#include <cstddef>
#include <cstdint>

#include <sys/stat.h>
#include <sys/types.h>

namespace zv::platform::posix::seam {

enum class FileCall {
    Open,
    Read,
    Write,
    Flush,
    Rename,
    Truncate,
    Unlink,
    Lock,
    MakeFolder,
    RemoveFolder,
    SetMode
};

// The status of a process that a hook ended.
inline constexpr int kExitStatus = 99;

// What a hook decides about one call.
struct Verdict {
    // Not 0: the call fails with this errno and does nothing, but a write first moves `limit` bytes
    // when that is set.
    int error = 0;
    // A write or read moves at most this many bytes. A write that is cut without an error leaves
    // ENOSPC in errno.
    std::size_t limit = SIZE_MAX;
    // The process ends (as if killed) right after the limited call; with a limit of 0 or an error,
    // in front of it.
    bool exitAfter = false;
};

// Called in front of each call; what names the file (its path, the new path of a rename, or "" for
// an open descriptor).
using Hook = Verdict (*)(FileCall call, const char* what);

// Null restores the normal state. Not synchronised with calls under way.
void setHook(Hook hook);

int openFile(const char* path, int flags, mode_t mode = 0666); // close-on-exec is always added
ssize_t readAt(int file, void* buffer, std::size_t size, off_t offset); // pread; 0 at the end
ssize_t readFrom(int file, void* buffer, std::size_t size);             // read
// Writes all of it unless a call fails or a hook limits it; answers the bytes written, which is
// less than size only when errno says why, or -1 when nothing was written.
ssize_t writeAt(int file, const void* data, std::size_t size, off_t offset);
ssize_t writeTo(int file, const void* data, std::size_t size);
bool flushFile(int file);             // fsync
bool flushFolderOf(const char* path); // fsync of the folder that holds path; counts as Flush
bool renameFile(const char* from, const char* to, bool replace); // replace false: EEXIST if there
bool truncateFile(int file, off_t size);
bool unlinkFile(const char* path);
bool makeFolder(const char* path, mode_t mode = 0777);
bool removeFolder(const char* path);
bool setOwner(int file, uid_t user, gid_t group); // fchown; -1 leaves that one as it is
bool setMode(int file, mode_t mode);              // fchmod

enum class LockKind { Shared, Exclusive, Unlock };
// An open-file-description lock on bytes [start, start + length) of file: it belongs to this
// opening of the file, is shared with no other descriptor of the process, and goes with it, also
// when the process is killed. wait false: EAGAIN when somebody else holds it.
bool lockRange(int file, LockKind kind, off_t start, off_t length, bool wait);

} // namespace zv::platform::posix::seam

#endif
