#include "platform/posix/file_seam.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace zv::platform::posix::seam {
namespace {

constinit std::atomic<Hook> currentHook{nullptr};

Verdict ask(FileCall call, const char* what) {
    const Hook hook = currentHook.load(std::memory_order_acquire);
    return hook != nullptr ? hook(call, what) : Verdict{};
}

template <typename Call>
auto retried(Call call) {
    auto answer = call();
    while (answer == -1 && errno == EINTR)
        answer = call();
    return answer;
}

// A call that happens whole or not at all; it answers -1 when it fails.
template <typename Call>
auto whole(FileCall kind, const char* what, Call call) -> decltype(call()) {
    const Verdict verdict = ask(kind, what);
    const bool prevented = verdict.error != 0 || (verdict.exitAfter && verdict.limit == 0);
    decltype(call()) answer = -1;
    if (prevented)
        errno = verdict.error;
    else
        answer = retried(call);
    if (verdict.exitAfter)
        _exit(kExitStatus);
    return answer;
}

// A read: one system call, cut at the verdict's limit.
template <typename Call>
ssize_t input(std::size_t size, Call call) {
    const Verdict verdict = ask(FileCall::Read, "");
    ssize_t answer = -1;
    if (verdict.error != 0)
        errno = verdict.error;
    else
        answer = retried([&] { return call(std::min(size, verdict.limit)); });
    if (verdict.exitAfter)
        _exit(kExitStatus);
    return answer;
}

// A write: as many system calls as it takes, up to the verdict's limit.
template <typename Call>
ssize_t output(std::size_t size, Call call) {
    const Verdict verdict = ask(FileCall::Write, "");
    std::size_t allowed = std::min(size, verdict.limit);
    if (verdict.error != 0 && verdict.limit == SIZE_MAX)
        allowed = 0;
    std::size_t done = 0;
    int error = verdict.error != 0 ? verdict.error : (allowed < size ? ENOSPC : 0);
    while (done < allowed) {
        const ssize_t moved = retried([&] { return call(done, allowed - done); });
        if (moved <= 0) {
            error = moved < 0 ? errno : ENOSPC;
            break;
        }
        done += static_cast<std::size_t>(moved);
    }
    if (verdict.exitAfter)
        _exit(kExitStatus);
    const bool failed = done < size || verdict.error != 0;
    if (failed)
        errno = error;
    return failed && done == 0 ? -1 : static_cast<ssize_t>(done);
}

std::string folderOf(const char* path) {
    const std::string text(path);
    const std::size_t slash = text.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : text.substr(0, slash);
}

int renameKeepingTarget(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    // A file system without that flag: a second name refuses to replace as well, for files.
    return link(from, to) == 0 ? unlink(from) : -1;
}

} // namespace

void setHook(Hook hook) {
    currentHook.store(hook, std::memory_order_release);
}

int openFile(const char* path, int flags, mode_t mode) {
    return whole(FileCall::Open, path, [&] { return open(path, flags | O_CLOEXEC, mode); });
}

ssize_t readAt(int file, void* buffer, std::size_t size, off_t offset) {
    return input(size, [&](std::size_t count) { return pread(file, buffer, count, offset); });
}

ssize_t readFrom(int file, void* buffer, std::size_t size) {
    return input(size, [&](std::size_t count) { return read(file, buffer, count); });
}

ssize_t writeAt(int file, const void* data, std::size_t size, off_t offset) {
    return output(size, [&](std::size_t done, std::size_t count) {
        return pwrite(file, static_cast<const char*>(data) + done, count,
                      offset + static_cast<off_t>(done));
    });
}

ssize_t writeTo(int file, const void* data, std::size_t size) {
    return output(size, [&](std::size_t done, std::size_t count) {
        return write(file, static_cast<const char*>(data) + done, count);
    });
}

bool flushFile(int file) {
    return whole(FileCall::Flush, "", [&] { return fsync(file); }) == 0;
}

bool flushFolderOf(const char* path) {
    return whole(FileCall::Flush, path, [&] {
               const std::string folder = folderOf(path);
               const int file = retried(
                   [&] { return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
               if (file < 0)
                   return -1;
               int answer = retried([&] { return fsync(file); });
               const int error = errno;
               // Some file systems keep their folders safe by themselves and refuse the call.
               if (answer != 0 && error == EINVAL)
                   answer = 0;
               close(file);
               errno = error;
               return answer;
           }) == 0;
}

bool renameFile(const char* from, const char* to, bool replace) {
    return whole(FileCall::Rename, to,
                 [&] { return replace ? rename(from, to) : renameKeepingTarget(from, to); }) == 0;
}

bool truncateFile(int file, off_t size) {
    return whole(FileCall::Truncate, "", [&] { return ftruncate(file, size); }) == 0;
}

bool unlinkFile(const char* path) {
    return whole(FileCall::Unlink, path, [&] { return unlink(path); }) == 0;
}

bool makeFolder(const char* path, mode_t mode) {
    return whole(FileCall::MakeFolder, path, [&] { return mkdir(path, mode); }) == 0;
}

bool removeFolder(const char* path) {
    return whole(FileCall::RemoveFolder, path, [&] { return rmdir(path); }) == 0;
}

bool setOwner(int file, uid_t user, gid_t group) {
    return whole(FileCall::SetMode, "", [&] { return fchown(file, user, group); }) == 0;
}

bool setMode(int file, mode_t mode) {
    return whole(FileCall::SetMode, "", [&] { return fchmod(file, mode); }) == 0;
}

bool lockRange(int file, LockKind kind, off_t start, off_t length, bool wait) {
    struct flock range {};
    range.l_type = static_cast<short>(kind == LockKind::Shared      ? F_RDLCK
                                      : kind == LockKind::Exclusive ? F_WRLCK
                                                                    : F_UNLCK);
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    const int command = wait ? F_OFD_SETLKW : F_OFD_SETLK;
    if (whole(FileCall::Lock, "", [&] { return fcntl(file, command, &range); }) == 0)
        return true;
    if (errno == EACCES)
        errno = EAGAIN;
    return false;
}

} // namespace zv::platform::posix::seam
