#include "platform/posix/code_pages.h"

#include "platform/posix/last_error.h"
#include "platform/win32.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include <iconv.h>
#include <langinfo.h>

namespace zv::platform::posix {
namespace {

constexpr UINT kWindowsLatin1 = 1252;
constexpr char16_t kReplacement = 0xFFFD;

// iconv's name for UTF-16 in this machine's byte order, without a byte order mark.
constexpr const char* kWideName =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// ---------------------------------------------------------------------------------------------
// Where converted units go

// A caller's buffer of a fixed size, or, without one, only a count.
template <typename Unit>
class BufferSink {
public:
    BufferSink(Unit* buffer, std::size_t size) : target(buffer), room(size), counting(size == 0) {}

    void put(Unit unit) {
        if (used < room)
            target[used] = unit;
        ++used;
    }
    template <typename Source>
    void put(const Source* units, std::size_t count) {
        if (used < room) // plain ASCII or units of the same kind
            std::transform(units, units + std::min(count, room - used), target + used,
                           [](Source unit) { return static_cast<Unit>(unit); });
        used += count;
    }
    bool full() const { return !counting && used > room; }
    std::size_t count() const { return used; }

private:
    Unit* target;
    std::size_t room;
    bool counting;
    std::size_t used = 0;
};

template <typename Unit>
class StringSink {
public:
    void put(Unit unit) { text.push_back(unit); }
    template <typename Source>
    void put(const Source* units, std::size_t count) {
        text.append(units, units + count);
    }
    bool full() const { return false; }

    std::basic_string<Unit> text;
};

// ---------------------------------------------------------------------------------------------
// ASCII

std::size_t asciiRun(const char* text, std::size_t size) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::size_t at = 0;
    for (std::uint64_t word; at + sizeof word <= size; at += sizeof word) {
        std::memcpy(&word, text + at, sizeof word);
        if ((word & highBits) != 0)
            break;
    }
    while (at < size && static_cast<unsigned char>(text[at]) < 0x80)
        ++at;
    return at;
}

std::size_t asciiRun(const char16_t* text, std::size_t size) {
    constexpr std::uint64_t highBits = 0xFF80FF80FF80FF80;
    std::size_t at = 0;
    for (std::uint64_t word; at + 4 <= size; at += 4) {
        std::memcpy(&word, text + at, sizeof word);
        if ((word & highBits) != 0)
            break;
    }
    while (at < size && text[at] < 0x80)
        ++at;
    return at;
}

// ---------------------------------------------------------------------------------------------
// UTF-8. What the decoders below answer: false when an invalid byte was met; every one became a
// replacement. What the encoders answer: false when a character was lacking and replaced.

// One sequence that starts at a byte of 0x80 or more. A sequence that is no character takes its
// maximal subpart: the bytes that could have begun a valid one, at least one.
struct Sequence {
    std::size_t length;
    char32_t character; // kReplacement and valid false when it is none
    bool valid;
};

Sequence nextSequence(const unsigned char* text, std::size_t size) {
    const unsigned char lead = text[0];
    std::size_t length = 0;
    // The second byte's range is what keeps overlong forms, surrogates and more than U+10FFFF out.
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return {1, kReplacement, false};
    }
    char32_t character = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (i >= size || text[i] < low || text[i] > high)
            return {i, kReplacement, false};
        character = character << 6 | (text[i] & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return {length, character, true};
}

template <typename Sink>
bool decodeUtf8(const char* text, std::size_t size, Sink& sink) {
    bool valid = true;
    for (std::size_t at = 0; at < size && !sink.full();) {
        const std::size_t run = asciiRun(text + at, size - at);
        sink.put(text + at, run);
        at += run;
        // Text without a single ASCII character stays in this loop.
        while (at < size && static_cast<unsigned char>(text[at]) >= 0x80) {
            const Sequence next =
                nextSequence(reinterpret_cast<const unsigned char*>(text) + at, size - at);
            valid &= next.valid;
            if (next.character >= 0x10000) {
                const char32_t rest = next.character - 0x10000;
                sink.put(static_cast<char16_t>(0xD800 + (rest >> 10)));
                sink.put(static_cast<char16_t>(0xDC00 + (rest & 0x3FF)));
            } else {
                sink.put(static_cast<char16_t>(next.character));
            }
            at += next.length;
        }
    }
    return valid;
}

bool isHighSurrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}
bool isLowSurrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

