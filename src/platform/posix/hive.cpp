#include "platform/posix/hive.h"

#include "platform/posix/file_seam.h"
#include "platform/posix/last_error.h"
#include "platform/posix/user_file.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace zv::platform::posix {

namespace {

// Units read at a time; a longer line makes the room grow.
constexpr std::size_t kBlockUnits = std::size_t{128} * 1024;
// The beginning of a file that tells its encoding and its header.
constexpr std::size_t kHeadBytes = 256;
// A hive below this size is not worth rewriting.
constexpr off_t kCompactionFloor = off_t{64} * 1024;

constexpr std::u16string_view kDamagedNotice =
    u"; What could not be read as part of the hive, in the order in which it was met.\r\n\r\n";

// A missing file is no missing key: the callers' numbers for those are kept apart.
DWORD registryError(int number) {
    if (number == ENOSPC || number == EDQUOT || number == EFBIG)
        return ERROR_DISK_FULL;
    const DWORD error = errorFromErrno(number, ERROR_REGISTRY_IO_FAILED);
    switch (error) {
    case ERROR_ACCESS_DENIED:
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_OUTOFMEMORY:
    case ERROR_FILENAME_EXCED_RANGE:
        return error;
    default:
        return ERROR_REGISTRY_IO_FAILED;
    }
}

bool isMissing(int number) {
    return number == ENOENT || number == ENOTDIR;
}
bool isRefused(int number) {
    return number == EACCES || number == EPERM || number == EROFS;
}

std::string hiveFile() {
    return userFile("XDG_DATA_HOME", ".local/share", "registry.reg");
}

// Makes the folders above a file, as far as they are missing. False: errno.
bool makeFoldersOf(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != path.npos;
         slash = path.find('/', slash + 1)) {
        if (seam::makeFolder(path.substr(0, slash).c_str(), 0700) || errno == EEXIST)
            continue;
        const int error = errno;
        struct stat status;
        if (stat(path.substr(0, slash).c_str(), &status) != 0) {
            errno = error; // there already and not ours to write into is no failure
            return false;
        }
    }
    return true;
}

// For writing if allowed, else for reading. -1: errno.
int openBest(const char* path, bool& writable) {
    int file = seam::openFile(path, O_RDWR | O_NOCTTY);
    writable = file >= 0;
    if (file < 0 && isRefused(errno))
        file = seam::openFile(path, O_RDONLY | O_NOCTTY);
    return file;
}

// The path that a symbolic link leads to; the path itself where nothing is.
std::string resolved(const std::string& path) {
    char* real = realpath(path.c_str(), nullptr);
    if (real == nullptr)
        return path;
    std::unique_ptr<char, void (*)(void*)> owner(real, std::free);
    return real;
}

// Reads exactly size bytes. False: errno, or 0 when the file ends before.
bool readFully(int file, void* buffer, std::size_t size, off_t offset) {
    auto* to = static_cast<char*>(buffer);
    while (size != 0) {
        const ssize_t moved = seam::readAt(file, to, size, offset);
        if (moved <= 0) {
            if (moved == 0)
                errno = 0;
            return false;
        }
        to += moved;
        size -= static_cast<std::size_t>(moved);
        offset += moved;
    }
    return true;
}

