// The hive: the user's registry file, kept as a journal that several processes append to.
//
// Not synchronised: the registry calls hold one mutex around it. Between processes a lock file
// serialises whoever changes the hive. docs/hive.md has the format and the rules.
//
// Calls answer Windows error numbers, 0 on success. A failed change leaves file and tree as they
// were. Operations throw std::bad_alloc only, before anything is changed.
#ifndef ZVSUPPORT_PLATFORM_POSIX_HIVE_H
#define ZVSUPPORT_PLATFORM_POSIX_HIVE_H

#include "platform/posix/hive_text.h"
#include "platform/posix/hive_tree.h"
#include "platform/win32.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <sys/stat.h>
#include <sys/types.h>

namespace zv::platform::posix {

// Who holds keys of a tree by address.
class KeyHolder {
public:
    // The key and all below it are about to go.
    virtual void keyRemoved(const Key* key) noexcept = 0;
    // Another tree takes the place of the one whose keys are held.
    virtual void treeReplaced(const KeyTree& fresh) noexcept = 0;

protected:
    ~KeyHolder() = default;
};

class Hive {
public:
    // ${XDG_DATA_HOME:-$HOME/.local/share}/zentrova/registry.reg; touches no file.
    explicit Hive(KeyHolder& holder);
    ~Hive();
    Hive(const Hive&) = delete;
    Hive& operator=(const Hive&) = delete;

    // Reads what other processes (or nobody yet) have told since the last call.
    DWORD refresh();
    // What refresh() saw last. Keys stay valid until the next refresh or change; KeyHolder hears of
    // those that go.
    KeyTree& keys() { return *tree; }

    // A change takes the lock, refreshes and, while it lives, may append. error() is what kept it
    // from that; then nothing else may be called on the hive for the change.
    class Change {
    public:
        explicit Change(Hive& hive) : hive(hive), code(hive.beginChange()) {}
        ~Change() { hive.endChange(); }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        DWORD error() const { return code; }

    private:
        Hive& hive;
        DWORD code;
    };

    // Inside a Change. path's missing components are created below base; components are checked
    // (87). created tells whether the key was not there.
    DWORD createKey(Key* base, std::u16string_view path, Key*& result, bool& created);
    // data may be null when size is 0. A value that is there with the same spelling, type and bytes
    // is not written again.
    DWORD setValue(Key* key, std::u16string_view name, DWORD type, const void* data, DWORD size);
    DWORD deleteValue(Key* key, std::u16string_view name); // 2: not there
    DWORD deleteKey(Key* key);                             // 5: a root, or it has sub-keys

private:
    // What the file is, as far as it has been read.
    enum class Kind {
        Missing, // also: a creation that was cut short
        Journal,
        Foreign,     // written by others: may be appended to once it ends with a whole line
        Convertible, // UTF-8, or REGEDIT4: rewritten at the first change
    };

    class Builder final : public TreeBuilder {
    public:
        Builder(KeyTree& tree, KeyHolder& holder) : TreeBuilder(tree), holder(holder) {}
        void keyRemoved(Key* key) override { holder.keyRemoved(key); }

    private:
        KeyHolder& holder;
    };

    // The tree and how far the file has been read into it.
    struct Reading {
        // Reads the file from `consumed` to end; a new reading finds out first what it is.
        DWORD readFile(int file, off_t end);
        DWORD readText(int file, off_t end);
        DWORD readConvertible(int file, off_t end);

        explicit Reading(KeyHolder& holder) : builder(tree, holder), reader(builder) {}
        KeyTree tree;
        Builder builder;
        RegTextReader reader;
        Kind kind = Kind::Missing;
        off_t consumed = 0; // bytes of the file that are in the tree for good
        off_t size = 0;     // bytes that have been looked at
        // What stands before `consumed` in the file. When something else does, the file was not
        // appended to but rewritten in place.
        static constexpr std::size_t kGuardUnits = 8;
        char16_t guard[kGuardUnits] = {};
        std::size_t guardLength = 0;

        void keepGuard(std::u16string_view textBefore);
        std::size_t readPiece(std::u16string_view text, bool atEnd);
    };

    DWORD beginChange();
    void endChange() noexcept;
    DWORD lock(bool change);
    void unlock() noexcept;
    void closeLock() noexcept;

    bool look(struct stat& now);
    bool isCurrent(const struct stat& status) const;
    DWORD refreshLocked();
    DWORD reload();
    bool guardHolds() const;

    DWORD append(); // entry
    DWORD cutTail();
    void keepPosition(off_t end, std::u16string_view written);
    DWORD setAside(std::u16string_view text);
    DWORD setDamageAside();
    DWORD compact();
    void compactWhenWorthwhile() noexcept;
    void removeLeftovers();
    DWORD openForWriting();
    void closeFile() noexcept;

    KeyHolder& holder;
    std::string path; // empty: the user has no folder
    std::unique_ptr<Reading> reading;
    KeyTree* tree = nullptr; // of reading
    std::u16string entry;    // the one being written

    int file = -1;
    bool fileWritable = false;
    struct stat seen = {};                            // of file, when it was last looked at
    bool seenValid = false;                           // false: the next refresh reads everything
    bool appended = false;                            // by this process since then
    std::chrono::steady_clock::time_point nextWalk{}; // of the path, by a reader

    int lockFile = -1;
    bool lockWritable = false;
    pid_t lockOwner = 0;
    bool locked = false;
    bool changed = false;          // something was appended under this lock
    bool leftoversChecked = false; // by this process, once
    off_t compactionPause = 0;     // no compaction below this size: the last one failed
};

} // namespace zv::platform::posix

#endif