bool isPairAt(const char16_t* text, std::size_t at, std::size_t size) {
    return isHighSurrogate(text[at]) && at + 1 < size && isLowSurrogate(text[at + 1]);
}

template <typename Sink>
bool encodeUtf8(const char16_t* text, std::size_t size, Sink& sink) {
    bool exact = true;
    const auto tail = [&](char32_t character, unsigned shift) {
        sink.put(static_cast<char>(0x80 | (character >> shift & 0x3F)));
    };
    for (std::size_t at = 0; at < size && !sink.full();) {
        const std::size_t run = asciiRun(text + at, size - at);
        sink.put(text + at, run);
        at += run;
        while (at < size && text[at] >= 0x80) {
            char32_t character = text[at];
            if (isPairAt(text, at, size)) {
                character = 0x10000 + ((character & 0x3FF) << 10) + (text[++at] & 0x3FFU);
            } else if (isHighSurrogate(text[at]) || isLowSurrogate(text[at])) {
                character = kReplacement;
                exact = false;
            }
            ++at;
            if (character < 0x800) {
                sink.put(static_cast<char>(0xC0 | character >> 6));
            } else if (character < 0x10000) {
                sink.put(static_cast<char>(0xE0 | character >> 12));
                tail(character, 6);
            } else {
                sink.put(static_cast<char>(0xF0 | character >> 18));
                tail(character, 12);
                tail(character, 6);
            }
            tail(character, 0);
        }
    }
    return exact;
}

// ---------------------------------------------------------------------------------------------
// Page 1252: iconv's leaves five bytes undefined where Windows maps them to the C1 controls of the
// same number, which is what lets every byte go to UTF-16 and back.

constexpr char16_t kWindowsLatin1High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

template <typename Sink>
bool decodeLatin1(const char* text, std::size_t size, Sink& sink) {
    for (std::size_t at = 0; at < size && !sink.full(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const bool special = byte >= 0x80 && byte < 0xA0;
        sink.put(special ? kWindowsLatin1High[byte - 0x80] : static_cast<char16_t>(byte));
    }
    return true;
}

std::optional<char> latin1Byte(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF))
        return static_cast<char>(unit);
    const char16_t* found =
        std::find(std::begin(kWindowsLatin1High), std::end(kWindowsLatin1High), unit);
    if (found == std::end(kWindowsLatin1High))
        return std::nullopt;
    return static_cast<char>(0x80 + (found - kWindowsLatin1High));
}

template <typename Sink>
bool encodeLatin1(const char16_t* text, std::size_t size, char fallback, Sink& sink) {
    bool exact = true;
    for (std::size_t at = 0; at < size && !sink.full(); ++at) {
        if (const auto byte = latin1Byte(text[at])) {
            sink.put(*byte);
        } else {
            exact = false;
            sink.put(fallback);
        }
    }
    return exact;
}

// ---------------------------------------------------------------------------------------------
// Every other page

// iconv's two converters of one page. Conversions of one page take turns.
class Converter {
public:
    // Null when iconv does not know the name.
    static std::shared_ptr<Converter> open(const std::string& name) {
        auto converter = std::make_shared<Converter>();
        converter->toWide = iconv_open(kWideName, name.c_str());
        converter->fromWide = iconv_open(name.c_str(), kWideName);
        if (converter->toWide == none() || converter->fromWide == none())
            return nullptr;
        converter->testAscii();
        return converter;
    }

