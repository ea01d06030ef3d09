#include "core/registry/ini_file.h"

#include "core/wide_calls.h"
#include "core/wide_text.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace zv::core {

namespace {

constexpr const char* kLockName = "ZvCore_IniFileLock";
constexpr std::string_view kNewSuffix = ".zvtmp";
constexpr std::u16string_view kAsideSuffix = u".unmigrated";
// The smallest batch of a migration; the next ones double.
constexpr std::size_t kFirstBatch = 4096;
// Operations of a run between two looks at the file.
constexpr int kRunLength = 64;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kLargestTransfer = 1U << 30;

struct FileHandleTraits {
    using Type = HANDLE;
    static HANDLE none() { return INVALID_HANDLE_VALUE; }
    static void close(HANDLE file) { CloseHandle(file); }
};
using UniqueFileHandle = UniqueHandle<FileHandleTraits>;

UniqueFileHandle openExisting(const std::string& path) {
    return UniqueFileHandle(CreateFileA(path.c_str(), GENERIC_READ, kShareAll, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool isMissing(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

std::uint64_t sizeOf(const BY_HANDLE_FILE_INFORMATION& info) {
    return std::uint64_t{info.nFileSizeHigh} << 32 | info.nFileSizeLow;
}

bool writeWhole(HANDLE file, std::string_view text) {
    while (!text.empty()) {
        const auto part = static_cast<DWORD>(std::min<std::size_t>(text.size(), kLargestTransfer));
        DWORD written = 0;
        if (WriteFile(file, text.data(), part, &written, nullptr) == 0 || written == 0)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

// The file that a path leads to, its symbolic links resolved.
std::string finalPath(HANDLE file, const std::string& path) {
    std::string resolved(MAX_PATH_LENGTH, '\0');
    for (;;) {
        const auto room = static_cast<DWORD>(resolved.size());
        const DWORD length = GetFinalPathNameByHandleA(file, resolved.data(), room, 0);
        if (length == 0) {
            if (GetLastError() == ERROR_OUTOFMEMORY)
                throw EZvCoreException(kOutOfMemory);
            return path;
        }
        resolved.resize(length < room ? length : length + 1);
        if (length < room)
            return resolved;
    }
}

bool isAlive(DWORD process) {
    const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, process);
    if (handle == nullptr)
        return GetLastError() != ERROR_INVALID_PARAMETER;
    // One that has ended can be opened as long as somebody holds a handle for it.
    const bool ended = WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
    CloseHandle(handle);
    return !ended;
}

struct SearchTraits {
    using Type = HANDLE;
    static HANDLE none() { return INVALID_HANDLE_VALUE; }
    static void close(HANDLE search) { FindClose(search); }
};

} // namespace

bool IniFile::Stamp::sameAs(const Stamp& other) const {
    return valid && other.valid && sizeOf(info) == sizeOf(other.info) &&
           info.ftLastWriteTime.dwLowDateTime == other.info.ftLastWriteTime.dwLowDateTime &&
           info.ftLastWriteTime.dwHighDateTime == other.info.ftLastWriteTime.dwHighDateTime &&
           info.dwVolumeSerialNumber == other.info.dwVolumeSerialNumber &&
           info.nFileIndexLow == other.info.nFileIndexLow &&
           info.nFileIndexHigh == other.info.nFileIndexHigh;
}

IniFile::Access::Access(IniFile& file) : file(file) {
    if (file.held) {
        --file.runLeft;
        return;
    }
    throwIfFailed(SemaphoreWait(file.lock.get()));
    file.held = true;
    try {
        file.refresh();
    } catch (...) {
        file.release();
        throw;
    }
    file.runLeft = file.inRun ? kRunLength - 1 : 0;
}

IniFile::Access::~Access() {
    if (file.runLeft == 0)
        file.release();
}

void IniFile::release() noexcept {
    held = false;
    runLeft = 0;
    SemaphoreRelease(lock.get());
}

IniFile::IniFile(std::u16string filePath)
    : path(std::move(filePath)),
      narrowPath(narrow(path)),
      memoryMutex(makeMutex("IniFile::memoryMutex", 0)) {
    throwIfFailed(createNamedSemaphore(kLockName, 1, lock.receive()));
    const Access access(*this);
}

IniFile::~IniFile() {
    if (held)
        release();
}

// ---------------------------------------------------------------------------------------------
// Loading

void IniFile::refresh() {
    const UniqueFileHandle file = openExisting(narrowPath);
    if (!file) {
        if (!isMissing(GetLastError()))
            throwLastError();
        // The table stays as it is; whatever comes back under this name is read.
        stamp.valid = false;
        return;
    }
    Stamp now;
    if (GetFileInformationByHandle(file.get(), &now.info) == 0)
        throwLastError();
    now.valid = true;
    if (now.sameAs(stamp))
        return;
    load(file.get());
    stamp = now;
}

void IniFile::load(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION info{};
    if (GetFileInformationByHandle(file, &info) == 0)
        throwLastError();
    if (sizeOf(info) > std::string().max_size() / 4)
        throw EZvCoreException(kOutOfMemory);
    std::string text(static_cast<std::size_t>(sizeOf(info)), '\0');
    std::size_t length = 0;
    for (;;) {
        if (length == text.size())
            text.resize(text.size() + 1); // finds the end, or what has come meanwhile
        DWORD moved = 0;
        const auto part =
            static_cast<DWORD>(std::min<std::size_t>(text.size() - length, kLargestTransfer));
        if (ReadFile(file, text.data() + length, part, &moved, nullptr) == 0)
            throwLastError();
        if (moved == 0)
            break;
        length += moved;
    }
    text.resize(length);
    IniTable fresh;
    fresh.parse(text);
    fresh.takeUnsaved(table); // what could not be saved so far
    table = std::move(fresh);
}

// ---------------------------------------------------------------------------------------------
// Saving

// 0, or 1 when the file could not be written; the old file is in its place then. Want of memory is
// thrown: it is no state of the file.
int IniFile::save() {
    const std::string text = table.write();
    std::string target = narrowPath;
    DWORD error = ERROR_SUCCESS;
    bool exists = false;
    if (const UniqueFileHandle old = openExisting(narrowPath); old) {
        target = finalPath(old.get(), narrowPath);
        exists = true;
    } else if (error = GetLastError(); isMissing(error)) {
        error = ERROR_SUCCESS;
        // A name that is there and leads nowhere is a link: the file that it means is made first.
        WIN32_FIND_DATAA found;
        if (UniqueHandle<SearchTraits>(FindFirstFileA(narrowPath.c_str(), &found))) {
            const UniqueFileHandle made(CreateFileA(narrowPath.c_str(), GENERIC_READ, kShareAll,
                                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                                    nullptr));
            exists = static_cast<bool>(made);
            if (exists)
                target = finalPath(made.get(), narrowPath);
            else
                error = GetLastError();
        }
    }
    if (error == ERROR_SUCCESS) {
        removeLeftovers(target);
        error = saveBeside(target, exists, text);
    }
    if (error == ERROR_OUTOFMEMORY)
        throw EZvCoreException(kOutOfMemory);
    if (error != ERROR_SUCCESS)
        return 1;
    Stamp now;
    const UniqueFileHandle saved = openExisting(narrowPath);
    now.valid = saved && GetFileInformationByHandle(saved.get(), &now.info) != 0;
    stamp = now;
    table.markSaved();
    return 0;
}

// Writes the text into a new file beside the target and puts it in the target's place. A Windows
// error number, 0 on success.
DWORD IniFile::saveBeside(const std::string& target, bool exists, const std::string& text) {
    const std::string beside =
        target + "." + std::to_string(GetCurrentProcessId()) + std::string(kNewSuffix);
    // What replaces a file may be meant for few eyes; it gets the old file's rights at the end.
    const DWORD attributes = exists ? FILE_ATTRIBUTE_TEMPORARY : FILE_ATTRIBUTE_NORMAL;
    bool done = false;
    DWORD error = ERROR_SUCCESS;
    {
        const UniqueFileHandle file(CreateFileA(beside.c_str(), GENERIC_WRITE, 0, nullptr,
                                                CREATE_NEW, attributes, nullptr));
        if (!file)
            return GetLastError();
        done = writeWhole(file.get(), text) && FlushFileBuffers(file.get()) != 0;
        if (!done)
            error = GetLastError();
    }
    if (done) {
        done = exists
                   ? ReplaceFileA(target.c_str(), beside.c_str(), nullptr, 0, nullptr, nullptr) != 0
                   : MoveFileExA(beside.c_str(), target.c_str(),
                                 MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
        if (!done)
            error = GetLastError();
    }
    if (done)
        return ERROR_SUCCESS;
    DeleteFileA(beside.c_str());
    return error != ERROR_SUCCESS ? error : ERROR_WRITE_FAULT;
}

// Whoever saves holds the lock, so what is there of a dead process, or of this one, was left
// behind.
void IniFile::removeLeftovers(const std::string& target) {
    const std::size_t slash = target.find_last_of("/\\");
    const std::string folder = slash == std::string::npos ? "" : target.substr(0, slash + 1);
    const std::string prefix = target.substr(folder.size()) + ".";
    WIN32_FIND_DATAA found;
    const UniqueHandle<SearchTraits> search(
        FindFirstFileA((target + ".*" + std::string(kNewSuffix)).c_str(), &found));
    if (!search)
        return;
    std::vector<std::string> dead;
    do {
        const std::string_view name = found.cFileName;
        if (name.size() <= prefix.size() + kNewSuffix.size() || !name.starts_with(prefix) ||
            !name.ends_with(kNewSuffix))
            continue;
        const std::string process(
            name.substr(prefix.size(), name.size() - prefix.size() - kNewSuffix.size()));
        if (process.find_first_not_of("0123456789") != std::string::npos || process.size() > 10)
            continue;
        const auto id = static_cast<DWORD>(std::strtoul(process.c_str(), nullptr, 10));
        if (id == GetCurrentProcessId() || !isAlive(id))
            dead.push_back(folder + std::string(name));
    } while (FindNextFileA(search.get(), &found) != 0);
    for (const std::string& file : dead)
        DeleteFileA(file.c_str());
}

// ---------------------------------------------------------------------------------------------
// Values

bool IniFile::hasKey(std::u16string_view section, std::u16string_view key) const {
    return table.find(section, key) != nullptr;
}

// Takes the batch's entries into the table. When memory runs out, those that have not got there
// stay in the batch.
void IniFile::applyBatch() {
    for (Group& group : batch) {
        for (IniEntry::Pointer& entry : group.entries) {
            if (entry == nullptr)
                continue;
            if (table.checkNeighbours(group.section, entry->key()) < 0) {
                entry.reset();
                continue;
            }
            const IniEntry* old = table.find(group.section, entry->key());
            if (old != nullptr && old->value() == entry->value() && old->rawValue().empty()) {
                entry.reset(); // it is there already
                continue;
            }
            table.set(group.section, std::move(entry));
        }
    }
    batch.clear();
    batchCount = 0;
}

int IniFile::setValue(std::u16string_view section, std::u16string_view key,
                      std::u16string_view value, bool overwrite) {
    if (IniTable::checkSection(section) < 0 || IniTable::checkEntry(key, value) < 0)
        return kWouldDamage;
    const MutexHold memoryHold(memoryMutex.get());
    if (batching && overwrite) {
        collect(section, key, value);
        return kSet;
    }
    flushBatch();
    const Access access(*this);
    if (!overwrite && hasKey(section, key))
        return kKeyExists;
    if (table.checkNeighbours(section, key) < 0)
        return kWouldDamage;
    table.set(section, IniEntry::make(key, value));
    return save() == 0 ? kSet : kNotSaved;
}

int IniFile::getValue(std::u16string_view section, std::u16string_view key,
                      std::u16string& result) {
    const MutexHold memoryHold(memoryMutex.get());
    flushBatch();
    const Access access(*this);
    const IniEntry* entry = table.find(section, key);
    if (entry == nullptr)
        return -1;
    result = entry->value();
    return 0;
}

void IniFile::getSectionNames(std::vector<std::u16string>& names) {
    const MutexHold memoryHold(memoryMutex.get());
    flushBatch();
    const Access access(*this);
    for (const auto& [name, section] : table.sections())
        names.push_back(name);
}

// ---------------------------------------------------------------------------------------------
// Batches

void IniFile::beginBatch() {
    const MutexHold memoryHold(memoryMutex.get());
    batching = true;
    batchLimit = kFirstBatch;
}

bool IniFile::endBatch() {
    const MutexHold memoryHold(memoryMutex.get());
    batching = false;
    if (batch.empty() && table.isSaved())
        return true;
    const Access access(*this);
    applyBatch();
    return table.isSaved() || save() == 0; // an earlier batch may have to be saved yet
}

// A batch that cannot be written now, since the file cannot be read, stays for the next one.
void IniFile::collect(std::u16string_view section, std::u16string_view key,
                      std::u16string_view value) {
    IniEntry::Pointer entry = IniEntry::make(key, value);
    if (batch.empty() || batch.back().section != section)
        batch.push_back({std::u16string(section), {}});
    batch.back().entries.push_back(std::move(entry));
    if (++batchCount < batchLimit)
        return;
    flushBatch();
    // Each file that is written is at least twice as large as the one before.
    batchLimit = std::max(2 * batchLimit, table.entryCount());
}

void IniFile::flushBatch() {
    if (batch.empty())
        return;
    const Access access(*this);
    applyBatch();
    // What cannot be saved now goes with the next batch, or with the end.
    if (!table.isSaved())
        save();
}

// ---------------------------------------------------------------------------------------------
// Runs

void IniFile::beginRun() {
    const MutexHold memoryHold(memoryMutex.get());
    inRun = true;
}

void IniFile::endRun() {
    const MutexHold memoryHold(memoryMutex.get());
    inRun = false;
    if (held)
        release();
}

// ---------------------------------------------------------------------------------------------
// The end of a move

void IniFile::markCarried(std::u16string_view section, std::u16string_view key) {
    const MutexHold hold(memoryMutex.get()); // nothing of the file is touched
    table.markCarried(section, key);
}

void IniFile::retire() {
    const MutexHold memoryHold(memoryMutex.get());
    flushBatch();
    const Access access(*this); // values that another process has just added were not carried
    if (table.isWhollyCarried()) {
        g_wideCalls.DeleteFileW(path.c_str());
        return;
    }
    const std::string aside = narrow(path + std::u16string(kAsideSuffix));
    for (int number = 1; number < 10000; ++number) {
        const std::string name = number == 1 ? aside : aside + "." + std::to_string(number);
        if (MoveFileExA(narrowPath.c_str(), name.c_str(), MOVEFILE_WRITE_THROUGH) != 0)
            return;
        const DWORD error = GetLastError();
        if (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS)
            return;
    }
}

} // namespace zv::core
