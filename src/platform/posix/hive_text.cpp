#include "platform/posix/hive_text.h"

#include <algorithm>
#include <cstring>

namespace zv::platform::posix {

namespace {

constexpr std::u16string_view kLineEnd = u"\r\n";
constexpr std::uint32_t kString = 1; // REG_SZ and its kin
constexpr std::uint32_t kExpandString = 2;
constexpr std::uint32_t kBinary = 3;
constexpr std::uint32_t kNumber = 4;
constexpr std::uint32_t kMultiString = 7;

// A hex line is broken at the first comma from this column on: none is longer than 80.
constexpr std::size_t kHexBreakColumn = 77;
// Units of one piece of writeTree, and of one entry in it.
constexpr std::size_t kPieceUnits = std::size_t{32} * 1024;

bool isBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t';
}

const char16_t* skipBlanks(const char16_t* at, const char16_t* end) {
    while (at < end && isBlank(*at))
        ++at;
    return at;
}

// Only blanks or a comment from here to the line's end?
bool endsHere(const char16_t* at, const char16_t* end) {
    at = skipBlanks(at, end);
    return at == end || *at == u';';
}

int hexDigit(char16_t unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const char16_t lower = unit | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

// Takes 1 to 8 hexadecimal digits; answers how many there were, 0 for none or more than 8.
std::size_t takeHex(const char16_t*& at, const char16_t* end, std::uint32_t& number) {
    const char16_t* start = at;
    number = 0;
    while (at < end && hexDigit(*at) >= 0) {
        if (at - start == 8)
            return 0;
        number = number << 4 | static_cast<std::uint32_t>(hexDigit(*at++));
    }
    return static_cast<std::size_t>(at - start);
}

bool take(const char16_t*& at, const char16_t* end, std::u16string_view text) {
    if (static_cast<std::size_t>(end - at) < text.size() ||
        std::u16string_view(at, text.size()) != text)
        return false;
    at += text.size();
    return true;
}

bool isStringType(std::uint32_t type) {
    return type == kString || type == kExpandString || type == kMultiString;
}

char16_t unitOf(const void* data, std::size_t index) {
    char16_t unit;
    std::memcpy(&unit, static_cast<const char*>(data) + 2 * index, 2);
    return unit;
}

} // namespace

std::u16string hivePreamble() {
    std::u16string text(1, kByteOrderMark);
    text.append(kHiveHeader).append(kLineEnd).append(kLineEnd);
    return text.append(kJournalMark).append(kLineEnd).append(kLineEnd);
}

HeaderLine readHeader(std::u16string_view text) {
    const char16_t* end = text.data() + text.size();
    const char16_t* at = skipBlanks(text.data(), end);
    HeaderLine header;
    header.old = take(at, end, kOldHeader);
    if (!header.old && !take(at, end, kHiveHeader))
        return {};
    if (at != end && *at != u'\r' && *at != u'\n')
        return {};
    if (!take(at, end, kLineEnd) && at != end)
        ++at;
    header.length = static_cast<std::size_t>(at - text.data());
    return header;
}

void appendUtf8(std::u16string& text, std::string_view bytes) {
    text.reserve(text.size() + bytes.size());
    const auto byteAt = [&](std::size_t at) -> std::uint32_t {
        return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
    };
    for (std::size_t i = 0; i < bytes.size();) {
        const std::uint32_t lead = byteAt(i);
        if (lead < 0x80) {
            text.push_back(static_cast<char16_t>(lead));
            ++i;
            continue;
        }
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        std::uint32_t scalar = lead & (0x7Fu >> length);
        bool valid = lead >= 0xC2 && lead <= 0xF4;
        for (std::size_t k = 1; k < length && valid; ++k) {
            valid = (byteAt(i + k) & 0xC0) == 0x80;
            scalar = scalar << 6 | (byteAt(i + k) & 0x3F);
        }
        constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
        if (!valid || scalar < kLeast[length] || scalar > 0x10FFFF ||
            (scalar >= 0xD800 && scalar < 0xE000)) {
            text.push_back(static_cast<char16_t>(0xDC00 + lead));
            ++i;
            continue;
        }
        if (scalar >= 0x10000) {
            text.push_back(static_cast<char16_t>(0xD7C0 + (scalar >> 10)));
            scalar = 0xDC00 + (scalar & 0x3FF);
        }
        text.push_back(static_cast<char16_t>(scalar));
        i += length;
    }
}

std::size_t committedLength(std::u16string_view text) {
    for (std::size_t i = text.size(); i > 0;) {
        const std::size_t end = i--;
        if (text[i] != u'\n' && (text[i] != u'\r' || end == text.size()))
            continue;
        if (text[i] == u'\n' && i > 0 && text[i - 1] == u'\r')
            --i;
        std::size_t before = i;
        while (before > 0 && isBlank(text[before - 1]))
            --before;
        if (before == 0 || text[before - 1] == u'\n' || text[before - 1] == u'\r')
            return end;
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// RegTextReader

void RegTextReader::restart(std::uint64_t offset, bool old) {
    position = offset;
    oldHeader = old;
    mark = false;
    keyState = KeyState::None;
}

std::size_t RegTextReader::read(std::u16string_view text, TextEnd end) {
    textBegin = text.data();
    textEnd = textBegin + text.size();
    textOffset = position;
    ending = end;

    const bool markBefore = mark;
    const char16_t* at = textBegin;
    while (at < textEnd && mark == markBefore) {
        Line line = lineAt(at);
        if (!line.whole && ending != TextEnd::Foreign)
            break;
        const char16_t* first = skipBlanks(line.begin, line.end);
        Outcome outcome = Outcome::Done;
        if (first == line.end) {
            // nothing
        } else if (*first == u';') {
            const std::u16string_view comment(first, static_cast<std::size_t>(line.end - first));
            mark = mark || (line.whole && comment == kJournalMark);
        } else if (*first == u'[') {
            outcome = keyLine({first, line.end, line.next, line.whole});
        } else if (*first == u'"' || *first == u'@') {
            outcome = valueLine(line);
        } else {
            outcome = Outcome::Rejected;
        }
        if (outcome == Outcome::Rejected)
            reject(line);
        if (!line.whole || outcome == Outcome::Incomplete || outcome == Outcome::Heard)
            break;
        at = line.next;
    }
    const std::size_t length = static_cast<std::size_t>(at - textBegin);
    position += length;
    return length;
}

RegTextReader::Line RegTextReader::lineAt(const char16_t* at) const {
    const char16_t* end = at;
    while (end < textEnd && *end != u'\n' && *end != u'\r')
        ++end;
    if (end == textEnd)
        return {at, end, end, false};
    if (*end == u'\n')
        return {at, end, end + 1, true};
    if (end + 1 == textEnd) // the LF of this CR may be yet to come
        return {at, end, end + 1, ending != TextEnd::More};
    return {at, end, end[1] == u'\n' ? end + 2 : end + 1, true};
}

void RegTextReader::reject(const Line& line) {
    if (keyState == KeyState::Open && !keyTold)
        handler.damaged(keyStart, keyEnd);
    keyTold = true;
    handler.damaged(textOffset + static_cast<std::uint64_t>(line.begin - textBegin),
                    textOffset + static_cast<std::uint64_t>(line.next - textBegin));
}

// A key line that cannot be used closes the key before it: its values would otherwise end up in the
// wrong place.
RegTextReader::Outcome RegTextReader::keyLine(const Line& line) {
    keyState = KeyState::Refused;
    keyTold = true;
    const char16_t* close = line.end;
    while (close > line.begin && close[-1] != u']')
        --close;
    if (close == line.begin || !line.whole)
        return Outcome::Rejected;
    std::u16string_view path(line.begin + 1, static_cast<std::size_t>(close - line.begin - 2));
    const bool deletion = !path.empty() && path.front() == u'-';
    if (deletion)
        path.remove_prefix(1);
    if (path.empty() || isBlank(path.front()) || path.find(u'\0') != path.npos)
        return Outcome::Rejected;
    if (deletion) {
        if (!handler.deleteKey(path))
            return Outcome::Rejected;
        keyState = KeyState::None;
        return Outcome::Done;
    }
    if (!handler.key(path))
        return Outcome::Rejected;
    keyState = KeyState::Open;
    keyTold = false;
    keyStart = textOffset + static_cast<std::uint64_t>(line.begin - textBegin);
    keyEnd = textOffset + static_cast<std::uint64_t>(line.next - textBegin);
    return Outcome::Done;
}

// Reads a quoted text from its opening quote; text is a view of the input or of scratch.
bool RegTextReader::quoted(const char16_t*& at, const char16_t* end, std::u16string& scratch,
                           std::u16string_view& text) const {
    const char16_t* start = ++at;
    while (at < end && *at != u'"' && *at != u'\\' && *at != 0)
        ++at;
    if (at < end && *at == u'"') {
        text = {start, static_cast<std::size_t>(at++ - start)};
        return true;
    }
    scratch.assign(start, at);
    for (; at < end && *at != 0; ++at) {
        if (*at == u'"') {
            ++at;
            text = scratch;
            return true;
        }
        char16_t unit = *at;
        if (unit == u'\\') {
            if (++at == end)
                return false;
            switch (*at) {
            case u'\\':
            case u'"':
                unit = *at;
                break;
            case u'n':
                unit = u'\n';
                break;
            case u'r':
                unit = u'\r';
                break;
            default:
                return false;
            }
        }
        scratch.push_back(unit);
    }
    return false;
}

RegTextReader::Outcome RegTextReader::valueLine(Line& line) {
    const char16_t* end = line.end;
    const char16_t* at = skipBlanks(line.begin, end);
    std::u16string_view name;
    if (*at == u'@')
        ++at;
    else if (!quoted(at, end, nameScratch, name) || name.size() > kMaxValueName)
        return Outcome::Rejected;
    at = skipBlanks(at, end);
    if (at == end || *at != u'=')
        return Outcome::Rejected;
    at = skipBlanks(at + 1, end);
    if (at == end)
        return Outcome::Rejected;

    const bool open = keyState == KeyState::Open;
    std::uint32_t number = 0;
    if (*at == u'"') {
        std::u16string_view text;
        if (!quoted(at, end, textScratch, text) || !endsHere(at, end) || !open)
            return Outcome::Rejected;
        if (text.data() != textScratch.data())
            textScratch.assign(text); // for its terminator
        handler.value(name, kString, textScratch.c_str(),
                      static_cast<std::uint32_t>(2 * (textScratch.size() + 1)));
        return Outcome::Done;
    }
    if (*at == u'-') {
        if (!endsHere(at + 1, end) || !line.whole || !open)
            return Outcome::Rejected;
        handler.deleteValue(name);
        return Outcome::Done;
    }
    if (take(at, end, u"dword:")) {
        at = skipBlanks(at, end);
        const std::size_t digits = takeHex(at, end, number);
        if (digits == 0 || !endsHere(at, end) || (!line.whole && digits < 8) || !open)
            return Outcome::Rejected;
        const unsigned char little[] = {
            static_cast<unsigned char>(number), static_cast<unsigned char>(number >> 8),
            static_cast<unsigned char>(number >> 16), static_cast<unsigned char>(number >> 24)};
        handler.value(name, kNumber, little, sizeof(little));
        return Outcome::Done;
    }
    if (take(at, end, u"hex:"))
        return hexData(at, line, name, kBinary);
    if (take(at, end, u"hex(") && takeHex(at, end, number) != 0 && take(at, end, u"):"))
        return hexData(at, line, name, number);
    return Outcome::Rejected;
}

// Reads the bytes from `at` on; line grows by its continuations.
RegTextReader::Outcome RegTextReader::hexData(const char16_t* at, Line& line,
                                              std::u16string_view name, std::uint32_t type) {
    bytes.clear();
    const char16_t* end = line.end;
    bool afterComma = false;
    for (;;) {
        at = skipBlanks(at, end);
        if (at == end || *at == u';') {
            if (!line.whole || keyState != KeyState::Open)
                return Outcome::Rejected;
            deliver(name, type);
            return Outcome::Done;
        }
        if (*at == u'\\') {
            if (!afterComma || !endsHere(at + 1, end))
                return Outcome::Rejected;
            // The bytes go on in the next line that is neither blank nor a comment.
            do {
                if (!line.whole || line.next == textEnd) {
                    if (ending == TextEnd::More)
                        return Outcome::Incomplete;
                    if (ending == TextEnd::Journal || !line.whole || keyState != KeyState::Open)
                        return Outcome::Rejected;
                    deliver(name, type);
                    return Outcome::Heard;
                }
                const Line more = lineAt(line.next);
                at = skipBlanks(more.begin, more.end);
                if (at < more.end && *at == u'[')
                    return Outcome::Rejected; // the key line is read as one
                line.end = end = more.end;
                line.next = more.next;
                line.whole = more.whole;
                if (!line.whole && ending == TextEnd::More)
                    return Outcome::Incomplete;
            } while (at == end || *at == u';');
            afterComma = false;
            continue;
        }
        std::uint32_t byte = 0;
        if (takeHex(at, end, byte) == 0 || byte > 0xFF)
            return Outcome::Rejected;
        bytes.push_back(static_cast<unsigned char>(byte));
        afterComma = at < end && *at == u',';
        if (afterComma)
            ++at;
        else if (!endsHere(at, end))
            return Outcome::Rejected;
    }
}

void RegTextReader::deliver(std::u16string_view name, std::uint32_t type) {
    if (oldHeader && isStringType(type)) {
        textScratch.clear();
        appendUtf8(textScratch, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        bytes.resize(2 * textScratch.size());
        if (!bytes.empty())
            std::memcpy(bytes.data(), textScratch.data(), bytes.size());
    }
    bytes.resize(bytes.size() +
                 missingTerminator(type, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    handler.value(name, type, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// ---------------------------------------------------------------------------------------------
// TreeBuilder

bool TreeBuilder::key(std::u16string_view path) {
    if (path == lastPath && !lastPath.empty())
        return true;
    lastPath.clear();
    std::u16string_view rest = path;
    Key* found = tree->findRoot(takeComponent(rest));
    if (found == nullptr)
        return false;
    std::size_t depth = 0;
    for (std::u16string_view look = rest;;) {
        const std::u16string_view component = takeComponent(look);
        if (component.empty())
            break;
        if (component.size() > kMaxKeyName || ++depth > kMaxKeyDepth)
            return false;
    }
    for (;;) {
        const std::u16string_view component = takeComponent(rest);
        if (component.empty())
            break;
        Key* child =
            found->children.isBeyondLast(component) ? nullptr : found->children.find(component);
        found = child != nullptr ? child : adopt(found, makeKey(component));
    }
    current = found;
    lastPath = path;
    return true;
}

bool TreeBuilder::deleteKey(std::u16string_view path) {
    lastPath.clear();
    std::u16string_view rest = path;
    if (tree->findRoot(takeComponent(rest)) == nullptr || takeComponent(rest).empty())
        return false;
    deadUnits += path.size() + 8;
    if (Key* key = findPath(*tree, path)) {
        deadUnits += subtreeUnits(key);
        keyRemoved(key);
        key->parent->children.remove(key);
        UniqueKey ended(key);
    }
    return true;
}

void TreeBuilder::value(std::u16string_view name, std::uint32_t type, const void* data,
                        std::uint32_t size) {
    NodeTree<Value>& values = current->values;
    Value* old = values.isBeyondLast(name) ? nullptr : values.find(name);
    UniqueValue fresh = makeValue(name, type, data, size);
    if (old != nullptr) {
        deadUnits += entryUnits(current, old);
        values.remove(old);
        UniqueValue ended(old);
    }
    values.insert(fresh.release());
}

void TreeBuilder::deleteValue(std::u16string_view name) {
    deadUnits += entryUnits(current, nullptr) + name.size() + 6;
    if (Value* old = current->values.find(name)) {
        deadUnits += entryUnits(current, old);
        current->values.remove(old);
        UniqueValue ended(old);
    }
}

void TreeBuilder::damaged(std::uint64_t start, std::uint64_t end) {
    if (!damage.empty() && damage.back().end == start)
        damage.back().end = end;
    else
        damage.push_back({start, end});
    deadUnits += end - start;
}

Key* findPath(const KeyTree& tree, std::u16string_view path) {
    Key* key = tree.findRoot(takeComponent(path));
    while (key != nullptr) {
        const std::u16string_view component = takeComponent(path);
        if (component.empty())
            break;
        key = key->children.find(component);
    }
    return key;
}

// ---------------------------------------------------------------------------------------------
// Writing

namespace {

void appendHexDigits(std::u16string& text, std::uint32_t number, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text.push_back(u"0123456789abcdef"[number >> shift & 0xF]);
}

void appendQuoted(std::u16string& text, std::u16string_view raw) {
    text.push_back(u'"');
    for (std::size_t start = 0;;) {
        const std::size_t special = std::min(raw.find_first_of(u"\\\"", start), raw.size());
        text.append(raw, start, special - start);
        if (special == raw.size())
            break;
        text.push_back(u'\\');
        text.push_back(raw[special]);
        start = special + 1;
    }
    text.push_back(u'"');
}

void appendName(std::u16string& text, std::u16string_view name) {
    if (name.empty())
        text.push_back(u'@');
    else
        appendQuoted(text, name);
    text.push_back(u'=');
}

// Can every reader take the data as a quoted text? One terminated string without control characters
// and lone surrogates.
bool isQuotable(const void* data, std::uint32_t size) {
    if (size < 2 || size % 2 != 0 || unitOf(data, size / 2 - 1) != 0)
        return false;
    for (std::size_t i = 0; i + 1 < size / 2; ++i) {
        const char16_t unit = unitOf(data, i);
        if (unit < 0x20 || (unit & 0xFC00) == 0xDC00)
            return false;
        if ((unit & 0xFC00) == 0xD800 && (unitOf(data, ++i) & 0xFC00) != 0xDC00)
            return false;
    }
    return true;
}

bool passOn(std::u16string& text, const std::function<bool(std::u16string&)>& sink) {
    if (text.size() <= kPieceUnits)
        return true;
    const bool goOn = sink(text);
    text.clear();
    return goOn;
}

bool writeKey(const Key* key, std::u16string& text,
              const std::function<bool(std::u16string&)>& sink) {
    if (key->parent != nullptr || key->values.size() != 0) {
        appendKeyLine(text, key);
        std::size_t entry = 0;
        for (Value* value = key->values.first(); value != nullptr;
             value = key->values.next(value)) {
            const std::size_t before = text.size();
            if (entry > kPieceUnits) {
                appendLineEnd(text);
                appendKeyLine(text, key);
                entry = 0;
            }
            appendValueLine(text, value->name(), value->type, value->data(), value->size);
            entry += text.size() - before;
            if (!passOn(text, sink))
                return false;
        }
        appendLineEnd(text);
        if (!passOn(text, sink))
            return false;
    }
    for (Key* child = key->children.first(); child != nullptr; child = key->children.next(child)) {
        if (!writeKey(child, text, sink))
            return false;
    }
    return true;
}

} // namespace

bool isWritableName(std::u16string_view name) {
    return std::none_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0x20; });
}

std::uint32_t missingTerminator(std::uint32_t type, const void* data, std::uint32_t size) {
    if (!isStringType(type) || size == 0)
        return 0;
    const std::uint32_t odd = size % 2;
    if (odd != 0) // the last unit is half there
        return static_cast<const unsigned char*>(data)[size - 1] == 0 ? 1 : 3;
    return unitOf(data, size / 2 - 1) == 0 ? 0 : 2;
}

void appendLineEnd(std::u16string& text) {
    text.append(kLineEnd);
}

void appendPath(std::u16string& text, const Key* key) {
    if (key->parent != nullptr) {
        appendPath(text, key->parent);
        text.push_back(u'\\');
    }
    text.append(key->name());
}

void appendKeyLine(std::u16string& text, const Key* key) {
    text.push_back(u'[');
    appendPath(text, key);
    text.append(u"]\r\n");
}

void appendKeyDeletion(std::u16string& text, const Key* key) {
    text.append(u"[-");
    appendPath(text, key);
    text.append(u"]\r\n");
}

void appendValueLine(std::u16string& text, std::u16string_view name, std::uint32_t type,
                     const void* data, std::uint32_t size) {
    std::size_t lineStart = text.size();
    appendName(text, name);
    if (type == kString && isQuotable(data, size)) {
        text.reserve(text.size() + size / 2 + 8);
        const std::size_t length = size / 2 - 1;
        if (reinterpret_cast<std::uintptr_t>(data) % alignof(char16_t) == 0) {
            appendQuoted(text, {static_cast<const char16_t*>(data), length});
        } else {
            std::u16string aligned(length, u'\0');
            std::memcpy(aligned.data(), data, 2 * length);
            appendQuoted(text, aligned);
        }
        appendLineEnd(text);
        return;
    }
    const auto* byte = static_cast<const unsigned char*>(data);
    if (type == kNumber && size == 4) {
        text.append(u"dword:");
        for (int i = 3; i >= 0; --i)
            appendHexDigits(text, byte[i], 2);
        appendLineEnd(text);
        return;
    }
    text.append(u"hex");
    if (type != kBinary) {
        text.push_back(u'(');
        int digits = 1;
        while (digits < 8 && type >> (4 * digits) != 0)
            ++digits;
        appendHexDigits(text, type, digits);
        text.push_back(u')');
    }
    text.push_back(u':');
    text.reserve(text.size() + std::size_t{size} * 3 + size / 6 + 4);
    for (std::uint32_t i = 0; i < size; ++i) {
        appendHexDigits(text, byte[i], 2);
        if (i + 1 == size)
            break;
        text.push_back(u',');
        if (text.size() - lineStart >= kHexBreakColumn) {
            text.append(u"\\\r\n");
            lineStart = text.size();
            text.append(u"  ");
        }
    }
    appendLineEnd(text);
}

void appendValueDeletion(std::u16string& text, std::u16string_view name) {
    appendName(text, name);
    text.append(u"-\r\n");
}

std::uint64_t entryUnits(const Key* key, const Value* value) {
    std::uint64_t units = 6; // brackets and line ends
    for (; key != nullptr; key = key->parent)
        units += key->nameLength + 1u;
    if (value != nullptr) {
        units += value->nameLength + 6u;
        units += value->type == kString   ? value->size / 2
                 : value->type == kNumber ? 14
                                          : 7 + std::uint64_t{value->size} * 3;
    }
    return units;
}

std::uint64_t subtreeUnits(const Key* key) {
    std::uint64_t units = entryUnits(key, nullptr);
    for (Value* value = key->values.first(); value != nullptr; value = key->values.next(value))
        units += entryUnits(key, value);
    for (Key* child = key->children.first(); child != nullptr; child = key->children.next(child))
        units += subtreeUnits(child);
    return units;
}

bool writeTree(const KeyTree& tree, std::u16string& text,
               const std::function<bool(std::u16string&)>& sink) {
    text = hivePreamble();
    for (std::size_t i = 0; i < kRootCount; ++i) {
        if (!writeKey(tree.root(i), text, sink))
            return false;
    }
    return sink(text);
}

} // namespace zv::platform::posix