    Converter() = default;
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (toWide != none())
            iconv_close(toWide);
        if (fromWide != none())
            iconv_close(fromWide);
    }

    template <typename Sink>
    bool decode(const char* text, std::size_t size, Sink& sink) {
        const std::size_t run = asciiCompatible ? asciiRun(text, size) : 0;
        sink.put(text, run);
        return convert<char16_t>(toWide, text + run, size - run, sink, [&](const char*) {
            sink.put(kReplacement);
            return std::size_t{1};
        });
    }

    template <typename Sink>
    bool encode(const char16_t* text, std::size_t size, char fallback, Sink& sink) {
        const std::size_t run = asciiCompatible ? asciiRun(text, size) : 0;
        sink.put(text, run);
        const char16_t* end = text + size;
        return convert<char>(fromWide, reinterpret_cast<const char*>(text + run),
                             (size - run) * sizeof(char16_t), sink, [&](const char* at) {
                                 const auto* unit = reinterpret_cast<const char16_t*>(at);
                                 const auto left = static_cast<std::size_t>(end - unit);
                                 const std::size_t units = isPairAt(unit, 0, left) ? 2 : 1;
                                 for (std::size_t i = 0; i < units; ++i)
                                     sink.put(fallback);
                                 return units * sizeof(char16_t);
                             });
    }

private:
    static iconv_t none() { return reinterpret_cast<iconv_t>(-1); }

    // Runs iconv over the bytes; `replace` is called where it stops at bytes that it cannot
    // convert, and answers how many of them are passed over. False when that happened.
    template <typename Unit, typename Sink, typename Replace>
    bool convert(iconv_t converter, const char* text, std::size_t size, Sink& sink,
                 Replace replace) {
        const std::lock_guard lock(mutex);
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        bool exact = true;
        char* at = const_cast<char*>(text);
        while (size != 0 && !sink.full()) {
            Unit units[256];
            char* out = reinterpret_cast<char*>(units);
            std::size_t room = sizeof units;
            const std::size_t answer = iconv(converter, &at, &size, &out, &room);
            const int error = errno;
            sink.put(units, (sizeof units - room) / sizeof(Unit));
            if (answer != static_cast<std::size_t>(-1))
                break;
            if (error == E2BIG)
                continue;
            const std::size_t passed = std::min(size, replace(at)); // EILSEQ, or EINVAL: cut short
            at += passed;
            size -= passed;
            exact = false;
            iconv(converter, nullptr, nullptr, nullptr, nullptr);
        }
        return exact;
    }

    // The short way for ASCII is open only to pages where it leads to the same place.
    void testAscii() {
        char ascii[128];
        for (int i = 0; i < 128; ++i)
            ascii[i] = static_cast<char>(i);
        StringSink<char16_t> wide;
        asciiCompatible = decode(ascii, sizeof ascii, wide) && wide.text.size() == sizeof ascii &&
                          std::equal(wide.text.begin(), wide.text.end(), ascii);
    }

    std::mutex mutex;
    iconv_t toWide = none();
    iconv_t fromWide = none();
    bool asciiCompatible = false;
};

using Pool = std::map<std::string, std::shared_ptr<Converter>>;

constinit std::mutex poolMutex;
constinit Pool* pool = nullptr; // made at the first page, ended by releaseCodePages

std::shared_ptr<Converter> converterFor(const std::string& name) {
    const std::lock_guard lock(poolMutex);
    if (pool == nullptr)
        pool = new Pool;
    const auto found = pool->find(name);
    if (found != pool->end())
        return found->second;
    auto converter = Converter::open(name);
    if (converter != nullptr)
        pool->emplace(name, converter);
    return converter;
}

// ---------------------------------------------------------------------------------------------
// Pages

// The locale's code set in capitals and figures alone: "utf-8" is "UTF8".
std::string codeSetKey(const char* codeSet) {
    std::string key;
    for (; *codeSet != 0; ++codeSet) {
        const char unit = *codeSet;
        if (unit >= 'a' && unit <= 'z')
            key.push_back(static_cast<char>(unit - 'a' + 'A'));
        else if ((unit >= 'A' && unit <= 'Z') || (unit >= '0' && unit <= '9'))
            key.push_back(unit);
    }
    return key;
}

