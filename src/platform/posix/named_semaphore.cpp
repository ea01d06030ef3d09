#include "platform/posix/named_semaphore.h"

#include "platform/posix/deadline.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zv::platform::posix {
namespace {

// The state of a semaphore is a file in memory that every holder maps; who lives is told by locks
// on bytes of that file. They are open-file-description locks: each belongs to one process's
// opening of the file and goes with it, however the process ends.
//
//   kLifetimeByte   exclusive while a process makes, joins or leaves the semaphore
//   kOpenByte       shared by every process that holds the semaphore open; who gets it exclusive is
//                   alone with the file, and then starts it afresh (joining) or unlinks it
//                   (leaving)
//   kStateByte      exclusive while the counts are read and changed
//   kFirstSlotByte  and on: exclusive by the process that owns the slot
//
// 1. A holder joins and leaves under kLifetimeByte, and checks after taking it that the path still
//    names its file. So nobody joins a file that its last holder is about to unlink.
// 2. The count is not stored: it is base - sum(taken). Taking or giving back units changes one
// number,
//    the caller's own slot, with one aligned store. A kill in front of it or behind it leaves a
//    consistent state; the lock on kStateByte goes with the process.
// 3. A slot is emptied into the base (merge) through a redo record: the new base and the slot are
// noted
//    first, and whoever takes kStateByte next repeats the two stores, which changes nothing when
//    they had been made.
// 4. A slot whose byte nobody holds belonged to a process that died. Its byte is tested under
// kStateByte:
//    a new owner may have claimed it in the meantime, but cannot change the slot before the test
//    ends.
constexpr off_t kLifetimeByte = 0;
constexpr off_t kOpenByte = 1;
constexpr off_t kStateByte = 2;
constexpr off_t kFirstSlotByte = 64;

constexpr std::uint64_t kMagic = 0x325F4D45535F565A; // "ZV_SEM_2"
constexpr std::size_t kSlots = 512;
constexpr std::size_t kNoSlot = SIZE_MAX;

// How often a waiting process looks for others that died: a death makes no other noise.
constexpr std::chrono::milliseconds kLookAround(20);

struct State {
    std::atomic<std::uint64_t> magic;
    std::atomic<std::int64_t> base;
    std::atomic<std::int64_t> maximum;
    std::atomic<std::uint32_t> generation;   // goes up with every release; waiters sleep on it
    std::atomic<std::uint32_t> counting;     // not 0: some process released more than it had taken
    std::atomic<std::uint32_t> waiters;      // asleep, and those that were killed in their sleep
    std::atomic<std::uint32_t> slotsUsed;    // no slot from this one on was ever claimed
    std::atomic<std::int64_t> mergedBase;    // the redo record; valid while mergedSlot is not 0
    std::atomic<std::uint64_t> mergedSlot;   // index + 1
    std::atomic<std::int64_t> taken[kSlots]; // by each process: units taken less units released
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free &&
              sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

bool lockByte(int file, off_t byte, short type, bool wait) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    int answer = 0;
    do
        answer = fcntl(file, wait ? F_OFD_SETLKW : F_OFD_SETLK, &range);
    while (answer != 0 && errno == EINTR);
    return answer == 0;
}

bool heldElsewhere(int file, off_t byte) {
    struct flock range {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    return fcntl(file, F_OFD_GETLK, &range) != 0 || range.l_type != F_UNLCK;
}

// The folder is the same for every process of the user: the first that is there and open to
// writing.
std::string stateFolder() {
    for (const char* folder : {"/dev/shm", static_cast<const char*>(getenv("XDG_RUNTIME_DIR"))}) {
        struct stat status {};
        if (folder != nullptr && *folder == '/' && stat(folder, &status) == 0 &&
            S_ISDIR(status.st_mode) && eaccess(folder, W_OK | X_OK) == 0)
            return folder;
    }
    return "/tmp";
}

// A file name keeps letters, figures and a few marks; the rest, and a name that would get too long,
// is escaped so that different names stay different (long ones by a 64-bit hash).
std::string fileNameOf(std::string_view name) {
    constexpr char digits[] = "0123456789abcdef";
    constexpr std::size_t longest = 160;
    std::string text;
    std::uint64_t hash = 0xCBF29CE484222325; // FNV-1a
    for (const char unit : name) {
        const auto byte = static_cast<unsigned char>(unit);
        hash = (hash ^ byte) * 0x100000001B3;
        const bool plain = (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
                           (unit >= '0' && unit <= '9') || unit == '_' || unit == '-' ||
                           unit == '.';
        if (plain)
            text += unit;
        else
            text.append({'%', digits[byte >> 4], digits[byte & 15]});
    }
    if (text.size() > longest) {
        text.resize(longest);
        text += '~';
        for (int shift = 60; shift >= 0; shift -= 4)
            text += digits[hash >> shift & 15];
    }
    return text;
}

std::string statePathOf(std::string_view name) {
    return stateFolder() + "/zvsupport-" + std::to_string(geteuid()) + "-" + fileNameOf(name);
}

class NamedSemaphore;

constinit std::mutex listMutex;                     // taken before any semaphore's own
constinit NamedSemaphore* firstSemaphore = nullptr; // of this process, linked by `next`
constinit bool forkHandlersSet = false;

// One process's opening of a semaphore, shared by all its handles.
class NamedSemaphore final : public SemaphoreObject,
                             public std::enable_shared_from_this<NamedSemaphore> {
public:
    NamedSemaphore(std::string statePath, LONG initialCount, LONG maximumCount)
        : path(std::move(statePath)), initial(initialCount), maximum(maximumCount) {}

    ~NamedSemaphore() override {
        const std::lock_guard lock(listMutex);
        for (NamedSemaphore** link = &firstSemaphore; *link != nullptr; link = &(*link)->next)
            if (*link == this) {
                *link = next;
                break;
            }
        leave(Leaving::Closed);
    }

    DWORD wait(DWORD milliseconds) override {
        const Deadline deadline(milliseconds);
        for (bool counted = false;;) {
            std::atomic<std::uint32_t>* generation = nullptr;
            std::uint32_t seen = 0;
            const bool late = deadline.passed();
            {
                const Turn turn(*this);
                if (!turn.granted())
                    return WAIT_FAILED;
                if (counted && state->waiters != 0)
                    --state->waiters;
                if (takeUnit())
                    return WAIT_OBJECT_0;
                if (late)
                    return WAIT_TIMEOUT;
                generation = &state->generation;
                seen = *generation;
                ++state->waiters;
                counted = true;
            }
            const auto pause = deadline.left(kLookAround);
            const timespec limit{0, static_cast<long>(pause.count()) * 1'000'000};
            syscall(SYS_futex, generation, FUTEX_WAIT, seen, &limit, nullptr, 0);
        }
    }

    BOOL release(LONG count, LONG* previousCount) override {
        const Turn turn(*this);
        if (!turn.granted())
            return FALSE;
        const std::int64_t before = available();
        if (before + count > state->maximum)
            return failWith(ERROR_TOO_MANY_POSTS, FALSE);
        if (previousCount != nullptr)
            *previousCount = static_cast<LONG>(before);
        const std::int64_t taken = state->taken[slot] - count;
        if (taken < 0)
            state->counting = 1; // first: a kill between the two must not make it a lock again
        state->taken[slot] = taken;
        ++state->generation;
        if (state->waiters != 0)
            syscall(SYS_futex, &state->generation, FUTEX_WAKE, count, nullptr, nullptr, 0);
        return TRUE;
    }

    // Opens the state, afresh when nobody else holds it. False with the last error.
    bool join(bool* existed) {
        *existed = false;
        do {
            leaveFile();
            file = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
            if (file < 0)
                return failWith(errno == ELOOP ? ERROR_ACCESS_DENIED : errorFromErrno(errno),
                                false);
            struct stat status {};
            if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid())
                return abortJoin(ERROR_ACCESS_DENIED);
            if ((status.st_mode & 07777) != 0600 && fchmod(file, 0600) != 0)
                return abortJoin(errorFromErrno(errno));
            if (!lockByte(file, kLifetimeByte, F_WRLCK, true))
                return abortJoin(errorFromErrno(errno));
        } while (!pathIsOurs());

        *existed = !lockByte(file, kOpenByte, F_WRLCK, false);
        if (*existed && errno != EAGAIN && errno != EACCES)
            return abortJoin(errorFromErrno(errno));
        DWORD error = *existed ? mapState() : makeState();
        if (error == ERROR_SUCCESS && !claimSlot())
            error = ERROR_TOO_MANY_OPEN_FILES;
        if (error != ERROR_SUCCESS) {
            if (!*existed)
                unlink(path.c_str());
            return abortJoin(error);
        }
        if (!lockByte(file, kOpenByte, F_RDLCK, true) ||
            !lockByte(file, kLifetimeByte, F_UNLCK, true))
            return abortJoin(errorFromErrno(errno));
        return true;
    }

    enum class Leaving {
        Closed,  // what was taken stays taken
        AsKilled // what was taken stands in the slot, for others to find
    };

    // Closes the state; the last holder unlinks it. A call that comes later joins again.
    void leave(Leaving manner) noexcept {
        if (state != nullptr && lockByte(file, kLifetimeByte, F_WRLCK, true)) {
            if (manner == Leaving::Closed && state->taken[slot] != 0 &&
                lockByte(file, kStateByte, F_WRLCK, true)) {
                redo();
                merge(slot);
                lockByte(file, kStateByte, F_UNLCK, true);
            }
            if (lockByte(file, kOpenByte, F_WRLCK, false) && pathIsOurs())
                unlink(path.c_str());
        }
        leaveFile();
    }

    // Unmaps and closes without a word. Also what a forked child does to its parent's opening,
    // whose locks it would otherwise keep alive.
    void leaveFile() noexcept {
        if (state != nullptr)
            munmap(std::exchange(state, nullptr), sizeof(State));
        if (file >= 0)
            close(std::exchange(file, -1));
    }

    bool isAt(const std::string& otherPath) const { return path == otherPath; }
    bool isJoined() const { return state != nullptr; } // not so in a forked child

    NamedSemaphore* next = nullptr; // guarded by listMutex
    std::mutex mutex;               // guards what follows, and gives this process's threads turns
    bool abandoned = false;         // written with listMutex held as well

private:
    // The right to read and change the counts.
    class Turn {
    public:
        explicit Turn(NamedSemaphore& taken) : semaphore(taken), lock(taken.mutex) {
            bool ignored = false;
            if (semaphore.abandoned) {
                SetLastError(ERROR_INVALID_HANDLE);
            } else if (semaphore.state != nullptr || semaphore.join(&ignored)) {
                held = lockByte(semaphore.file, kStateByte, F_WRLCK, true);
                if (held)
                    semaphore.redo();
                else
                    setErrorFromErrno(errno);
            }
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() {
            if (held)
                lockByte(semaphore.file, kStateByte, F_UNLCK, true);
        }
        bool granted() const { return held; }

    private:
        NamedSemaphore& semaphore;
        std::lock_guard<std::mutex> lock;
        bool held = false;
    };

    bool abortJoin(DWORD error) {
        leaveFile();
        return failWith(error, false);
    }

    bool pathIsOurs() const {
        struct stat opened {};
        struct stat named {};
        return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 &&
               opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    }

    DWORD makeState() {
        // The room is taken now: a write into a mapped page that finds none would kill the process.
        if (ftruncate(file, 0) != 0)
            return errorFromErrno(errno);
        int error = EINTR;
        while (error == EINTR)
            error = posix_fallocate(file, 0, sizeof(State));
        if (error != 0)
            return errorFromErrno(error);
        if (const DWORD failure = map(); failure != ERROR_SUCCESS)
            return failure;
        state->base = initial;
        state->maximum = maximum;
        state->magic = kMagic;
        return ERROR_SUCCESS;
    }

    DWORD mapState() {
        struct stat status {};
        if (fstat(file, &status) != 0 || status.st_size != sizeof(State))
            return ERROR_GEN_FAILURE;
        if (const DWORD failure = map(); failure != ERROR_SUCCESS)
            return failure;
        return state->magic == kMagic ? ERROR_SUCCESS : ERROR_GEN_FAILURE;
    }

    DWORD map() {
        void* memory = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (memory == MAP_FAILED)
            return errorFromErrno(errno);
        state = static_cast<State*>(memory);
        return ERROR_SUCCESS;
    }

    // Takes the first slot that no living process owns.
    bool claimSlot() {
        for (slot = 0; slot < kSlots; ++slot)
            if (lockByte(file, kFirstSlotByte + static_cast<off_t>(slot), F_WRLCK, false))
                break;
        if (slot == kSlots || !lockByte(file, kStateByte, F_WRLCK, true))
            return false;
        redo();
        if (state->slotsUsed <= slot)
            state->slotsUsed = static_cast<std::uint32_t>(slot + 1);
        if (state->taken[slot] > 0 && state->counting == 0)
            state->taken[slot] = 0;
        else
            merge(slot);
        return lockByte(file, kStateByte, F_UNLCK, true);
    }

    // What follows is called with kStateByte held.

    std::int64_t available() const {
        std::int64_t count = state->base;
        const std::size_t used = std::min<std::size_t>(state->slotsUsed, kSlots);
        for (std::size_t each = 0; each < used; ++each)
            count -= state->taken[each].load(std::memory_order_relaxed);
        return count;
    }

    bool takeUnit() {
        if (available() < 1)
            reviveUnits();
        if (available() < 1)
            return false;
        ++state->taken[slot];
        return true;
    }

    // Gives back what processes held that died.
    void reviveUnits() {
        if (state->counting != 0)
            return;
        for (std::size_t other = 0; other < kSlots; ++other)
            if (other != slot && state->taken[other] > 0 &&
                !heldElsewhere(file, kFirstSlotByte + static_cast<off_t>(other)))
                state->taken[other] = 0;
    }

    void merge(std::size_t emptied) {
        state->mergedBase = state->base - state->taken[emptied];
        state->mergedSlot = emptied + 1;
        redo();
    }

    void redo() {
        const std::uint64_t emptied = state->mergedSlot;
        if (emptied == 0 || emptied > kSlots)
            return;
        state->base = state->mergedBase.load();
        state->taken[emptied - 1] = 0;
        state->mergedSlot = 0;
    }

    const std::string path;
    const LONG initial;
    const LONG maximum;
    int file = -1;
    State* state = nullptr;
    std::size_t slot = kNoSlot;
};

void beforeFork() {
    listMutex.lock();
    for (NamedSemaphore* each = firstSemaphore; each != nullptr; each = each->next)
        each->mutex.lock();
}

void afterForkInParent() {
    for (NamedSemaphore* each = firstSemaphore; each != nullptr; each = each->next)
        each->mutex.unlock();
    listMutex.unlock();
}

void afterForkInChild() {
    for (NamedSemaphore* each = firstSemaphore; each != nullptr; each = each->next)
        each->leaveFile();
    afterForkInParent();
}

} // namespace

std::shared_ptr<SemaphoreObject> openNamedSemaphore(const char* name, LONG initialCount,
                                                    LONG maximumCount, bool* existed) {
    const std::string path = statePathOf(name);
    // Outside the lock, which a semaphore takes when its last reference goes.
    const auto made = std::make_shared<NamedSemaphore>(path, initialCount, maximumCount);
    std::shared_ptr<NamedSemaphore> found;
    const std::lock_guard lock(listMutex);
    for (NamedSemaphore* each = firstSemaphore; each != nullptr; each = each->next) {
        if (each->abandoned || !each->isAt(path))
            continue;
        found = each->weak_from_this().lock();
        if (found == nullptr) // ending in another thread
            continue;
        const std::lock_guard own(each->mutex);
        *existed = true;
        return each->isJoined() || each->join(existed) ? found : nullptr;
    }
    if (!forkHandlersSet) {
        if (pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) != 0)
            throw std::bad_alloc();
        forkHandlersSet = true;
    }
    const std::lock_guard own(made->mutex);
    if (!made->join(existed))
        return nullptr;
    made->next = std::exchange(firstSemaphore, made.get());
    return made;
}

void abandonNamedSemaphores() noexcept {
    const std::lock_guard lock(listMutex);
    for (NamedSemaphore* each = firstSemaphore; each != nullptr; each = each->next) {
        const std::lock_guard own(each->mutex);
        each->leave(NamedSemaphore::Leaving::AsKilled);
        each->abandoned = true;
    }
}

} // namespace zv::platform::posix
