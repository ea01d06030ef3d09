// An INI file that several processes share: a table in memory, written through to the file.
//
// Any thread may call any operation. Each takes the cross-process lock, looks whether another
// process has changed the file (by its time, size and identity) and reads it again if so. A change
// rewrites the whole file: a new one is written beside it, flushed to the disk and put in its place
// in one step, so that a killed process or a full disk leaves the old file or the new one. The old
// file's mode stays, a symbolic link is followed, and what dead processes left behind is removed.
//
// Operations throw EZvCoreException (the lock fails, or the file is there and cannot be read: it is
// not taken for an empty one then, and nothing is written over it) and std::bad_alloc.
#ifndef ZVSUPPORT_CORE_REGISTRY_INI_FILE_H
#define ZVSUPPORT_CORE_REGISTRY_INI_FILE_H

#include "core/mutex.h"
#include "core/registry/ini_text.h"
#include "core/sync.h"
#include "platform/win32.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zv::core {

class IniFile {
public:
    // Opens the lock and loads the file. A missing file is an empty table. A relative path is taken
    // against the current directory of each call.
    explicit IniFile(std::u16string path);
    IniFile(const IniFile&) = delete;
    IniFile& operator=(const IniFile&) = delete;
    // Writes nothing: the file holds every change already, but for those of an open batch.
    virtual ~IniFile();

    // What setValue answers.
    enum : int {
        kSet = 0,
        kKeyExists = -1,   // and overwrite is false; nothing changed
        kNotSaved = 1,     // the file could not be written: the value is in memory until it can
        kWouldDamage = -2, // other entries would suffer when this one is read back; nothing changed
    };
    int setValue(std::u16string_view section, std::u16string_view key, std::u16string_view value,
                 bool overwrite);
    // 0, or -1 when there is no such section or key.
    int getValue(std::u16string_view section, std::u16string_view key, std::u16string& result);
    // In map order.
    void getSectionNames(std::vector<std::u16string>& names);

    // Between beginBatch and endBatch values that are set (with overwrite) are collected and
    // written together, in batches that double, so that the bytes written grow with the values and
    // not with their square. This object's readers see them. Of one migration at a time.
    void beginBatch();
    // Writes what is left. False when some of the values are not in the file.
    bool endBatch();

    // Between beginRun and endRun the lock is kept over up to 64 operations, and the file looked at
    // once for all of them: for many reads in a row. Others wait for the end of the 64. Of one
    // migration at a time.
    void beginRun();
    void endRun();

    // Notes that a value has arrived in another store.
    void markCarried(std::u16string_view section, std::u16string_view key);
    // Ends a move out of this file: deletes it when every value in it was carried; otherwise moves
    // it aside, to path.unmigrated or a numbered name beside it that is free. Failures are passed
    // over, and the file is then still there.
    void retire();

    const std::u16string& getPath() const { return path; }

private:
    friend class IniFileSetIterator;
    friend class IniFileKeyIterator;

    // What tells one state of the file from another.
    struct Stamp {
        bool valid = false;
        BY_HANDLE_FILE_INFORMATION info{};
        bool sameAs(const Stamp& other) const;
    };
    // Changes to one section that are not in the file yet.
    struct Group {
        std::u16string section;
        std::vector<IniEntry::Pointer> entries;
    };

    // Holds the lock and has refreshed the table, for a scope; in a run the lock stays.
    class Access {
    public:
        explicit Access(IniFile& file);
        ~Access();
        Access(const Access&) = delete;
        Access& operator=(const Access&) = delete;

    private:
        IniFile& file;
    };

    void release() noexcept;

    bool hasKey(std::u16string_view section, std::u16string_view key) const;

    // With the lock held:
    void refresh();
    void load(HANDLE file);
    void applyBatch();
    int save();
    static DWORD saveBeside(const std::string& target, bool exists, const std::string& text);
    static void removeLeftovers(const std::string& target);
    void collect(std::u16string_view section, std::u16string_view key, std::u16string_view value);
    void flushBatch();

    UniqueSync lock;
    const std::u16string path;
    const std::string narrowPath;
    IniTable table;
    Stamp stamp;

    const UniqueMutex memoryMutex; // guards the members; taken before the lock
    bool batching = false;
    std::vector<Group> batch;
    std::size_t batchCount = 0;
    std::size_t batchLimit = 0;
    bool inRun = false;
    bool held = false; // the lock
    int runLeft = 0;   // operations for which it stays
};

} // namespace zv::core

#endif
