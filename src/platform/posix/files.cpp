// Files and folders. Paths are the system's own ("/" separates) and are taken as they are, but for
// those that begin with a network drive; narrow names are the bytes of the path. Share modes are
// not enforced: files are open to everybody, and callers that need more take a lock of their own.
#include "platform/posix/code_pages.h"
#include "platform/posix/file_seam.h"
#include "platform/posix/handles.h"
#include "platform/posix/network_drives.h"
#include "platform/posix/wide_functions.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace zv::platform::posix;

namespace {

constexpr DWORD kBufferOverflow = 111;
constexpr DWORD kNoSuchFolder = 267;

constexpr mode_t kWriteBits = 0222;
constexpr mode_t kModeBits = 07777;

// ---------------------------------------------------------------------------------------------
// Common ground

std::string_view folderOf(std::string_view path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string_view::npos)
        return {};
    return path.substr(0, std::max<std::size_t>(slash, 1));
}

// The last error for a path that a call refused: a missing folder is told from a missing file.
void setPathError(int number, const char* path) {
    if (number == ENOENT) {
        const std::string folder(folderOf(path));
        struct stat status {};
        if (*path == 0 || (!folder.empty() && stat(folder.c_str(), &status) != 0)) {
            SetLastError(ERROR_PATH_NOT_FOUND);
            return;
        }
    }
    setErrorFromErrno(number);
}

template <typename Answer>
Answer pathFailure(const char* path, Answer failure) {
    const int number = errno;
    setPathError(number, path);
    return failure;
}

// A wide name as bytes; nothing, with the last error, when there is no such name.
std::optional<std::string> pathFrom(const char16_t* wide) {
    if (wide == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return std::nullopt;
    }
    std::string path;
    if (!narrowExactly(wide, &path)) {
        SetLastError(ERROR_INVALID_NAME);
        return std::nullopt;
    }
    return path;
}

// The frame of a wide call that does its narrow twin's work on the narrowed path.
template <typename Answer, typename Twin>
Answer onNarrowed(const char16_t* path, Answer failure, Twin twin) {
    return guarded(failure, [&] {
        const auto narrowed = pathFrom(path);
        return narrowed ? twin(narrowed->c_str()) : failure;
    });
}

// Gives a text to a caller's buffer: the length, or the room needed when it is too small.
template <typename Char>
DWORD giveText(const std::basic_string<Char>& text, DWORD size, Char* buffer) {
    const auto length = static_cast<DWORD>(text.size());
    if (buffer == nullptr || length >= size)
        return length + 1;
    std::copy_n(text.c_str(), text.size() + 1, buffer);
    return length;
}

FILETIME fileTime(const timespec& time) {
    constexpr std::int64_t secondsFrom1601To1970 = 11'644'473'600;
    const auto ticks = static_cast<std::uint64_t>(
        (time.tv_sec + secondsFrom1601To1970) * 10'000'000 + time.tv_nsec / 100);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

DWORD attributesOf(const struct stat& status) {
    DWORD attributes = 0;
    if ((status.st_mode & kWriteBits) == 0)
        attributes |= FILE_ATTRIBUTE_READONLY;
    if (S_ISDIR(status.st_mode))
        attributes |= FILE_ATTRIBUTE_DIRECTORY;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

DWORD highPart(std::uint64_t value) {
    return static_cast<DWORD>(value >> 32);
}
DWORD lowPart(std::uint64_t value) {
    return static_cast<DWORD>(value);
}

// ---------------------------------------------------------------------------------------------
// Open files

// Where an open file is now; empty when it has no name any more, or none that leads to it.
std::string currentPathOf(int file) {
    char link[40];
    (void)std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    char path[PATH_MAX];
    const ssize_t length = readlink(link, path, sizeof path);
    if (length <= 0 || length == sizeof path)
        return {};
    std::string text(path, static_cast<std::size_t>(length));
    struct stat opened {};
    struct stat named {};
    const bool same = fstat(file, &opened) == 0 && lstat(text.c_str(), &named) == 0 &&
                      opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    return same ? text : std::string();
}

class File : public HandleObject {
public:
    File(int owned, bool isTemporary) : file(owned), temporary(isTemporary) {}
    ~File() override {
        if (temporary)
            removeName();
        close(file);
    }
    int descriptor() const { return file; }

private:
    void removeName() noexcept {
        try {
            const std::string path = currentPathOf(file);
            if (!path.empty())
                seam::unlinkFile(path.c_str());
        } catch (...) { // no memory for the name: the file stays
        }
    }

    const int file;
    const bool temporary;
};

// Closes a descriptor that no File owns yet.
class Descriptor {
public:
    explicit Descriptor(int owned) : file(owned) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        const int error = errno;
        if (file >= 0)
            close(file);
        errno = error;
    }
    int get() const { return file; }
    int release() { return std::exchange(file, -1); }

private:
    int file;
};

// Opens an existing file or makes one, telling which; OPEN_ALWAYS and CREATE_ALWAYS. Between the
// two tries the file may come or go.
int openOrCreate(const char* path, int flags, mode_t mode, bool* existed) {
    for (int tries = 0; tries < 8; ++tries) {
        *existed = true;
        int file = seam::openFile(path, flags);
        if (file >= 0 || errno != ENOENT)
            return file;
        *existed = false;
        file = seam::openFile(path, flags | O_CREAT | O_EXCL, mode);
        if (file >= 0 || errno != EEXIST)
            return file;
    }
    // What is there and is not is a symbolic link to a file yet to be made.
    return seam::openFile(path, flags | O_CREAT, mode);
}

int accessMode(DWORD access) {
    if ((access & GENERIC_WRITE) == 0)
        return O_RDONLY;
    return (access & GENERIC_READ) != 0 ? O_RDWR : O_WRONLY;
}

} // namespace

