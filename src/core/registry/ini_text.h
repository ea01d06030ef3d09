// The registry file's contents: a two-level table in memory, and the parser and writer of its text.
// Files and locks are elsewhere (ini_file.h).
//
// One thread at a time. Text is narrow, in the ANSI code page; the table holds wide text. Names of
// sections and keys are compared by compareNames, so that two that differ in case are one entry,
// which keeps its first spelling.
//
// Nothing is lost between reading and writing:
//   - Bytes that do not survive the way to wide text and back (invalid in the code page, or behind
//   a
//     zero byte) are kept beside their entry, and written as they were until the entry is set anew.
//   - What is not part of a section (comments, a line that ended a section by its leading white
//     space) is kept and written in front of the section that it stood before, or at the end.
//   - From a malformed line on nothing is read: that section and everything behind it is kept byte
//     for byte and written behind the sections.
#ifndef ZVSUPPORT_CORE_REGISTRY_INI_TEXT_H
#define ZVSUPPORT_CORE_REGISTRY_INI_TEXT_H

#include "core/result.h"
#include "core/wide_text.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zv::core {

// A key with its value, in one block of the heap. Throws std::bad_alloc.
class IniEntry {
public:
    struct Deleter {
        void operator()(IniEntry* entry) const;
    };
    using Pointer = std::unique_ptr<IniEntry, Deleter>;

    // rawKey and rawValue: the bytes to write in place of the narrowed texts; empty for none.
    static Pointer make(std::u16string_view key, std::u16string_view value,
                        std::string_view rawKey = {}, std::string_view rawValue = {});

    std::u16string_view key() const { return {text(), keyLength}; }
    std::u16string_view value() const { return {text() + keyLength, valueLength}; }
    std::string_view rawKey() const { return {bytes(), rawKeyLength}; }
    std::string_view rawValue() const { return {bytes() + rawKeyLength, rawValueLength}; }

    bool carried = false;     // the value has arrived in another store
    std::uint32_t change = 0; // counts up with the table's changes; see IniTable::markSaved

private:
    IniEntry() = default;
    const char16_t* text() const { return reinterpret_cast<const char16_t*>(this + 1); }
    const char* bytes() const {
        return reinterpret_cast<const char*>(text() + keyLength + valueLength);
    }

    std::uint32_t keyLength = 0;
    std::uint32_t valueLength = 0;
    std::uint32_t rawKeyLength = 0;
    std::uint32_t rawValueLength = 0;
};

struct NameLess {
    using is_transparent = void;
    bool operator()(std::u16string_view left, std::u16string_view right) const {
        return compareNames(left, right) < 0;
    }
    bool operator()(const IniEntry::Pointer& left, const IniEntry::Pointer& right) const {
        return compareNames(left->key(), right->key()) < 0;
    }
    bool operator()(const IniEntry::Pointer& left, std::u16string_view right) const {
        return compareNames(left->key(), right) < 0;
    }
    bool operator()(std::u16string_view left, const IniEntry::Pointer& right) const {
        return compareNames(left, right->key()) < 0;
    }
};

struct IniSection {
    std::set<IniEntry::Pointer, NameLess> keys;
    std::string rawName; // the bytes to write in place of the narrowed name; empty for none
    std::string before;  // skipped lines that stood before the section, with their line ends
};

using IniSections = std::map<std::u16string, IniSection, NameLess>;

class IniTable {
public:
    // Replaces the table by what the text says. On std::bad_alloc the table is as it was.
    void parse(std::string_view text);
    // The file's text: sections and keys in order, lines ending with CR LF.
    std::string write() const;

    const IniSections& sections() const { return table; }
    // The sections' names in plain code-unit order. Good until the table changes.
    const std::vector<const std::u16string*>& sectionsBySpelling() const;
    const IniEntry* find(std::u16string_view section, std::u16string_view key) const;
    const IniSection* findSection(std::u16string_view name) const;
    // Sets a value; the key keeps the spelling that it has. The entry is taken over; it counts as
    // unsaved until the next markSaved.
    void set(std::u16string_view section, IniEntry::Pointer entry);
    void markSaved();
    bool isSaved() const { return !hasUnsaved; }
    // Sets the values of another table that are not saved, where they do no damage.
    void takeUnsaved(const IniTable& other);

    // What would damage other entries, or read back as another one, when it is written and read:
    // kInvalidArgument, else 0. A section's name; a key and its text; a key beside those that the
    // section has already.
    static ResultCode checkSection(std::u16string_view section);
    static ResultCode checkEntry(std::u16string_view key, std::u16string_view value);
    ResultCode checkNeighbours(std::u16string_view section, std::u16string_view key) const;

    // Notes that a value has arrived in another store.
    void markCarried(std::u16string_view section, std::u16string_view key);
    // No value would be lost with the file: every one is marked and has no bytes but its text's,
    // and no line was passed over that may have been meant as one.
    bool isWhollyCarried() const;

    std::size_t entryCount() const { return entries; }

private:
    friend class IniParser;

    IniSections table;
    // The section that was looked up last: values come section by section.
    mutable const IniSections::value_type* last = nullptr;
    // Made when it is asked for.
    mutable std::vector<const std::u16string*> bySpelling;
    std::string after;      // skipped lines behind the last section
    std::string malformed;  // from the section that could not be read to the end of the file
    bool hasUnread = false; // a skipped line looks like a value
    std::size_t entries = 0;
    std::size_t sizeEstimate = 0; // about what write() gives, in bytes
    std::uint32_t change = 1;     // of the entries that are set from now on; 0: read from the file
    bool hasUnsaved = false;
    std::uint32_t savedChange = 0; // entries up to this one are in the file
};

} // namespace zv::core

#endif