bool sameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool sameTime(const struct stat& a, const struct stat& b) {
    return a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

off_t bytesOf(std::size_t units) {
    return static_cast<off_t>(2 * units);
}

// The text of an 8-bit file, without its mark of byte order.
bool readUtf8(int file, off_t end, std::u16string& text) {
    std::string bytes(static_cast<std::size_t>(end), '\0');
    if (!readFully(file, bytes.data(), bytes.size(), 0))
        return false;
    std::string_view view = bytes;
    if (view.starts_with("\xEF\xBB\xBF"))
        view.remove_prefix(3);
    appendUtf8(text, view);
    return true;
}

// A file that is being made: gone again unless it is kept.
class NewFile {
public:
    explicit NewFile(std::string name) : name(std::move(name)) {
        seam::unlinkFile(this->name.c_str());
        descriptor = seam::openFile(this->name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    }
    ~NewFile() {
        if (descriptor < 0)
            return;
        close(descriptor);
        seam::unlinkFile(name.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    int get() const { return descriptor; }
    int keep() { return std::exchange(descriptor, -1); }
    const char* path() const { return name.c_str(); }

private:
    std::string name;
    int descriptor = -1;
};

// Does a text hold a whole value? It was written by a person then, not torn off.
bool holdsValue(std::u16string_view text) {
    class Finder final : public RegTextHandler {
    public:
        bool key(std::u16string_view) override { return true; }
        bool deleteKey(std::u16string_view) override { return true; }
        void value(std::u16string_view, std::uint32_t, const void*, std::uint32_t) override {
            found = true;
        }
        void deleteValue(std::u16string_view) override { found = true; }
        void damaged(std::uint64_t, std::uint64_t) override {}
        bool found = false;
    };
    Finder finder;
    RegTextReader reader(finder);
    reader.read(text, TextEnd::More);
    return finder.found;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Reading a file

DWORD Hive::Reading::readFile(int file, off_t end) {
    if (kind != Kind::Missing)
        return readText(file, end);
    char head[kHeadBytes];
    const std::size_t headSize = std::min<std::size_t>(static_cast<std::size_t>(end), kHeadBytes);
    if (!readFully(file, head, headSize, 0))
        return registryError(errno);
    const std::u16string preamble = hivePreamble();
    size = end;
    if (end < bytesOf(preamble.size()) && std::memcmp(head, preamble.data(), headSize) == 0)
        return ERROR_SUCCESS; // nothing, or its own creation cut short

    if (headSize < 2 || std::memcmp(head, "\xFF\xFE", 2) != 0)
        return readConvertible(file, end);
    char16_t units[kHeadBytes / 2];
    std::memcpy(units, head, headSize);
    const HeaderLine header = readHeader({units + 1, headSize / 2 - 1});
    if (header.length == 0)
        return ERROR_BADDB;
    kind = header.old ? Kind::Convertible : Kind::Foreign;
    reader.restart(1 + header.length, header.old);
    consumed = bytesOf(1 + header.length);
    return readText(file, end);
}

DWORD Hive::Reading::readText(int file, off_t end) {
    while (!builder.damage.empty() && bytesOf(builder.damage.back().start) >= consumed)
        builder.damage.pop_back(); // of an end that was not final
    off_t at = consumed;
    const off_t stop = at + (end - at) / 2 * 2;
    std::size_t room = std::min(static_cast<std::size_t>(stop - at) / 2, kBlockUnits);
    auto buffer = std::make_unique_for_overwrite<char16_t[]>(room);
    std::size_t filled = 0;
    while (at < stop) {
        const std::size_t wanted =
            std::min(2 * (room - filled), static_cast<std::size_t>(stop - at));
        if (!readFully(file, buffer.get() + filled, wanted, at))
            return registryError(errno);
        at += static_cast<off_t>(wanted);
        filled += wanted / 2;

        const std::u16string_view text(buffer.get(), filled);
        const std::size_t used = readPiece(text, at == stop);
        consumed += bytesOf(used);
        if (used != 0)
            keepGuard(text.substr(0, used));
        filled -= used;
        if (used == 0 && filled == room && at < stop) {
            auto larger = std::make_unique_for_overwrite<char16_t[]>(2 * room);
            std::copy_n(buffer.get(), filled, larger.get());
            buffer = std::move(larger);
            room *= 2;
        } else {
            std::memmove(buffer.get(), buffer.get() + used, 2 * filled);
        }
    }
    size = end;
    return ERROR_SUCCESS;
}

std::size_t Hive::Reading::readPiece(std::u16string_view text, bool atEnd) {
    std::size_t used = 0;
    if (kind != Kind::Journal) {
        const TextEnd end = atEnd ? TextEnd::Foreign : TextEnd::More;
        const bool marked = reader.sawMark();
        used = reader.read(text, end);
        if (reader.sawMark() == marked)
            return used;
        if (kind == Kind::Convertible)
            return used + reader.read(text.substr(used), end);
        kind = Kind::Journal;
    }
    text.remove_prefix(used);
    text = text.substr(0, committedLength(text));
    const TextEnd end = atEnd ? TextEnd::Journal : TextEnd::More;
    std::size_t entries = reader.read(text, end);
    if (entries < text.size()) // at a second mark
        entries += reader.read(text.substr(entries), end);
    return used + entries;
}

void Hive::Reading::keepGuard(std::u16string_view textBefore) {
    guardLength = std::min(textBefore.size(), kGuardUnits);
    textBefore.copy(guard, guardLength, textBefore.size() - guardLength);
}

DWORD Hive::Reading::readConvertible(int file, off_t end) {
    std::u16string text;
    if (!readUtf8(file, end, text))
        return registryError(errno);
    const HeaderLine header = readHeader(text);
    if (header.length == 0)
        return ERROR_BADDB;
    kind = Kind::Convertible;
    consumed = end;
    reader.restart(header.length, header.old);
    const std::u16string_view lines = std::u16string_view(text).substr(header.length);
    const std::size_t used = reader.read(lines, TextEnd::Foreign);
    if (reader.sawMark())
        reader.read(lines.substr(used), TextEnd::Foreign);
    return ERROR_SUCCESS;
}

// ---------------------------------------------------------------------------------------------
// Keeping up with the file

Hive::Hive(KeyHolder& holder)
    : holder(holder),
      path(hiveFile()),
      reading(std::make_unique<Reading>(holder)),
      tree(&reading->tree) {}

Hive::~Hive() {
    closeFile();
    closeLock();
}

void Hive::closeFile() noexcept {
    if (file >= 0)
        close(std::exchange(file, -1));
}

void Hive::closeLock() noexcept {
    if (lockFile >= 0)
        close(std::exchange(lockFile, -1));
    locked = false;
}

// Without a lock: what is new is read under one.
DWORD Hive::refresh() {
    struct stat now;
    if (path.empty())
        return ERROR_SUCCESS;
    if (look(now)) {
        if (isCurrent(now)) {
            seen = now;
            appended = false;
            return ERROR_SUCCESS;
        }
    } else if (isMissing(errno) && seenValid && file < 0) {
        return ERROR_SUCCESS;
    }
    struct Unlocking {
        ~Unlocking() { hive.unlock(); }
        Hive& hive;
    } unlocking{*this};
    const DWORD code = lock(false);
    return code == ERROR_SUCCESS ? refreshLocked() : code;
}

// What the hive is now, for a reader; false with errno. Asking the open file is cheaper than
// walking the path, and shows other processes' work as well: an entry by its size, a rewritten hive
// because the rename took the old one's only name. A file that somebody moved by hand keeps its
// name, so the path is walked as well when it was not for a millisecond.
bool Hive::look(struct stat& now) {
    const auto time = std::chrono::steady_clock::now();
    if (file >= 0 && seenValid && seen.st_nlink == 1 && time < nextWalk && fstat(file, &now) == 0 &&
        now.st_nlink == 1)
        return true;
    nextWalk = time + std::chrono::milliseconds(1);
    return stat(path.c_str(), &now) == 0;
}

bool Hive::isCurrent(const struct stat& now) const {
    if (!seenValid || file < 0 || !sameFile(now, seen) || now.st_size != seen.st_size)
        return false;
    // A torn tail may have been replaced by an entry of the same length.
    if (reading->kind == Kind::Journal && reading->consumed != reading->size)
        return false;
    return appended || sameTime(now, seen);
}

DWORD Hive::refreshLocked() {
    struct stat now;
    if (stat(path.c_str(), &now) != 0) {
        if (!isMissing(errno))
            return registryError(errno);
        if (seenValid && file < 0)
            return ERROR_SUCCESS;
        return reload();
    }
    if (isCurrent(now)) {
        seen = now;
        appended = false;
        return ERROR_SUCCESS;
    }
    const bool grown = seenValid && file >= 0 && sameFile(now, seen) &&
                       now.st_size > reading->consumed &&
                       (reading->kind == Kind::Journal || reading->kind == Kind::Foreign) &&
                       (now.st_size != seen.st_size || reading->kind == Kind::Journal);
    if (!grown || !guardHolds())
        return reload();
    seenValid = false; // for a failure halfway
    const DWORD code = reading->readFile(file, now.st_size);
    if (code != ERROR_SUCCESS)
        return code;
    seen = now;
    seenValid = true;
    appended = false;
    return ERROR_SUCCESS;
}

bool Hive::guardHolds() const {
    char16_t before[Reading::kGuardUnits];
    const std::size_t length = reading->guardLength;
    return readFully(file, before, 2 * length, reading->consumed - bytesOf(length)) &&
           std::equal(before, before + length, reading->guard);
}

// Reads everything into a new tree, which takes the place of the old one only when it is whole.
DWORD Hive::reload() {
    auto fresh = std::make_unique<Reading>(holder);
    bool writable = false;
    struct stat now = {};
    int opened = -1;
    if (stat(path.c_str(), &now) == 0) {
        if (!S_ISREG(now.st_mode))
            return ERROR_BADDB;
        opened = openBest(path.c_str(), writable);
        if (opened < 0 && !isMissing(errno))
            return registryError(errno);
    } else if (!isMissing(errno)) {
        return registryError(errno);
    }
    if (opened >= 0) {
        DWORD code;
        try {
            code = fstat(opened, &now) == 0 ? fresh->readFile(opened, now.st_size)
                                            : registryError(errno);
        } catch (...) {
            close(opened);
            throw;
        }
        if (code != ERROR_SUCCESS) {
            close(opened);
            return code;
        }
    }
    holder.treeReplaced(fresh->tree);
    reading = std::move(fresh);
    tree = &reading->tree;
    closeFile();
    file = opened;
    fileWritable = writable;
    seen = now;
    seenValid = true;
    appended = false;
    return ERROR_SUCCESS;
}

// ---------------------------------------------------------------------------------------------
// The lock between processes
//
// It is the file `path`.lock, which nobody replaces. While a rewritten hive is being made the lock
// file is not empty: whoever finds it so under the exclusive lock knows that a process died there.

DWORD Hive::lock(bool change) {
    const std::string name = path + ".lock";
    for (;;) {
        // A child of fork() would share its parent's lock through the descriptor.
        if (lockFile >= 0 && (lockOwner != getpid() || (change && !lockWritable)))
            closeLock();
        if (lockFile < 0) {
            if (change) {
                lockFile = seam::openFile(name.c_str(), O_RDWR | O_CREAT, 0600);
                if (lockFile < 0 && isMissing(errno) && makeFoldersOf(name))
                    lockFile = seam::openFile(name.c_str(), O_RDWR | O_CREAT, 0600);
                lockWritable = true;
            } else {
                lockFile = openBest(name.c_str(), lockWritable);
                // Where there is no lock file nobody has ever changed the hive through here.
                if (lockFile < 0 && isMissing(errno))
                    return ERROR_SUCCESS;
            }
            if (lockFile < 0)
                return registryError(errno);
            lockOwner = getpid();
        }
        const auto kind = change ? seam::LockKind::Exclusive : seam::LockKind::Shared;
        struct stat status;
        if (!seam::lockRange(lockFile, kind, 0, 1, true) || fstat(lockFile, &status) != 0) {
            const int error = errno;
            closeLock();
            return registryError(error);
        }
        if (status.st_nlink == 0) { // removed by hand: others have made a new one
            closeLock();
            continue;
        }
        locked = true;
        if (change && (status.st_size != 0 || !leftoversChecked))
            removeLeftovers();
        return ERROR_SUCCESS;
    }
}

void Hive::unlock() noexcept {
    if (!locked)
        return;
    if (!seam::lockRange(lockFile, seam::LockKind::Unlock, 0, 1, false))
        closeLock(); // lets go of it in any case
    locked = false;
}

DWORD Hive::beginChange() {
    if (path.empty())
        return ERROR_REGISTRY_IO_FAILED;
    changed = false;
    try {
        DWORD code = lock(true);
        if (code == ERROR_SUCCESS)
            code = refreshLocked();
        return code;
    } catch (...) {
        unlock();
        throw;
    }
}

void Hive::endChange() noexcept {
    compactWhenWorthwhile();
    unlock();
}

// Under the exclusive lock nobody is making a rewritten hive: any that is there was left behind.
void Hive::removeLeftovers() {
    const std::string target = resolved(path);
    const std::size_t slash = target.rfind('/');
    const std::string folder = target.substr(0, slash + 1);
    const std::string prefix = target.substr(slash + 1) + ".";
    DIR* listing = opendir(folder.c_str());
    if (listing == nullptr)
        return;
    std::unique_ptr<DIR, int (*)(DIR*)> owner(listing, closedir);
    bool clean = true;
    while (const dirent* found = readdir(listing)) {
        std::string_view name = found->d_name;
        if (!name.starts_with(prefix) || !name.ends_with(".tmp") ||
            name.size() <= prefix.size() + 4)
            continue;
        const std::string_view process =
            name.substr(prefix.size(), name.size() - prefix.size() - 4);
        if (process.find_first_not_of("0123456789") == process.npos)
            clean = seam::unlinkFile((folder + found->d_name).c_str()) && clean;
    }
    leftoversChecked = true;
    if (clean)
        seam::truncateFile(lockFile, 0);
}

// ---------------------------------------------------------------------------------------------
// Changes

DWORD Hive::createKey(Key* base, std::u16string_view path, Key*& result, bool& created) {
    Key* parent = base;
    std::u16string_view component = takeComponent(path);
    for (; !component.empty(); component = takeComponent(path)) {
        Key* child = parent->children.find(component);
        if (child == nullptr)
            break;
        parent = child;
    }
    created = !component.empty();
    result = parent;
    if (!created)
        return ERROR_SUCCESS;

    UniqueKey first;
    Key* last = nullptr;
    std::size_t depth = depthOf(parent);
    for (; !component.empty(); component = takeComponent(path)) {
        if (component.size() > kMaxKeyName || !isWritableName(component) || ++depth > kMaxKeyDepth)
            return ERROR_INVALID_PARAMETER;
        UniqueKey key = makeKey(component);
        if (last == nullptr) {
            first = std::move(key);
            first->parent = parent;
            last = first.get();
        } else {
            last = adopt(last, std::move(key));
        }
    }
    entry.clear();
    appendKeyLine(entry, last);
    if (const DWORD code = append(); code != ERROR_SUCCESS)
        return code;
    parent->children.insert(first.release());
    result = last;
    return ERROR_SUCCESS;
}

DWORD Hive::setValue(Key* key, std::u16string_view name, DWORD type, const void* data, DWORD size) {
    if (name.size() > kMaxValueName || !isWritableName(name))
        return ERROR_INVALID_PARAMETER;
    const std::uint32_t padding = missingTerminator(type, data, size);
    if (size > std::numeric_limits<std::uint32_t>::max() - padding)
        return ERROR_INVALID_PARAMETER;
    UniqueValue fresh = makeValue(name, type, data, size, padding);
    Value* old = key->values.isBeyondLast(name) ? nullptr : key->values.find(name);
    if (old != nullptr && old->name() == name && old->type == type && old->size == fresh->size &&
        std::memcmp(old->data(), fresh->data(), fresh->size) == 0)
        return ERROR_SUCCESS;
    entry.clear();
    appendKeyLine(entry, key);
    appendValueLine(entry, name, type, fresh->data(), fresh->size);
    if (const DWORD code = append(); code != ERROR_SUCCESS)
        return code;
    if (old != nullptr) {
        reading->builder.deadUnits += entryUnits(key, old);
        key->values.remove(old);
        UniqueValue ended(old);
    }
    key->values.insert(fresh.release());
    return ERROR_SUCCESS;
}

DWORD Hive::deleteValue(Key* key, std::u16string_view name) {
    Value* old = key->values.find(name);
    if (old == nullptr)
        return ERROR_FILE_NOT_FOUND;
    entry.clear();
    appendKeyLine(entry, key);
    appendValueDeletion(entry, old->name());
    if (const DWORD code = append(); code != ERROR_SUCCESS)
        return code;
    reading->builder.deadUnits += entryUnits(key, old) + entry.size();
    key->values.remove(old);
    UniqueValue ended(old);
    return ERROR_SUCCESS;
}

DWORD Hive::deleteKey(Key* key) {
    if (key->parent == nullptr || key->children.size() != 0)
        return ERROR_ACCESS_DENIED;
    entry.clear();
    appendKeyDeletion(entry, key);
    if (const DWORD code = append(); code != ERROR_SUCCESS)
        return code;
    reading->builder.deadUnits += subtreeUnits(key) + entry.size();
    holder.keyRemoved(key);
    key->parent->children.remove(key);
    UniqueKey ended(key);
    return ERROR_SUCCESS;
}

DWORD Hive::openForWriting() {
    if (file >= 0 && fileWritable)
        return ERROR_SUCCESS;
    const int opened = seam::openFile(path.c_str(), O_RDWR | O_CREAT | O_NOCTTY, 0600);
    if (opened < 0)
        return registryError(errno);
    closeFile();
    file = opened;
    fileWritable = true;
    if (fstat(file, &seen) == 0 && seen.st_size == reading->size)
        return ERROR_SUCCESS;
    seenValid = false; // somebody who knows no lock has just put another file there
    return ERROR_REGISTRY_IO_FAILED;
}

// Appends `entry` and the blank line that makes it count, in one write.
DWORD Hive::append() {
    appendLineEnd(entry);
    Reading& state = *reading;
    if (state.kind == Kind::Convertible ||
        (state.kind == Kind::Foreign && state.consumed != state.size)) {
        if (const DWORD code = compact(); code != ERROR_SUCCESS)
            return code;
    }
    if (state.kind == Kind::Missing)
        entry.insert(0, hivePreamble());
    else if (state.kind == Kind::Foreign)
        entry.insert(0, u"\r\n" + std::u16string(kJournalMark) + u"\r\n\r\n");
    if (const DWORD code = openForWriting(); code != ERROR_SUCCESS)
        return code;
    if (state.consumed != state.size) {
        if (const DWORD code = cutTail(); code != ERROR_SUCCESS)
            return code;
    }
    const auto bytes = bytesOf(entry.size());
    appended = true;
    if (seam::writeAt(file, entry.data(), static_cast<std::size_t>(bytes), state.consumed) !=
        bytes) {
        const int error = errno;
        // If this fails as well, whoever writes next finds a torn tail and cuts it.
        if (!seam::truncateFile(file, state.consumed) || state.kind == Kind::Missing)
            seenValid = false;
        return registryError(error);
    }
    if (state.kind == Kind::Missing && fstat(file, &seen) != 0)
        seenValid = false;
    state.kind = Kind::Journal;
    changed = true;
    keepPosition(state.consumed + bytes, entry);
    return ERROR_SUCCESS;
}

// Takes what this process has just written as read.
void Hive::keepPosition(off_t end, std::u16string_view written) {
    Reading& state = *reading;
    state.consumed = state.size = seen.st_size = end;
    state.keepGuard(written);
    state.reader.restart(static_cast<std::uint64_t>(end) / 2, false);
    state.builder.forgetKey();
}

// Removes what a killed process left behind the last blank line. One torn entry holds no more than
// a part of a value; a whole one was added by hand and is kept aside.
DWORD Hive::cutTail() {
    const off_t start = reading->consumed;
    std::u16string tail(static_cast<std::size_t>(reading->size - start) / 2, u'\0');
    if (!readFully(file, tail.data(), 2 * tail.size(), start))
        return registryError(errno);
    if (holdsValue(tail)) {
        if (const DWORD code = setAside(tail); code != ERROR_SUCCESS)
            return code;
    }
    if (!seam::truncateFile(file, start))
        return registryError(errno);
    reading->size = seen.st_size = start;
    appended = true;
    return ERROR_SUCCESS;
}

// Appends text to `path`.damaged; on the disk on return.
DWORD Hive::setAside(std::u16string_view text) {
    const int aside =
        seam::openFile((path + ".damaged").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (aside < 0)
        return registryError(errno);
    struct stat status;
    DWORD code = ERROR_SUCCESS;
    std::u16string out;
    if (fstat(aside, &status) != 0)
        code = registryError(errno);
    else if (status.st_size == 0)
        out.append(1, kByteOrderMark).append(kDamagedNotice);
    out.append(text).append(u"\r\n");
    const auto bytes = bytesOf(out.size());
    if (code == ERROR_SUCCESS &&
        (seam::writeTo(aside, out.data(), static_cast<std::size_t>(bytes)) != bytes ||
         !seam::flushFile(aside))) {
        code = registryError(errno);
        seam::truncateFile(aside, status.st_size);
    }
    close(aside);
    return code;
}

DWORD Hive::setDamageAside() {
    const auto& damage = reading->builder.damage;
    if (damage.empty())
        return ERROR_SUCCESS;
    // A range's offsets count from the file's beginning in UTF-16, from behind the mark of byte
    // order in UTF-8.
    char head[2];
    std::u16string decoded;
    if (!readFully(file, head, 2, 0))
        return registryError(errno);
    const bool wide = std::memcmp(head, "\xFF\xFE", 2) == 0;
    if (!wide && !readUtf8(file, reading->size, decoded))
        return registryError(errno);
    std::u16string text;
    for (const TreeBuilder::Range& range : damage) {
        const std::size_t length = static_cast<std::size_t>(range.end - range.start);
        if (wide) {
            const std::size_t before = text.size();
            text.resize(before + length);
            if (!readFully(file, text.data() + before, 2 * length, bytesOf(range.start)))
                return registryError(errno);
        } else {
            text.append(decoded, static_cast<std::size_t>(range.start), length);
        }
    }
    return setAside(text);
}

// Rewrites the hive beside itself and puts the new file in its place.
DWORD Hive::compact() {
    if (const DWORD code = setDamageAside(); code != ERROR_SUCCESS)
        return code;
    reading->builder.damage.clear();
    // A hive that may not be written to is not replaced either.
    if (const DWORD code = openForWriting(); code != ERROR_SUCCESS)
        return code;
    struct stat old;
    if (fstat(file, &old) != 0 || seam::writeAt(lockFile, "~", 1, 0) != 1)
        return registryError(errno);

    DWORD code = ERROR_SUCCESS;
    {
        const std::string target = resolved(path);
        NewFile fresh(target + "." + std::to_string(getpid()) + ".tmp");
        off_t end = 0;
        std::u16string text;
        const auto write = [&](std::u16string& piece) {
            const auto bytes = bytesOf(piece.size());
            if (seam::writeAt(fresh.get(), piece.data(), static_cast<std::size_t>(bytes), end) !=
                bytes)
                return false;
            end += bytes;
            return true;
        };
        // The owner stays where that is allowed; the mode stays in any case, set after the owner.
        if (fresh.get() >= 0 && (old.st_uid != geteuid() || old.st_gid != getegid()))
            seam::setOwner(fresh.get(), old.st_uid, old.st_gid);
        struct stat now;
        if (fresh.get() < 0 || !seam::setMode(fresh.get(), old.st_mode & 07777) ||
            !writeTree(*tree, text, write) || !seam::flushFile(fresh.get()) ||
            fstat(fresh.get(), &now) != 0 ||
            !seam::renameFile(fresh.path(), target.c_str(), true)) {
            code = registryError(errno);
        } else {
            // From here on the new file is the hive, whatever becomes of the folder's flush.
            seam::flushFolderOf(target.c_str());
            closeFile();
            file = fresh.keep();
            fileWritable = true;
            seen = now;
            seenValid = true;
            appended = true;
            reading->kind = Kind::Journal;
            keepPosition(end, text);
            reading->builder.deadUnits = 0;
        }
    }
    seam::truncateFile(lockFile, 0);
    return code;
}

// The change that led here has succeeded: a compaction that fails is tried again when the hive has
// grown by half.
void Hive::compactWhenWorthwhile() noexcept {
    const off_t size = reading->size;
    if (!changed || !seenValid || size != reading->consumed || size <= kCompactionFloor ||
        size < compactionPause || bytesOf(reading->builder.deadUnits) <= size / 2)
        return;
    changed = false;
    DWORD code = ERROR_OUTOFMEMORY;
    try {
        code = compact();
    } catch (...) {
    }
    compactionPause = code == ERROR_SUCCESS ? 0 : size + size / 2;
}

} // namespace zv::platform::posix
