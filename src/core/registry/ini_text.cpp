#include "core/registry/ini_text.h"

#include "platform/win32.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

namespace zv::core {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

// White space of the reader: what ends a section at a line's start.
bool isSpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

bool endsSection(std::string_view line) {
    return line.empty() || isSpace(line.front()) || line.front() == '\0';
}

// Spaces, and no other white space, off both ends.
template <typename Unit>
std::basic_string_view<Unit> trimmed(std::basic_string_view<Unit> text) {
    while (!text.empty() && text.front() == Unit{' '})
        text.remove_prefix(1);
    while (!text.empty() && text.back() == Unit{' '})
        text.remove_suffix(1);
    return text;
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

bool isAscii(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

// Appends wide text as bytes. Every ANSI code page is ASCII at its base.
void appendNarrow(std::string& bytes, std::u16string_view wide) {
    const std::size_t before = bytes.size();
    bytes.resize(before + wide.size());
    char* target = bytes.data() + before;
    char16_t all = 0;
    for (const char16_t unit : wide) {
        all |= unit;
        *target++ = static_cast<char>(unit);
    }
    if (all >= 0x80) {
        bytes.resize(before);
        bytes += narrow(wide);
    }
}

// The wide form of a piece of the file, in a buffer that is used again and again.
class Widener {
public:
    std::u16string_view operator()(std::string_view text) {
        if (isAscii(text)) {
            wide.assign(text.begin(), text.end());
            return wide;
        }
        wide = widen(text);
        return wide;
    }

private:
    std::u16string wide;
};

// The bytes to keep beside a wide text, when it would not give them back.
std::string_view rawUnlessEqual(std::string_view bytes, std::u16string_view wide) {
    if (isAscii(bytes) && bytes.size() == wide.size())
        return {};
    return narrow(wide) == bytes ? std::string_view() : bytes;
}

bool isBlank(std::string_view line) {
    return std::all_of(line.begin(), line.end(), isSpace);
}

// A skipped line that somebody may have meant as a value: it has a "=", and none of the marks at
// its beginning that comments have.
bool looksLikeValue(std::string_view line) {
    const auto first = std::find_if_not(line.begin(), line.end(), isSpace);
    return first != line.end() && std::string_view(";#:").find(*first) == std::string_view::npos &&
           line.find('=') != std::string_view::npos;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Entries

IniEntry::Pointer IniEntry::make(std::u16string_view key, std::u16string_view value,
                                 std::string_view rawKey, std::string_view rawValue) {
    const std::size_t units = key.size() + value.size();
    void* block = ::operator new(sizeof(IniEntry) + units * sizeof(char16_t) + rawKey.size() +
                                 rawValue.size());
    Pointer entry(::new (block) IniEntry);
    entry->keyLength = static_cast<std::uint32_t>(key.size());
    entry->valueLength = static_cast<std::uint32_t>(value.size());
    entry->rawKeyLength = static_cast<std::uint32_t>(rawKey.size());
    entry->rawValueLength = static_cast<std::uint32_t>(rawValue.size());
    auto* text = const_cast<char16_t*>(entry->text());
    text = std::copy(key.begin(), key.end(), text);
    std::copy(value.begin(), value.end(), text);
    auto* bytes = const_cast<char*>(entry->bytes());
    bytes = std::copy(rawKey.begin(), rawKey.end(), bytes);
    std::copy(rawValue.begin(), rawValue.end(), bytes);
    return entry;
}

void IniEntry::Deleter::operator()(IniEntry* entry) const {
    ::operator delete(entry);
}

// ---------------------------------------------------------------------------------------------
// Parsing

class IniParser {
public:
    explicit IniParser(std::string_view text) : rest(text) {}

    IniTable parse() {
        std::string skipped;
        while (!rest.empty()) {
            const std::string_view start = rest;
            const std::string_view line = nextLine();
            if (line.empty() || line.front() != '[') {
                if (!isBlank(line))
                    skipped.append(start.substr(0, start.size() - rest.size()));
                result.hasUnread |= looksLikeValue(line);
                continue;
            }
            if (!readSection(line, skipped)) {
                result.malformed = start;
                break;
            }
        }
        if (!skipped.empty() && skipped.back() != '\n')
            skipped += kLineEnd;
        result.after = std::move(skipped);
        result.sizeEstimate += result.after.size() + result.malformed.size();
        return std::move(result);
    }

private:
    // The next line without its line end, as a reader of zero-terminated text has it: `line` in
    // full.
    std::string_view nextLine() {
        const std::size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (end != std::string_view::npos && !line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        return line;
    }

    static std::string_view upToZero(std::string_view line) {
        return line.substr(0, line.find('\0'));
    }

    // Reads the section of a "[" line; false when it is malformed, and nothing of it counts. What
    // was skipped in front of it goes with it. The line that ends it is kept as skipped text.
    bool readSection(std::string_view header, std::string& skipped) {
        const std::string_view text = upToZero(header);
        const std::size_t close = text.rfind(']');
        if (close == std::string_view::npos)
            return false;
        const std::string_view rawName = text.substr(1, close - 1);
        std::u16string name(widener(rawName));
        IniSection section;
        section.rawName = rawUnlessEqual(rawName, name);

        std::size_t size = header.size() + 2 * kLineEnd.size();
        std::string ending;
        while (!rest.empty()) {
            const std::string_view start = rest;
            const std::string_view line = nextLine();
            if (endsSection(line)) {
                if (!isBlank(line))
                    ending = start.substr(0, start.size() - rest.size());
                result.hasUnread |= looksLikeValue(line);
                break;
            }
            if (!readKey(line, section))
                return false;
            size += line.size() + kLineEnd.size();
        }
        section.before = std::move(skipped);
        skipped = std::move(ending);

        // A later section of the same name takes the whole place of the earlier one.
        const auto [place, isNew] = result.table.try_emplace(std::move(name));
        if (!isNew) {
            result.entries -= place->second.keys.size();
            section.before.insert(0, place->second.before);
            section.rawName = std::move(place->second.rawName);
        }
        result.entries += section.keys.size();
        result.sizeEstimate += size + section.before.size();
        place->second = std::move(section);
        return true;
    }

    bool readKey(std::string_view line, IniSection& section) {
        const std::string_view text = upToZero(line);
        const std::size_t split = text.find('=');
        if (split == std::string_view::npos)
            return false;
        const std::string_view rawKey = trimmed(text.substr(0, split));
        const std::string_view rawValue = trimmed(text.substr(split + 1));
        const std::u16string_view key = widener(rawKey);
        const std::u16string_view value = valueWidener(rawValue);
        // Behind a zero the line has bytes that no text shows; they stay with the value.
        const std::string_view keptValue =
            text.size() != line.size() ? line.substr(split + 1) : rawUnlessEqual(rawValue, value);
        const std::string_view keptKey = rawUnlessEqual(rawKey, key);

        const auto place = section.keys.lower_bound(key);
        const bool known = place != section.keys.end() && compareNames((*place)->key(), key) == 0;
        if (known) {
            IniEntry::Pointer entry =
                IniEntry::make((*place)->key(), value, (*place)->rawKey(), keptValue);
            section.keys.insert(section.keys.erase(place), std::move(entry));
        } else {
            section.keys.insert(place, IniEntry::make(key, value, keptKey, keptValue));
        }
        return true;
    }

    std::string_view rest;
    Widener widener;
    Widener valueWidener;
    IniTable result;
};

void IniTable::parse(std::string_view text) {
    *this = IniParser(text).parse();
}

// ---------------------------------------------------------------------------------------------
// Writing

std::string IniTable::write() const {
    std::string text;
    text.reserve(sizeEstimate + sizeEstimate / 16);
    for (const auto& [name, section] : table) {
        text += section.before;
        text += '[';
        if (section.rawName.empty())
            appendNarrow(text, name);
        else
            text += section.rawName;
        text += ']';
        text += kLineEnd;
        for (const IniEntry::Pointer& entry : section.keys) {
            if (entry->rawKey().empty())
                appendNarrow(text, entry->key());
            else
                text += entry->rawKey();
            text += '=';
            if (entry->rawValue().empty())
                appendNarrow(text, entry->value());
            else
                text += entry->rawValue();
            text += kLineEnd;
        }
        text += kLineEnd;
    }
    text += after;
    text += malformed;
    return text;
}

// ---------------------------------------------------------------------------------------------
// The table

const IniSection* IniTable::findSection(std::u16string_view name) const {
    if (last == nullptr || last->first != name) {
        const auto place = table.find(name);
        if (place == table.end())
            return nullptr;
        last = &*place;
    }
    return &last->second;
}

const std::vector<const std::u16string*>& IniTable::sectionsBySpelling() const {
    if (bySpelling.size() != table.size()) { // sections come and never go
        std::vector<const std::u16string*> names;
        names.reserve(table.size());
        for (const auto& [name, section] : table)
            names.push_back(&name);
        std::sort(
            names.begin(), names.end(),
            [](const std::u16string* left, const std::u16string* right) { return *left < *right; });
        bySpelling = std::move(names);
    }
    return bySpelling;
}

const IniEntry* IniTable::find(std::u16string_view section, std::u16string_view key) const {
    const IniSection* found = findSection(section);
    if (found == nullptr)
        return nullptr;
    const auto entry = found->keys.find(key);
    return entry == found->keys.end() ? nullptr : entry->get();
}

void IniTable::set(std::u16string_view section, IniEntry::Pointer entry) {
    entry->change = change;
    hasUnsaved = true;
    // The sections are this table's own: none of them is constant.
    auto* place = const_cast<IniSection*>(findSection(section));
    if (place == nullptr) {
        // Made whole before it is put in place, so that no empty section stays when memory runs
        // out.
        IniSection fresh;
        const std::size_t size = section.size() + entry->key().size() + entry->value().size() + 9;
        fresh.keys.insert(std::move(entry));
        table.try_emplace(std::u16string(section), std::move(fresh));
        sizeEstimate += size;
        ++entries;
        return;
    }
    auto& keys = place->keys;
    auto found = keys.end();
    // Values often come in order.
    if (!keys.empty() && compareNames((*keys.rbegin())->key(), entry->key()) >= 0)
        found = keys.lower_bound(entry->key());
    const std::size_t size = entry->key().size() + entry->value().size() + 3;
    if (found != keys.end() && compareNames((*found)->key(), entry->key()) == 0) {
        IniEntry::Pointer fresh =
            IniEntry::make((*found)->key(), entry->value(), (*found)->rawKey());
        fresh->change = change;
        // The node is used again, so that nothing can fail half-way.
        auto node = keys.extract(found);
        node.value() = std::move(fresh);
        keys.insert(std::move(node));
    } else {
        keys.insert(found, std::move(entry));
        ++entries;
    }
    sizeEstimate += size;
}

void IniTable::markSaved() {
    savedChange = change++;
    hasUnsaved = false;
}

void IniTable::takeUnsaved(const IniTable& other) {
    if (!other.hasUnsaved)
        return;
    for (const auto& [name, section] : other.table) {
        for (const IniEntry::Pointer& entry : section.keys) {
            if (entry->change > other.savedChange && checkNeighbours(name, entry->key()) >= 0)
                set(name, IniEntry::make(entry->key(), entry->value()));
        }
    }
}

ResultCode IniTable::checkSection(std::u16string_view section) {
    const bool broken =
        section.find_first_of(std::u16string_view(u"\r\n\0", 3)) != std::u16string_view::npos;
    if (broken || section.size() > INT_MAX / 8)
        return kInvalidArgument;
    return isAscii(section) || widen(narrow(section)) == section ? kOk : kInvalidArgument;
}

ResultCode IniTable::checkEntry(std::u16string_view key, std::u16string_view value) {
    constexpr std::u16string_view breaks(u"\r\n\0", 3);
    if (key.find_first_of(breaks) != std::u16string_view::npos ||
        key.find(u'=') != std::u16string_view::npos ||
        value.find_first_of(breaks) != std::u16string_view::npos || key.size() > INT_MAX / 8 ||
        value.size() > INT_MAX / 8)
        return kInvalidArgument;
    // A code page may fit a sign that it lacks to a control character, a line end among them.
    if (!isAscii(value) &&
        narrow(value).find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos)
        return kInvalidArgument;
    // A line that begins with white space would end the section.
    if (!key.empty() && key.front() < 0x80 && isSpace(static_cast<char>(key.front())))
        return kInvalidArgument;
    // Two names that the code page lacks would become one.
    return isAscii(key) || widen(narrow(key)) == key ? kOk : kInvalidArgument;
}

ResultCode IniTable::checkNeighbours(std::u16string_view section, std::u16string_view key) const {
    // Spaces at a key's end do not survive the next reading: the key would become its neighbour.
    const IniSection* place = findSection(section);
    if (place == nullptr)
        return kOk;
    const auto& keys = place->keys;
    const std::u16string_view shorter = trimmed(key);
    if (shorter.size() != key.size() && keys.find(key) == keys.end() &&
        keys.find(shorter) != keys.end())
        return kInvalidArgument;
    // Keys that continue this one stand right behind it, those with spaces first but for control
    // characters; a longer run of others ends the search.
    for (auto next = keys.lower_bound(shorter); next != keys.end(); ++next) {
        const std::u16string_view other = (*next)->key();
        if (compareNames(other.substr(0, shorter.size()), shorter) != 0)
            break;
        if (other.size() > shorter.size() && other[shorter.size()] > u' ')
            break;
        if (compareNames(other, key) != 0 && compareNames(trimmed(other), shorter) == 0)
            return kInvalidArgument;
    }
    return kOk;
}

void IniTable::markCarried(std::u16string_view section, std::u16string_view key) {
    const IniSection* place = findSection(section);
    if (place == nullptr)
        return;
    const auto entry = place->keys.find(key);
    if (entry != place->keys.end())
        (*entry)->carried = true;
}

bool IniTable::isWhollyCarried() const {
    if (!malformed.empty() || hasUnread)
        return false;
    for (const auto& [name, section] : table) {
        if (!section.rawName.empty())
            return false;
        for (const IniEntry::Pointer& entry : section.keys) {
            if (!entry->carried || !entry->rawKey().empty() || !entry->rawValue().empty())
                return false;
        }
    }
    return true;
}

} // namespace zv::core