struct CodeSet {
    const char* key;
    UINT page;
};

constexpr CodeSet kCodeSets[] = {
    {"UTF8", CP_UTF8},   {"ANSIX341968", 1252}, {"USASCII", 1252},   {"ASCII", 1252},
    {"ISO88591", 1252},  {"ISO88592", 1250},    {"ISO88593", 1254},  {"ISO88594", 1257},
    {"ISO88595", 1251},  {"ISO88596", 1256},    {"ISO88597", 1253},  {"ISO88598", 1255},
    {"ISO88599", 1254},  {"ISO885910", 1257},   {"ISO885911", 874},  {"ISO885913", 1257},
    {"ISO885914", 1252}, {"ISO885915", 1252},   {"ISO885916", 1250}, {"TIS620", 874},
    {"KOI8R", 1251},     {"KOI8U", 1251},       {"KOI8T", 1251},     {"PT154", 1251},
    {"EUCJP", 932},      {"SJIS", 932},         {"SHIFTJIS", 932},   {"SHIFTJISX0213", 932},
    {"WINDOWS31J", 932}, {"GB2312", 936},       {"GBK", 936},        {"EUCCN", 936},
    {"GB18030", 936},    {"EUCKR", 949},        {"UHC", 949},        {"JOHAB", 949},
    {"BIG5", 950},       {"BIG5HKSCS", 950},    {"EUCTW", 950},      {"TCVN57121", 1258},
    {"ARMSCII8", 1252},  {"GEORGIANPS", 1252},
};

// Whether a page that is converted here serves for the locale's set itself. Other sets only have a
// nearest page, and their text is converted under their own name.
bool isServedHere(const std::string& key) {
    constexpr const char* served[] = {"UTF8",  "ANSIX341968", "USASCII",
                                      "ASCII", "ISO88591",    "CP1252"};
    return std::find(std::begin(served), std::end(served), key) != std::end(served);
}

// One page's two ways, chosen once per call.
class Page {
public:
    explicit Page(UINT codePage) : page(codePage) {
        if (page == CP_ACP) {
            const char* codeSet = nl_langinfo(CODESET);
            page = pageOfCodeSet(codeSet);
            if (page == CP_UTF8 || isServedHere(codeSetKey(codeSet)))
                return;
            converter = converterFor(codeSet);
        }
        if (converter == nullptr && page != CP_UTF8 && page != kWindowsLatin1)
            converter = converterFor("CP" + std::to_string(page));
    }

    // Whether there is such a page.
    bool known() const { return page == CP_UTF8 || page == kWindowsLatin1 || converter != nullptr; }
    bool isUtf8() const { return page == CP_UTF8; }

    template <typename Sink>
    bool decode(const char* text, std::size_t size, Sink& sink) const {
        if (converter != nullptr)
            return converter->decode(text, size, sink);
        return isUtf8() ? decodeUtf8(text, size, sink) : decodeLatin1(text, size, sink);
    }
    template <typename Sink>
    bool encode(const char16_t* text, std::size_t size, char fallback, Sink& sink) const {
        if (converter != nullptr)
            return converter->encode(text, size, fallback, sink);
        return isUtf8() ? encodeUtf8(text, size, sink) : encodeLatin1(text, size, fallback, sink);
    }

private:
    UINT page;
    std::shared_ptr<Converter> converter;
};

constexpr char kDefaultCharacter = '?';
constexpr DWORD kInvalidFlags = 1004;

// The units of a caller's source, terminator included for a size below 0; nothing when it makes no
// sense.
template <typename Source, typename Target>
std::optional<std::size_t> sourceSizeOf(const Source* source, int size, const Target* target,
                                        int targetSize) {
    const bool sensible =
        source != nullptr && size != 0 && targetSize >= 0 && (target != nullptr || targetSize == 0);
    if (!sensible)
        return std::nullopt;
    return size > 0 ? static_cast<std::size_t>(size) : std::char_traits<Source>::length(source) + 1;
}