HANDLE CreateFileA(const char* name, DWORD access, DWORD, SECURITY_ATTRIBUTES*, DWORD disposition,
                   DWORD flags, HANDLE) {
    return guarded(INVALID_HANDLE_VALUE, [&] {
        const SystemPath path(name);
        const bool truncatesReadOnly =
            disposition == TRUNCATE_EXISTING && (access & GENERIC_WRITE) == 0;
        if (path == nullptr || disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING ||
            truncatesReadOnly)
            return failWith(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);

        // A temporary file is its maker's alone: it may hold what is to become a private file.
        mode_t mode = (flags & FILE_ATTRIBUTE_TEMPORARY) != 0 ? 0600 : 0666;
        if ((flags & FILE_ATTRIBUTE_READONLY) != 0)
            mode &= 0444;
        int openFlags = accessMode(access) | O_NOCTTY;
        if ((flags & FILE_FLAG_WRITE_THROUGH) != 0)
            openFlags |= O_DSYNC;
        if (disposition == TRUNCATE_EXISTING || disposition == CREATE_ALWAYS)
            openFlags |= O_TRUNC;

        const bool always = disposition == OPEN_ALWAYS || disposition == CREATE_ALWAYS;
        bool existed = true;
        int opened = -1;
        if (always)
            opened = openOrCreate(path, openFlags, mode, &existed);
        else if (disposition == CREATE_NEW)
            opened = seam::openFile(path, openFlags | O_CREAT | O_EXCL, mode);
        else
            opened = seam::openFile(path, openFlags);
        Descriptor file(opened);
        if (file.get() < 0)
            return pathFailure(path, INVALID_HANDLE_VALUE);

        struct stat status {};
        if (fstat(file.get(), &status) != 0)
            return pathFailure(path, INVALID_HANDLE_VALUE);
        if (S_ISDIR(status.st_mode))
            return failWith(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);

        const bool temporary = (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0;
        auto object = std::make_shared<File>(file.get(), temporary);
        file.release();
        const HANDLE handle = newHandle(std::move(object));
        SetLastError(always && existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return handle;
    });
}

BOOL ReadFile(HANDLE handle, void* buffer, DWORD size, DWORD* transferred, void* overlapped) {
    if (transferred != nullptr)
        *transferred = 0;
    const auto file = objectOf<File>(handle);
    if (file == nullptr)
        return FALSE;
    if (transferred == nullptr || overlapped != nullptr)
        return failWith(ERROR_INVALID_PARAMETER, FALSE);
    const ssize_t moved = seam::readFrom(file->descriptor(), buffer, size);
    if (moved < 0) {
        // The descriptor is open, so a bad one means a file that was not opened for reading.
        if (errno == EBADF)
            return failWith(ERROR_ACCESS_DENIED, FALSE);
        setErrorFromErrno(errno, ERROR_READ_FAULT);
        return FALSE;
    }
    *transferred = static_cast<DWORD>(moved);
    return TRUE;
}

BOOL WriteFile(HANDLE handle, const void* buffer, DWORD size, DWORD* transferred,
               void* overlapped) {
    if (transferred != nullptr)
        *transferred = 0;
    const auto file = objectOf<File>(handle);
    if (file == nullptr)
        return FALSE;
    if (transferred == nullptr || overlapped != nullptr)
        return failWith(ERROR_INVALID_PARAMETER, FALSE);
    const ssize_t moved = seam::writeTo(file->descriptor(), buffer, size);
    *transferred = moved > 0 ? static_cast<DWORD>(moved) : 0;
    if (moved == static_cast<ssize_t>(size))
        return TRUE;
    if (errno == EBADF)
        return failWith(ERROR_ACCESS_DENIED, FALSE);
    setErrorFromErrno(errno, ERROR_WRITE_FAULT);
    return FALSE;
}

BOOL FlushFileBuffers(HANDLE handle) {
    const auto file = objectOf<File>(handle);
    if (file == nullptr)
        return FALSE;
    if (seam::flushFile(file->descriptor()))
        return TRUE;
    setErrorFromErrno(errno, ERROR_WRITE_FAULT);
    return FALSE;
}

DWORD SetFilePointer(HANDLE handle, LONG distance, LONG* distanceHigh, DWORD origin) {
    constexpr DWORD failure = 0xFFFFFFFF;
    const auto file = objectOf<File>(handle);
    if (file == nullptr)
        return failure;
    constexpr int origins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (origin > FILE_END)
        return failWith(ERROR_INVALID_PARAMETER, failure);
    std::int64_t offset = distance;
    if (distanceHigh != nullptr)
        offset = static_cast<std::int64_t>(*distanceHigh) * 0x100000000 +
                 static_cast<std::uint32_t>(distance);
    const off_t position = lseek(file->descriptor(), offset, origins[origin]);
    if (position < 0) {
        if (errno == EINVAL)
            SetLastError(ERROR_NEGATIVE_SEEK);
        else
            setErrorFromErrno(errno);
        return failure;
    }
    const auto place = static_cast<std::uint64_t>(position);
    if (distanceHigh != nullptr)
        *distanceHigh = static_cast<LONG>(highPart(place));
    if (lowPart(place) == failure) // a position that looks like a failure
        SetLastError(ERROR_SUCCESS);
    return lowPart(place);
}

BOOL GetFileInformationByHandle(HANDLE handle, BY_HANDLE_FILE_INFORMATION* info) {
    const auto file = objectOf<File>(handle);
    if (file == nullptr)
        return FALSE;
    struct stat status {};
    if (fstat(file->descriptor(), &status) != 0) {
        setErrorFromErrno(errno);
        return FALSE;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    *info = BY_HANDLE_FILE_INFORMATION{};
    info->dwFileAttributes = attributesOf(status);
    info->ftLastAccessTime = fileTime(status.st_atim);
    info->ftLastWriteTime = fileTime(status.st_mtim);
    info->dwVolumeSerialNumber = lowPart(status.st_dev) ^ highPart(status.st_dev);
    info->nFileSizeHigh = highPart(size);
    info->nFileSizeLow = lowPart(size);
    info->nNumberOfLinks = static_cast<DWORD>(status.st_nlink);
    // A file system may give a freed inode's number to the next file at once; the generation tells
    // the two apart where there is one.
    std::uint32_t generation = 0;
    if (ioctl(file->descriptor(), FS_IOC_GETVERSION, &generation) != 0)
        generation = 0;
    info->nFileIndexHigh = highPart(status.st_ino) ^ generation;
    info->nFileIndexLow = lowPart(status.st_ino);
    return TRUE;
}

DWORD GetFinalPathNameByHandleA(HANDLE handle, char* path, DWORD size, DWORD flags) {
    return guarded<DWORD>(0, [&]() -> DWORD {
        const auto file = objectOf<File>(handle);
        if (file == nullptr)
            return 0;
        if (flags != 0)
            return failWith<DWORD>(ERROR_INVALID_PARAMETER, 0);
        const std::string current = currentPathOf(file->descriptor());
        if (current.empty())
            return failWith<DWORD>(ERROR_FILE_NOT_FOUND, 0);
        return giveText(current, size, path);
    });
}

// ---------------------------------------------------------------------------------------------
// Names

BOOL DeleteFileA(const char* name) {
    return guarded(FALSE, [&] {
        const SystemPath path(name);
        if (path == nullptr)
            return failWith(ERROR_INVALID_PARAMETER, FALSE);
        return seam::unlinkFile(path) ? TRUE : pathFailure(path, FALSE);
    });
}

BOOL CreateDirectoryA(const char* name, SECURITY_ATTRIBUTES*) {
    return guarded(FALSE, [&] {
        const SystemPath path(name);
        if (path == nullptr)
            return failWith(ERROR_INVALID_PARAMETER, FALSE);
        if (seam::makeFolder(path))
            return TRUE;
        if (errno == EEXIST)
            return failWith(ERROR_ALREADY_EXISTS, FALSE);
        if (errno == ENOENT) // of a name to be made, only the folder can be missing
            return failWith(ERROR_PATH_NOT_FOUND, FALSE);
        return pathFailure(path, FALSE);
    });
}

BOOL RemoveDirectoryA(const char* name) {
    return guarded(FALSE, [&] {
        const SystemPath path(name);
        if (path == nullptr)
            return failWith(ERROR_INVALID_PARAMETER, FALSE);
        if (seam::removeFolder(path))
            return TRUE;
        if (errno == EEXIST) // the other name of ENOTEMPTY
            return failWith(ERROR_DIR_NOT_EMPTY, FALSE);
        if (errno == ENOTDIR)
            return failWith(kNoSuchFolder, FALSE);
        return pathFailure(path, FALSE);
    });
}

namespace {

// Makes sure of a rename: the folder that got the name, and the one that lost it if another.
bool flushFolders(const char* from, const char* to) {
    return seam::flushFolderOf(to) && (folderOf(from) == folderOf(to) || seam::flushFolderOf(from));
}

BOOL flushFailure() {
    setErrorFromErrno(errno, ERROR_WRITE_FAULT);
    return FALSE;
}

// Gives a new file the mode and, where allowed, the owner of the one whose place it takes. A group
// that cannot be kept must not hand its rights to another: it gets what everybody has.
bool takeOver(int file, const struct stat& replaced) {
    struct stat status {};
    if (fstat(file, &status) != 0)
        return false;
    mode_t mode = replaced.st_mode & kModeBits;
    if (status.st_uid != replaced.st_uid || status.st_gid != replaced.st_gid) {
        const bool kept = seam::setOwner(file, replaced.st_uid, replaced.st_gid) ||
                          seam::setOwner(file, static_cast<uid_t>(-1), replaced.st_gid);
        if (!kept && status.st_gid != replaced.st_gid)
            mode = (mode & ~mode_t{070}) | (mode & 07) << 3;
    }
    return (status.st_mode & kModeBits) == mode || seam::setMode(file, mode);
}

} // namespace

BOOL MoveFileExA(const char* oldName, const char* newName, DWORD flags) {
    return guarded(FALSE, [&] {
        const SystemPath from(oldName);
        const SystemPath to(newName);
        constexpr DWORD known = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
        if (from == nullptr || to == nullptr || (flags & ~known) != 0)
            return failWith(ERROR_INVALID_PARAMETER, FALSE);
        if (!seam::renameFile(from, to, (flags & MOVEFILE_REPLACE_EXISTING) != 0)) {
            if (errno == EEXIST)
                return failWith(ERROR_ALREADY_EXISTS, FALSE);
            const int error = errno;
            struct stat status {};
            const bool hasSource = lstat(from, &status) == 0;
            if (error == ENOENT && hasSource)
                return failWith(ERROR_PATH_NOT_FOUND, FALSE);
            setPathError(error, from);
            return FALSE;
        }
        const bool flushed = (flags & MOVEFILE_WRITE_THROUGH) == 0 || flushFolders(from, to);
        return flushed ? TRUE : flushFailure();
    });
}

BOOL ReplaceFileA(const char* oldName, const char* newName, const char* backup, DWORD flags,
                  void* exclude, void* reserved) {
    return guarded(FALSE, [&] {
        const SystemPath replaced(oldName);
        const SystemPath replacement(newName);
        if (replaced == nullptr || replacement == nullptr || backup != nullptr || flags != 0 ||
            exclude != nullptr || reserved != nullptr)
            return failWith(ERROR_INVALID_PARAMETER, FALSE);
        // The file that a symbolic link leads to is replaced, not the link.
        char target[PATH_MAX];
        struct stat status {};
        if (realpath(replaced, target) == nullptr || stat(target, &status) != 0)
            return pathFailure(replaced, FALSE);
        if (!S_ISREG(status.st_mode))
            return failWith(ERROR_ACCESS_DENIED, FALSE);
        const Descriptor file(seam::openFile(replacement, O_RDONLY | O_NOFOLLOW | O_NONBLOCK));
        if (file.get() < 0)
            return pathFailure(replacement, FALSE);
        if (!takeOver(file.get(), status) || !seam::flushFile(file.get()))
            return flushFailure();
        if (!seam::renameFile(replacement, target, true))
            return pathFailure(replacement, FALSE);
        // From here on a failure means that the new file is in place, but perhaps not for good.
        return flushFolders(replacement, target) ? TRUE : flushFailure();
    });
}

// ---------------------------------------------------------------------------------------------
// Searches

namespace {

// Whether a name matches a mask of "*" (any text) and "?" (any one byte).
bool matches(const char* mask, const char* name) {
    const char* star = nullptr;
    const char* resume = nullptr;
    while (*name != 0) {
        if (*mask == '*') {
            star = mask++;
            resume = name;
        } else if (*mask == '?' || *mask == *name) {
            ++mask;
            ++name;
        } else if (star != nullptr) {
            mask = star + 1;
            name = ++resume;
        } else {
            return false;
        }
    }
    while (*mask == '*')
        ++mask;
    return *mask == 0;
}

class Search : public HandleObject {
public:
    Search(DIR* owned, std::string wanted) : folder(owned), mask(std::move(wanted)) {}
    ~Search() override { closedir(folder); }
    bool endsByCloseHandle() const override { return false; }

    bool next(WIN32_FIND_DATAA* data) {
        const std::lock_guard lock(mutex);
        while (const dirent* entry = readdir(folder)) {
            struct stat status {};
            if (!matches(mask.c_str(), entry->d_name))
                continue;
            // A link is what it leads to, and itself when that is not there.
            if (fstatat(dirfd(folder), entry->d_name, &status, 0) != 0 &&
                fstatat(dirfd(folder), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
                continue;
            const auto size = static_cast<std::uint64_t>(status.st_size);
            *data = WIN32_FIND_DATAA{};
            data->dwFileAttributes = attributesOf(status);
            data->ftLastAccessTime = fileTime(status.st_atim);
            data->ftLastWriteTime = fileTime(status.st_mtim);
            data->nFileSizeHigh = highPart(size);
            data->nFileSizeLow = lowPart(size);
            static_assert(sizeof data->cFileName > NAME_MAX);
            std::memcpy(data->cFileName, entry->d_name, std::strlen(entry->d_name) + 1);
            return true;
        }
        return false;
    }

private:
    std::mutex mutex;
    DIR* const folder;
    const std::string mask;
};

} // namespace

HANDLE FindFirstFileA(const char* name, WIN32_FIND_DATAA* data) {
    return guarded(INVALID_HANDLE_VALUE, [&] {
        if (name == nullptr || data == nullptr)
            return failWith(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
        const SystemPath path(name);
        const char* const pattern = path;
        const std::string folder(folderOf(pattern));
        const char* slash = std::strrchr(pattern, '/');
        std::string mask = slash != nullptr ? slash + 1 : pattern;
        if (mask == "*.*") // the old way to say everything
            mask = "*";
        DIR* opened = opendir(folder.empty() ? "." : folder.c_str());
        if (opened == nullptr) {
            if (errno == ENOENT)
                return failWith(ERROR_PATH_NOT_FOUND, INVALID_HANDLE_VALUE);
            return pathFailure(pattern, INVALID_HANDLE_VALUE);
        }
        std::shared_ptr<Search> search;
        try {
            search = std::make_shared<Search>(opened, std::move(mask));
        } catch (...) {
            closedir(opened);
            throw;
        }
        if (!search->next(data))
            return failWith(ERROR_FILE_NOT_FOUND, INVALID_HANDLE_VALUE);
        return newHandle(std::move(search));
    });
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
    const auto search = objectOf<Search>(handle);
    if (search == nullptr)
        return FALSE;
    return search->next(data) ? TRUE : failWith(ERROR_NO_MORE_FILES, FALSE);
}

BOOL FindClose(HANDLE handle) {
    const ObjectPointer ended = takeHandle(handle, [](const HandleObject& object) {
        return dynamic_cast<const Search*>(&object) != nullptr;
    });
    return ended != nullptr ? TRUE : FALSE;
}

// ---------------------------------------------------------------------------------------------
// Full and temporary names

namespace {

// The folder that is current, or nothing with the last error.
std::optional<std::string> currentFolder() {
    char folder[PATH_MAX];
    if (getcwd(folder, sizeof folder) == nullptr) {
        setErrorFromErrno(errno);
        return std::nullopt;
    }
    return folder;
}

// The full path of a name, with "." and ".." taken out by their text alone; nothing, with the last
// error, for an empty name.
std::optional<std::string> fullPathOf(std::string_view name) {
    if (name.empty()) {
        SetLastError(ERROR_INVALID_NAME);
        return std::nullopt;
    }
    std::string whole(name);
    if (name.front() != '/') {
        const auto folder = currentFolder();
        if (!folder)
            return std::nullopt;
        whole = *folder + "/" + whole;
    }
    std::string path;
    bool endsInFolder = false;
    for (std::size_t at = 0; at < whole.size();) {
        const std::size_t end = std::min(whole.find('/', at), whole.size());
        const std::string_view part(whole.data() + at, end - at);
        endsInFolder = part.empty() || part == "." || part == "..";
        if (part == "..")
            path.resize(path.empty() ? 0 : path.find_last_of('/'));
        else if (!endsInFolder)
            path.append("/").append(part);
        at = end + 1;
    }
    if (path.empty() || (whole.back() == '/' && !path.ends_with('/')))
        path += '/';
    return path;
}

std::string temporaryFolder() {
    const char* chosen = getenv("TMPDIR");
    std::string folder = chosen != nullptr && *chosen == '/' ? chosen : "/tmp";
    if (!folder.ends_with('/'))
        folder += '/';
    return folder;
}

template <typename Char>
DWORD giveFullPath(const std::basic_string<Char>& path, DWORD size, Char* buffer, Char** filePart) {
    const DWORD answer = giveText(path, size, buffer);
    if (filePart != nullptr) {
        const std::size_t slash = path.find_last_of(static_cast<Char>('/'));
        const bool hasPart = answer == path.size() && slash + 1 < path.size();
        *filePart = hasPart ? buffer + slash + 1 : nullptr;
    }
    return answer;
}

std::string temporaryName(std::string_view folder, std::string_view prefix, UINT number) {
    char tail[20];
    (void)std::snprintf(tail, sizeof tail, "%X.tmp", number);
    std::string name(folder);
    if (!name.empty() && !name.ends_with('/'))
        name += '/';
    return name.append(prefix).append(tail);
}

// Makes an empty file of a name that nobody else has. Its number, or 0 with the last error.
UINT makeTemporaryFile(std::string_view folder, std::string_view prefix, std::string* name) {
    constexpr UINT numbers = 0xFFFF; // 1 to 65535
    UINT start = 0;
    if (getrandom(&start, sizeof start, 0) != sizeof start)
        start = static_cast<UINT>(getpid());
    for (UINT i = 0; i < numbers; ++i) {
        const UINT number = 1 + (start + i) % numbers;
        *name = temporaryName(folder, prefix, number);
        const Descriptor file(
            seam::openFile(name->c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0600));
        if (file.get() >= 0)
            return number;
        if (errno != EEXIST)
            return pathFailure<UINT>(name->c_str(), 0);
    }
    return failWith<UINT>(ERROR_FILE_EXISTS, 0);
}

// Of a prefix, three characters are used.
template <typename Char>
std::basic_string<Char> prefixFrom(const Char* prefix) {
    return prefix != nullptr ? std::basic_string<Char>(prefix).substr(0, 3)
                             : std::basic_string<Char>();
}

// Both twins: the name in bytes, its number or 0.
UINT temporaryFile(std::string_view folder, std::string_view prefix, UINT unique,
                   std::string* name) {
    // The prefix, 8 figures, ".tmp", a separator and the terminator must still fit.
    if (folder.size() + prefix.size() > MAX_PATH_LENGTH - 14)
        return failWith<UINT>(kBufferOverflow, 0);
    struct stat status {};
    const bool isThere = folder.empty() || (stat(std::string(folder).c_str(), &status) == 0 &&
                                            S_ISDIR(status.st_mode));
    if (!isThere)
        return failWith<UINT>(kNoSuchFolder, 0);
    if (unique == 0)
        return makeTemporaryFile(folder, prefix, name);
    *name = temporaryName(folder, prefix, unique);
    return unique;
}

} // namespace

DWORD GetFullPathNameA(const char* name, DWORD size, char* buffer, char** filePart) {
    return guarded<DWORD>(0, [&]() -> DWORD {
        if (name == nullptr)
            return failWith<DWORD>(ERROR_INVALID_PARAMETER, 0);
        const auto path = fullPathOf(name);
        return path ? giveFullPath(*path, size, buffer, filePart) : 0;
    });
}

DWORD GetTempPathA(DWORD size, char* buffer) {
    return guarded<DWORD>(0, [&] { return giveText(temporaryFolder(), size, buffer); });
}

UINT GetTempFileNameA(const char* path, const char* prefix, UINT unique, char* name) {
    return guarded<UINT>(0, [&]() -> UINT {
        if (path == nullptr || name == nullptr)
            return failWith<UINT>(ERROR_INVALID_PARAMETER, 0);
        std::string made;
        const UINT number = temporaryFile(path, prefixFrom(prefix), unique, &made);
        if (number != 0)
            giveText(made, MAX_PATH_LENGTH, name);
        return number;
    });
}

// ---------------------------------------------------------------------------------------------
// Wide twins

HANDLE CreateFileW(const char16_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
                   DWORD disposition, DWORD flags, HANDLE templateFile) {
    return onNarrowed(path, INVALID_HANDLE_VALUE, [&](const char* narrowed) {
        return CreateFileA(narrowed, access, share, attributes, disposition, flags, templateFile);
    });
}

BOOL DeleteFileW(const char16_t* path) {
    return onNarrowed(path, FALSE, DeleteFileA);
}

BOOL CreateDirectoryW(const char16_t* path, SECURITY_ATTRIBUTES* attributes) {
    return onNarrowed(path, FALSE,
                      [&](const char* narrowed) { return CreateDirectoryA(narrowed, attributes); });
}

BOOL RemoveDirectoryW(const char16_t* path) {
    return onNarrowed(path, FALSE, RemoveDirectoryA);
}

HANDLE FindFirstFileW(const char16_t* pattern, WIN32_FIND_DATAW* data) {
    return onNarrowed(pattern, INVALID_HANDLE_VALUE, [&](const char* narrowed) {
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA(narrowed, &found);
        if (search == INVALID_HANDLE_VALUE)
            return search;
        *data = WIN32_FIND_DATAW{};
        data->dwFileAttributes = found.dwFileAttributes;
        data->ftLastAccessTime = found.ftLastAccessTime;
        data->ftLastWriteTime = found.ftLastWriteTime;
        data->nFileSizeHigh = found.nFileSizeHigh;
        data->nFileSizeLow = found.nFileSizeLow;
        const std::u16string name = widen(found.cFileName);
        name.copy(data->cFileName, std::size(data->cFileName) - 1);
        return search;
    });
}

DWORD GetFullPathNameW(const char16_t* name, DWORD size, char16_t* buffer, char16_t** filePart) {
    return onNarrowed<DWORD>(name, 0, [&](const char* narrowed) -> DWORD {
        const auto path = fullPathOf(narrowed);
        return path ? giveFullPath(widen(*path), size, buffer, filePart) : 0;
    });
}

DWORD GetTempPathW(DWORD size, char16_t* buffer) {
    return guarded<DWORD>(0, [&] { return giveText(widen(temporaryFolder()), size, buffer); });
}

UINT GetTempFileNameW(const char16_t* path, const char16_t* prefix, UINT unique, char16_t* name) {
    return onNarrowed<UINT>(path, 0, [&](const char* folder) -> UINT {
        if (name == nullptr)
            return failWith<UINT>(ERROR_INVALID_PARAMETER, 0);
        const auto start = pathFrom(prefixFrom(prefix).c_str());
        std::string made;
        const UINT number = start ? temporaryFile(folder, *start, unique, &made) : 0;
        if (number != 0)
            giveText(widen(made), MAX_PATH_LENGTH, name);
        return number;
    });
}
