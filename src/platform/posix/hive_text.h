// The text of a hive: the .reg format read and written in memory. docs/hive.md has the grammar.
//
// Nothing here is synchronised or touches a file. Text is UTF-16 in native order (the file's bytes
// on this target); offsets and lengths are in code units.
#ifndef ZVSUPPORT_PLATFORM_POSIX_HIVE_TEXT_H
#define ZVSUPPORT_PLATFORM_POSIX_HIVE_TEXT_H

#include "platform/posix/hive_tree.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zv::platform::posix {

inline constexpr char16_t kByteOrderMark = 0xFEFF;
inline constexpr std::u16string_view kHiveHeader = u"Windows Registry Editor Version 5.00";
inline constexpr std::u16string_view kOldHeader = u"REGEDIT4";
// The comment that makes a file a journal: behind it an entry counts when its blank line is there.
inline constexpr std::u16string_view kJournalMark =
    u"; Journal: the last word about a value counts, a blank line ends each entry.";
// What a new hive begins with: mark of byte order, header, blank line, journal mark, blank line.
std::u16string hivePreamble();

// ---------------------------------------------------------------------------------------------
// Reading

// What a file's first line says.
struct HeaderLine {
    std::size_t length = 0; // up to and including its line end; 0: not a header
    bool old = false;       // REGEDIT4: hex data of string types are narrow text
};
// text begins behind the byte order mark. A header at the very end needs no line end.
HeaderLine readHeader(std::u16string_view text);

// UTF-8 to UTF-16. A byte that is no UTF-8 becomes the lone surrogate 0xDC00 + byte, so that
// nothing of the file is lost. Throws std::bad_alloc.
void appendUtf8(std::u16string& text, std::string_view bytes);

// The length of text (which begins at a line's start) up to and including its last blank line; 0
// when it has none. A CR at the very end is no line end yet.
std::size_t committedLength(std::u16string_view text);

// What a reader tells about a text, in the text's order. Views die with the call.
class RegTextHandler {
public:
    // A key line of which the root and the path are still to be checked; false refuses it, and what
    // belongs to it.
    virtual bool key(std::u16string_view path) = 0;
    virtual bool deleteKey(std::u16string_view path) = 0;
    // Values of the last key.
    virtual void value(std::u16string_view name, std::uint32_t type, const void* data,
                       std::uint32_t size) = 0;
    virtual void deleteValue(std::u16string_view name) = 0;
    // A stretch of the text that says nothing and is no comment.
    virtual void damaged(std::uint64_t start, std::uint64_t end) = 0;

protected:
    ~RegTextHandler() = default;
};

enum class TextEnd {
    More,    // the text goes on: only whole lines (with their continuations) are read
    Foreign, // the end of a file that no journal has touched
    Journal, // the last blank line of a journal
};

// Reads lines of a text that may come in pieces.
class RegTextReader {
public:
    explicit RegTextReader(RegTextHandler& handler) : handler(handler) {}

    // What follows begins at that offset, with no key open.
    void restart(std::uint64_t offset, bool oldHeader);
    // Reads up to the end, or up to and including the journal mark, whichever comes first; answers
    // the length read. The rest is to be given again with what follows it. Throws what the handler
    // throws, and std::bad_alloc.
    //
    // At a Foreign end a last line without line end is heard when its grammar shows that nothing is
    // missing (a closed string, all eight digits of a dword), and a value whose continuation is
    // missing behind a whole line counts as far as it goes; neither counts as read.
    std::size_t read(std::u16string_view text, TextEnd end);

    bool sawMark() const { return mark; }
    std::uint64_t offset() const { return position; }
    // The next value needs a key line of its own.
    void forgetKey() { keyState = KeyState::None; }

private:
    enum class KeyState { None, Open, Refused };
    struct Line {
        const char16_t* begin;
        const char16_t* end;  // the line end's first unit
        const char16_t* next; // behind the line end
        bool whole;           // has its line end
    };
    enum class Outcome { Done, Rejected, Incomplete, Heard };