template <typename Unit>
int answerOf(const BufferSink<Unit>& sink) {
    if (sink.full())
        return failWith(ERROR_INSUFFICIENT_BUFFER, 0);
    if (sink.count() > INT_MAX)
        return failWith(ERROR_INVALID_PARAMETER, 0);
    return static_cast<int>(sink.count());
}

} // namespace

UINT pageOfCodeSet(const char* codeSet) {
    if (std::strcmp(codeSet, "UTF-8") == 0)
        return CP_UTF8;
    const std::string key = codeSetKey(codeSet);
    for (const CodeSet& known : kCodeSets)
        if (key == known.key)
            return known.page;
    if (key.starts_with("CP") && key.size() > 2 && key.size() <= 6 &&
        key.find_first_not_of("0123456789", 2) == std::string::npos)
        return static_cast<UINT>(std::stoul(key.substr(2)));
    return kWindowsLatin1;
}

std::u16string widen(std::string_view text) {
    StringSink<char16_t> sink;
    Page(CP_ACP).decode(text.data(), text.size(), sink);
    return std::move(sink.text);
}

std::string narrow(std::u16string_view text) {
    StringSink<char> sink;
    Page(CP_ACP).encode(text.data(), text.size(), kDefaultCharacter, sink);
    return std::move(sink.text);
}

bool narrowExactly(std::u16string_view text, std::string* result) {
    StringSink<char> sink;
    const bool exact = Page(CP_ACP).encode(text.data(), text.size(), kDefaultCharacter, sink);
    *result = std::move(sink.text);
    return exact;
}

void releaseCodePages() noexcept {
    const std::lock_guard lock(poolMutex);
    delete std::exchange(pool, nullptr);
}

} // namespace zv::platform::posix

using namespace zv::platform::posix;

UINT GetACP() {
    return guarded(kWindowsLatin1, [] { return pageOfCodeSet(nl_langinfo(CODESET)); });
}

int MultiByteToWideChar(UINT codePage, DWORD flags, const char* source, int sourceSize,
                        char16_t* target, int targetSize) {
    return guarded(0, [&] {
        const auto size = sourceSizeOf(source, sourceSize, target, targetSize);
        const Page page(codePage);
        if (!size || !page.known())
            return failWith(ERROR_INVALID_PARAMETER, 0);
        if ((flags & ~MB_ERR_INVALID_CHARS) != 0)
            return failWith(kInvalidFlags, 0);
        BufferSink<char16_t> sink(target, static_cast<std::size_t>(targetSize));
        const bool valid = page.decode(source, *size, sink);
        if (!valid && (flags & MB_ERR_INVALID_CHARS) != 0)
            return failWith(ERROR_NO_UNICODE_TRANSLATION, 0);
        return answerOf(sink);
    });
}

int WideCharToMultiByte(UINT codePage, DWORD flags, const char16_t* source, int sourceSize,
                        char* target, int targetSize, const char* defaultChar, BOOL* usedDefault) {
    return guarded(0, [&] {
        const auto size = sourceSizeOf(source, sourceSize, target, targetSize);
        const Page page(codePage);
        const bool defaultRefused =
            page.isUtf8() && (defaultChar != nullptr || usedDefault != nullptr);
        if (!size || !page.known() || defaultRefused)
            return failWith(ERROR_INVALID_PARAMETER, 0);
        if (flags != 0)
            return failWith(kInvalidFlags, 0);
        BufferSink<char> sink(target, static_cast<std::size_t>(targetSize));
        const char fallback = defaultChar != nullptr ? *defaultChar : kDefaultCharacter;
        const bool exact = page.encode(source, *size, fallback, sink);
        if (usedDefault != nullptr)
            *usedDefault = exact ? FALSE : TRUE;
        return answerOf(sink);
    });
}