    Line lineAt(const char16_t* at) const;
    Outcome keyLine(const Line& line);
    Outcome valueLine(Line& line);
    Outcome hexData(const char16_t* at, Line& line, std::u16string_view name, std::uint32_t type);
    bool quoted(const char16_t*& at, const char16_t* end, std::u16string& scratch,
                std::u16string_view& text) const;
    void deliver(std::u16string_view name, std::uint32_t type);
    void reject(const Line& line);

    RegTextHandler& handler;
    std::uint64_t position = 0;
    bool oldHeader = false;
    bool mark = false;
    KeyState keyState = KeyState::None;

    // One call of read().
    const char16_t* textBegin = nullptr;
    const char16_t* textEnd = nullptr;
    TextEnd ending = TextEnd::More;
    std::uint64_t textOffset = 0;

    // The key line under which something was rejected last, so that it is set aside once.
    std::uint64_t keyStart = 0;
    std::uint64_t keyEnd = 0;
    bool keyTold = true;

    std::u16string nameScratch;
    std::u16string textScratch;
    std::vector<unsigned char> bytes;
};

// Builds a tree from what a reader tells.
class TreeBuilder : public RegTextHandler {
public:
    struct Range {
        std::uint64_t start;
        std::uint64_t end;
    };

    explicit TreeBuilder(KeyTree& tree) : tree(&tree) {}
    virtual ~TreeBuilder() = default;

    bool key(std::u16string_view path) override;
    bool deleteKey(std::u16string_view path) override;
    void value(std::u16string_view name, std::uint32_t type, const void* data,
               std::uint32_t size) override;
    void deleteValue(std::u16string_view name) override;
    void damaged(std::uint64_t start, std::uint64_t end) override;

    // Called before a key and all below it leave the tree.
    virtual void keyRemoved(Key*) {}

    // The last key line's key is no longer known: something else has changed the tree.
    void forgetKey() { lastPath.clear(); }

    std::vector<Range> damage;   // in order
    std::uint64_t deadUnits = 0; // about how many units of text a later line has made void

protected:
    KeyTree* tree;

private:
    Key* current = nullptr;
    std::u16string lastPath; // of current; empty: none
};

// The key at a path that begins with a root's name; null when there is none.
Key* findPath(const KeyTree& tree, std::u16string_view path);

// ---------------------------------------------------------------------------------------------
// Writing. What is written is read back the same by every known reader of the format. Lines end
// with CR LF; an entry is a key line, the lines of its values, a blank line. Throw std::bad_alloc.

// May names be written? A control character or a zero cannot be carried by every reader.
bool isWritableName(std::u16string_view name);

// The data as the registry keeps them: those of the string types (1, 2, 7) that are not empty end
// with a whole zero unit. Answers how many zero bytes are missing (0 to 3).
std::uint32_t missingTerminator(std::uint32_t type, const void* data, std::uint32_t size);

void appendPath(std::u16string& text, const Key* key);
void appendKeyLine(std::u16string& text, const Key* key);
void appendKeyDeletion(std::u16string& text, const Key* key);
void appendValueLine(std::u16string& text, std::u16string_view name, std::uint32_t type,
                     const void* data, std::uint32_t size);
void appendValueDeletion(std::u16string& text, std::u16string_view name);
void appendLineEnd(std::u16string& text);

// About the length of the entry that tells a value or a key.
std::uint64_t entryUnits(const Key* key, const Value* value);
// The same for a key and all below it.
std::uint64_t subtreeUnits(const Key* key);

// The whole tree, parents before children, in pieces of some 64 KiB (the preamble first); an entry
// is never much longer than that unless one value is. Stops when sink answers false, and answers
// whether it never did. text is empty at the start and scratch afterwards.
bool writeTree(const KeyTree& tree, std::u16string& text,
               const std::function<bool(std::u16string&)>& sink);

} // namespace zv::platform::posix

#endif
