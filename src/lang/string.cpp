#include "lang/string.h"

#include "core/heap.h"
#include "core/wide_text.h"
#include "lang/exception.h"
#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"
#include "util/buffer_hold.h"
#include "util/ro_buffer.h"
#include "util/rw_buffer.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

// Why strings that share a buffer may live in different threads.
//
//   1. A string changes its buffer only while it is the buffer's one holder (makeUnique, Reserve,
//      UnlockWrite, Compact). It learns that from the count.
//   2. While it is the one holder nobody else can become one: a second reference is made by copying
//      a string that holds the first, and that string is in this thread's hands.
//   3. Another string that held the buffer before read it before it dropped its reference. Dropping
//      releases and reading the count of 1 acquires, so those reads come before the change.
//   4. The buffer of all empty strings and those around literals are never writable; the former
//      answers 2 for its count whatever happens, so that empty strings share no counter either.
//
// All buffers of strings are made here: what is writable is a CZvRWCharBuffer itself, not a class
// derived from it. What is done to one again and again (reading, appending) goes there directly
// instead of through the interface, which costs four times as much.
namespace ZVCL {

namespace {

constexpr std::int32_t kLongest = std::numeric_limits<std::int32_t>::max() - 1;

// The buffer of all empty strings: constant-initialised and without a destructor, so it is there
// before any other static object and stays as long as the library is loaded.
class EmptyBuffer final : public IZvCharBuffer {
public:
    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override {
        if (object == nullptr)
            return zv::core::kPointer;
        const bool known = iid == IZvUnknown::kIid || iid == IZvCharBuffer::kIid;
        *object = known ? this : nullptr;
        return known ? zv::core::kOk : zv::core::kNoInterface;
    }
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return 2; }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return 2; }

    std::int32_t ZV_INTERFACE_CALL GetLength() const override { return 1; }
    const char16_t* ZV_INTERFACE_CALL GetBuffer() const override { return u""; }
    ResultCode ZV_INTERFACE_CALL LockRead(const char16_t** data) const override {
        if (data == nullptr)
            return zv::core::kPointer;
        *data = u"";
        return zv::core::kOk;
    }
    ResultCode ZV_INTERFACE_CALL UnlockRead() const override { return zv::core::kOk; }
    bool ZV_INTERFACE_CALL IsWritable() const override { return false; }
    ResultCode ZV_INTERFACE_CALL LockWrite(std::int32_t, char16_t** data) override {
        return refuse(data);
    }
    ResultCode ZV_INTERFACE_CALL Reserve(std::int32_t, char16_t** data) override {
        return refuse(data);
    }
    ResultCode ZV_INTERFACE_CALL UnlockWrite(std::int32_t) override {
        return zv::core::kNotImplemented;
    }
    ResultCode ZV_INTERFACE_CALL Compact() override { return zv::core::kOk; }

private:
    static ResultCode refuse(char16_t** data) {
        if (data == nullptr)
            return zv::core::kPointer;
        *data = nullptr;
        return zv::core::kNotImplemented;
    }
};

constinit EmptyBuffer emptyBuffer;
static_assert(std::is_trivially_destructible_v<EmptyBuffer>);

ZvRef<IZvCharBuffer> sharedEmptyBuffer() noexcept {
    return ZvRef<IZvCharBuffer>::share(&emptyBuffer);
}

// The buffer as what it is when it can be written to at all, else null. One module has one record
// of a type, so that the records' addresses say it all.
inline CZvRWCharBuffer* writableOf(const ZvRef<IZvCharBuffer>& buffer) {
    IZvCharBuffer* held = buffer.get();
    return &typeid(*held) == &typeid(CZvRWCharBuffer) ? static_cast<CZvRWCharBuffer*>(held)
                                                      : nullptr;
}

[[noreturn]] void throwRange() {
    throw EZvRangeError();
}

// Memory sizes in 64 bits: lengths times four do not fit 32.
void copyUnits(char16_t* target, const char16_t* source, std::int64_t count) {
    if (count > 0)
        std::memcpy(target, source, static_cast<std::size_t>(count) * sizeof(char16_t));
}

void moveUnits(char16_t* target, const char16_t* source, std::int64_t count) {
    if (count > 0)
        std::memmove(target, source, static_cast<std::size_t>(count) * sizeof(char16_t));
}

// A length as it is used from here on: that of the text when -1 is given, 0 without a text.
template <typename Unit>
std::int32_t lengthOf(const Unit* text, std::int32_t given) {
    if (given < -1)
        throwRange();
    if (text == nullptr)
        return 0;
    if (given >= 0)
        return given;
    const std::size_t length = std::char_traits<Unit>::length(text);
    if (length > static_cast<std::size_t>(kLongest))
        zv::core::throwBadAllocation();
    return static_cast<std::int32_t>(length);
}

std::int32_t checkedLength(std::int64_t length) {
    if (length > kLongest)
        zv::core::throwBadAllocation();
    return static_cast<std::int32_t>(length);
}

// A position where -1, like anything beyond it, is the end.
std::int32_t cutTo(std::int32_t position, std::int32_t end) {
    if (position < -1)
        throwRange();
    return position == -1 ? end : std::min(position, end);
}

// A new writable buffer with `length` characters, which the caller fills through `text`, and their
// terminator.
ZvRef<IZvCharBuffer> newBuffer(std::int32_t length, std::int32_t capacity, char16_t*& text) {
    checkedLength(length);
    ZvRef<CZvRWCharBuffer> created = makeRef<CZvRWCharBuffer>(std::max(length + 1, capacity));
    text = created->lockWrite(length + 1);
    text[length] = 0;
    created->unlockWrite(length + 1);
    return created;
}

ZvRef<IZvCharBuffer> copyToBuffer(const char16_t* text, std::int32_t length,
                                  std::int32_t capacity) {
    char16_t* copy = nullptr;
    ZvRef<IZvCharBuffer> created = newBuffer(length, capacity, copy);
    copyUnits(copy, text, length);
    return created;
}

// Where the unit stands first, or count.
std::size_t firstOf(const char16_t* text, std::size_t count, char16_t unit) {
    constexpr std::uint64_t ones = 0x0001000100010001;
    const std::uint64_t sought = unit * ones;
    std::size_t i = 0;
    for (; count - i >= 4; i += 4) {
        std::uint64_t four;
        std::memcpy(&four, text + i, sizeof four);
        four ^= sought;
        if (((four - ones) & ~four & ones << 15) != 0) // one of the four is zero now
            break;
    }
    while (i < count && text[i] != unit)
        ++i;
    return i;
}

// Where the two texts differ first, or count.
std::size_t firstDifference(const char16_t* left, const char16_t* right, std::size_t count) {
    std::size_t i = 0;
    for (; count - i >= 4; i += 4) {
        std::uint64_t some, others;
        std::memcpy(&some, left + i, sizeof some);
        std::memcpy(&others, right + i, sizeof others);
        if (some != others)
            break;
    }
    while (i < count && left[i] == right[i])
        ++i;
    return i;
}

// -1 or 1 by the first of `count` units that differ, or `beyond` when none do.
std::int32_t orderOf(const char16_t* left, const char16_t* right, std::size_t count,
                     std::int32_t beyond) {
    const std::size_t at = firstDifference(left, right, count);
    if (at == count)
        return beyond;
    return left[at] < right[at] ? -1 : 1;
}

bool sameUnits(const char16_t* left, const char16_t* right, std::size_t count) {
    return count == 0 || std::memcmp(left, right, count * sizeof(char16_t)) == 0;
}

// The two sides of a comparison: `count` characters against `otherCount`.
struct Regions {
    const char16_t* text;
    std::int32_t count;
    const char16_t* other;
    std::int32_t otherCount;

    std::size_t common() const { return static_cast<std::size_t>(std::min(count, otherCount)); }
};

Regions regionsOf(std::u16string_view whole, std::int32_t start, std::int32_t count,
                  const char16_t* other, std::int32_t otherLength, std::int32_t otherStart) {
    const auto length = static_cast<std::int32_t>(whole.size());
    start = cutTo(start, length);
    count = cutTo(count, length - start);
    if (otherStart < 0)
        throwRange();
    otherLength = lengthOf(other, otherLength);
    otherStart = std::min(otherStart, otherLength);
    if (other == nullptr)
        other = u"";
    return {whole.data() + start, count, other + otherStart, otherLength - otherStart};
}

template <typename Converter>
ZvRef<Converter> converterFor(const char16_t* charset) {
    ZvRef<Converter> converter = Converter::getConverter(charset);
    if (!converter)
        throw EZvUnknownEncoding(CZvString(charset));
    return converter;
}

// The units that so many others become by a converter's factor, and a terminator.
std::int32_t roomFor(std::int32_t length, std::int32_t factor) {
    return checkedLength(std::int64_t{std::max(factor, 0)} * length) + 1;
}

// Encodes the whole text, adds a zero byte if there is room, and answers the bytes written.
std::int32_t encode(const CZvString& text, CZvCharToByteConverter& converter,
                    std::uint8_t* destination, std::int32_t capacity) {
    std::int32_t read = 0;
    std::int32_t written = 0;
    const BufferReadHold<char16_t> characters(text);
    converter.convert(characters.data(), read, characters.length(), destination, written, capacity);
    converter.flush(destination, written, capacity);
    if (destination != nullptr && written < capacity)
        destination[written++] = 0;
    return written;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Construction

CZvString::CZvString() noexcept : buffer(sharedEmptyBuffer()) {}

CZvString::CZvString(ZvRef<IZvCharBuffer> buffer) noexcept : buffer(std::move(buffer)) {}

CZvString::CZvString(const CZvString& other) noexcept
    : CZvAbstractCharBuffer(other), buffer(other.buffer) {}

CZvString::CZvString(CZvString&& other) noexcept : buffer(sharedEmptyBuffer()) {
    std::swap(buffer, other.buffer);
}

// The narrow form stays with the string whose toNarrow made it: somebody may hold the pointer.
CZvString& CZvString::operator=(const CZvString& other) noexcept {
    buffer = other.buffer;
    return *this;
}

CZvString& CZvString::operator=(CZvString&& other) noexcept {
    ZvRef<IZvCharBuffer> taken = std::exchange(other.buffer, sharedEmptyBuffer());
    buffer = std::move(taken);
    return *this;
}

CZvString::CZvString(const char16_t* text, std::int32_t length, std::int32_t capacity)
    : buffer(copyToBuffer(text, lengthOf(text, length), capacity)) {}

CZvString::CZvString(std::u16string_view text)
    : buffer(copyToBuffer(text.data(),
                          checkedLength(static_cast<std::int64_t>(
                              std::min<std::size_t>(text.size(), std::size_t{kLongest} + 1))),
                          0)) {}

CZvString CZvString::wrap(const char16_t* text, std::int32_t length) {
    length = checkedLength(lengthOf(text, length));
    if (text == nullptr)
        return CZvString();
    return CZvString(makeRef<CZvROCharBuffer>(text, length + 1));
}

CZvString CZvString::filled(char16_t ch, std::int32_t count, std::int32_t capacity) {
    if (count < 0)
        throwRange();
    char16_t* text = nullptr;
    CZvString filled(newBuffer(count, capacity, text));
    std::fill_n(text, count, ch);
    return filled;
}

CZvString CZvString::withCapacity(std::int32_t capacity) {
    return capacity > 0 ? CZvString(copyToBuffer(nullptr, 0, capacity)) : CZvString();
}

CZvString CZvString::fromNarrow(const char* bytes, std::int32_t length, const char16_t* charset,
                                std::int32_t capacity) {
    length = lengthOf(bytes, length);
    if (length < 1 && capacity < 1)
        return CZvString();
    const auto converter = converterFor<CZvByteToCharConverter>(charset);
    const std::int32_t need = roomFor(length, converter->getMaxCharsPerByte());
    const std::int32_t room = std::max(capacity, need);
    const ZvRef<CZvRWCharBuffer> decoded = makeRef<CZvRWCharBuffer>(room);
    char16_t* text = decoded->lockWrite(need);
    std::int32_t read = 0;
    std::int32_t written = 0;
    if (bytes != nullptr) {
        const std::int32_t last = room - 1; // where the terminator fits at the latest
        converter->convert(reinterpret_cast<const std::uint8_t*>(bytes), read, length, text,
                           written, last);
        converter->flush(text, written, last);
    }
    text[written] = 0;
    decoded->unlockWrite(written + 1);
    return CZvString(decoded);
}

CZvString CZvString::valueOf(std::int32_t value) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return fromNarrow(digits, static_cast<std::int32_t>(end - digits));
}

CZvString::~CZvString() = default;

// ---------------------------------------------------------------------------------------------
// CZvObject

CZvObject* CZvString::clone() const {
    if (typeid(*this) != typeid(CZvString))
        throw EZvCloneNotSupported();
    return new CZvString(*this);
}

std::int32_t CZvString::compareTo(const CZvObject& other) const {
    if (this == &other)
        return 0;
    const auto* string = dynamic_cast<const CZvString*>(&other);
    if (string == nullptr)
        throw EZvCastFailed();
    return compare(*string, 0);
}

bool CZvString::equals(const CZvObject& other) const {
    if (this == &other)
        return true;
    const auto* string = dynamic_cast<const CZvString*>(&other);
    return string != nullptr && equals(*string, 0);
}

std::uint32_t CZvString::hashCode() const {
    return hash(false);
}

CZvString CZvString::toString() const {
    return *this;
}

// ---------------------------------------------------------------------------------------------
// Reading

std::u16string_view CZvString::view() const {
    if (const CZvRWCharBuffer* own = writableOf(buffer)) {
        const std::int32_t length = own->CZvRWCharBuffer::getLength() - 1;
        return {own->CZvRWCharBuffer::getBuffer(), static_cast<std::size_t>(std::max(length, 0))};
    }
    return {buffer->GetBuffer(), static_cast<std::size_t>(std::max(buffer->GetLength() - 1, 0))};
}

std::int32_t CZvString::indexOf(char16_t ch, std::int32_t start, bool ignoreCase) const {
    const std::u16string_view text = view();
    std::size_t at = std::min(static_cast<std::size_t>(std::max(start, 0)), text.size());
    if (!ignoreCase) {
        at += firstOf(text.data() + at, text.size() - at, ch);
    } else {
        const char16_t sought = zv::core::towlower(ch);
        while (at < text.size() && zv::core::towlower(text[at]) != sought)
            ++at;
    }
    return at == text.size() ? -1 : static_cast<std::int32_t>(at);
}

std::int32_t CZvString::findFirstNotOf(const char16_t* set, std::int32_t setSize,
                                       std::int32_t start, bool ignoreCase) const {
    setSize = lengthOf(set, setSize);
    if (setSize < 1)
        return -1;
    const auto inSet = [&](char16_t ch) {
        return std::any_of(set, set + setSize, [&](char16_t member) {
            return ignoreCase ? zv::core::towlower(member) == zv::core::towlower(ch) : member == ch;
        });
    };
    const std::u16string_view text = view();
    for (auto i = static_cast<std::size_t>(std::max(start, 0)); i < text.size(); ++i) {
        if (!inSet(text[i]))
            return static_cast<std::int32_t>(i);
    }
    return -1;
}

CZvString CZvString::substring(std::int32_t begin, std::int32_t end) const {
    const std::u16string_view text = view();
    end = cutTo(end, static_cast<std::int32_t>(text.size()));
    if (begin < 0)
        throwRange();
    begin = std::min(begin, end);
    return CZvString(text.data() + begin, end - begin);
}

std::int32_t CZvString::toBytes(char* destination, std::int32_t capacity,
                                const char16_t* charset) const {
    if (capacity < 0 || (destination == nullptr && capacity != 0))
        throwRange();
    return encode(*this, *converterFor<CZvCharToByteConverter>(charset),
                  reinterpret_cast<std::uint8_t*>(destination), capacity);
}

void CZvString::getBytes(IZvByteBuffer& destination, const char16_t* charset) const {
    const auto converter = converterFor<CZvCharToByteConverter>(charset);
    const std::int32_t room = roomFor(CZvString::GetLength(), converter->getMaxBytesPerChar());
    BufferWriteHold<std::uint8_t> bytes(destination, room);
    bytes.finish(encode(*this, *converter, bytes.data(), room));
}

const char* CZvString::toNarrow() const {
    if (!narrowCache)
        narrowCache = makeRef<CZvRWByteBuffer>();
    getBytes(*narrowCache);
    const std::int32_t length = narrowCache->GetLength();
    const std::uint8_t* bytes = narrowCache->GetBuffer();
    if (length == 0 || bytes[length - 1] != 0) {
        // A converter that needs more than it said has left no room for the zero.
        BufferWriteHold<std::uint8_t> hold(*narrowCache, length + 1);
        hold.data()[length] = 0;
        hold.finish(length + 1);
        bytes = narrowCache->GetBuffer();
    }
    return reinterpret_cast<const char*>(bytes);
}

// ---------------------------------------------------------------------------------------------
// Comparing

bool CZvString::regionEquals(std::int32_t start, std::int32_t count, const char16_t* other,
                             std::int32_t otherLength, std::int32_t otherStart,
                             bool ignoreCase) const {
    const Regions sides = regionsOf(view(), start, count, other, otherLength, otherStart);
    if (sides.count != sides.otherCount)
        return false;
    if (ignoreCase)
        return zv::core::_wcsnicmp(sides.text, sides.other, sides.common()) == 0;
    return sameUnits(sides.text, sides.other, sides.common());
}

std::int32_t CZvString::regionCompare(std::int32_t start, std::int32_t count, const char16_t* other,
                                      std::int32_t otherLength, std::int32_t otherStart,
                                      bool ignoreCase) const {
    const Regions sides = regionsOf(view(), start, count, other, otherLength, otherStart);
    const std::int32_t beyond = sides.count - sides.otherCount;
    if (ignoreCase) {
        const int order = zv::core::_wcsnicmp(sides.text, sides.other, sides.common());
        return order != 0 ? order : beyond;
    }
    return orderOf(sides.text, sides.other, sides.common(), beyond);
}

bool CZvString::equals(const CZvString& other, std::uint32_t flags) const {
    const std::u16string_view text = other.view();
    if (flags == 0) {
        const std::u16string_view own = view();
        return own.size() == text.size() && sameUnits(own.data(), text.data(), text.size());
    }
    return regionEquals(0, -1, text.data(), static_cast<std::int32_t>(text.size()), 0, true);
}

std::int32_t CZvString::compare(const CZvString& other, std::uint32_t flags) const {
    const std::u16string_view text = other.view();
    const auto length = static_cast<std::int32_t>(text.size());
    if (flags == 0) {
        const std::u16string_view own = view();
        return orderOf(own.data(), text.data(), std::min(own.size(), text.size()),
                       static_cast<std::int32_t>(own.size()) - length);
    }
    return regionCompare(0, -1, text.data(), length, 0, true);
}

std::uint32_t CZvString::hash(bool ignoreCase) const {
    const std::u16string_view text = view();
    const std::size_t step = std::max<std::size_t>(1, text.size() / 32);
    std::uint32_t h = 0;
    if (!ignoreCase) {
        for (std::size_t i = 0; i < text.size(); i += step)
            h = h * 37 + text[i];
    } else {
        for (std::size_t i = 0; i < text.size(); i += step)
            h = h * 37 + zv::core::towlower(text[i]);
    }
    return h;
}

// ---------------------------------------------------------------------------------------------
// Changing

// Whether the text lies in this string's own characters, which a change may move or free.
bool CZvString::isInside(const char16_t* text) const {
    const std::u16string_view own = view();
    const std::less_equal<const char16_t*> notAfter;
    return notAfter(own.data(), text) && notAfter(text, own.data() + own.size());
}

char16_t* CZvString::openGap(std::int32_t start, std::int32_t count, std::int32_t added) {
    const std::int32_t length = CZvString::GetLength();
    start = cutTo(start, length);
    count = cutTo(count, length - start);
    const std::int32_t newLength = checkedLength(std::int64_t{length} - count + added);
    const std::int32_t room = std::max(length, newLength) + 1;
    CZvRWCharBuffer& own = makeUnique(room);
    const std::int32_t before = own.getCapacity();
    // Blocks are as large as is asked for: twice as much keeps a text that grows bit by bit
    // from being copied for every bit.
    char16_t* text = own.CZvRWCharBuffer::reserve(
        before >= room ? room
                       : static_cast<std::int32_t>(std::min<std::int64_t>(
                             std::max<std::int64_t>(room, std::int64_t{before} * 2), kLongest)));
    moveUnits(text + start + added, text + start + count, length - start - count);
    text[newLength] = 0;
    own.CZvRWCharBuffer::unlockWrite(newLength + 1);
    return text + start;
}

// The shortest road, which most changes take. The characters may be the string's own: nothing
// moves.
bool CZvString::appendInPlace(const char16_t* text, std::int32_t count) {
    CZvRWCharBuffer* own = writableOf(buffer);
    if (own == nullptr || !own->hasOneReference())
        return false;
    const std::int32_t length = own->CZvRWCharBuffer::getLength() - 1;
    if (length < 0 || count >= own->getCapacity() - length)
        return false;
    char16_t* end = own->CZvRWCharBuffer::lockWrite(0) + length;
    if (count == 1)
        *end = *text;
    else
        moveUnits(end, text, count);
    end[count] = 0;
    own->CZvRWCharBuffer::unlockWrite(length + count + 1);
    return true;
}

CZvString& CZvString::replace(std::int32_t start, std::int32_t count, const char16_t* text,
                              std::int32_t textLength, std::int32_t textStart) {
    textLength = lengthOf(text, textLength);
    if (textStart < 0)
        throwRange();
    textStart = std::min(textStart, textLength);
    const std::int32_t added = textLength - textStart;
    if (start == -1 && appendInPlace(text + textStart, added))
        return *this;
    if (added != 0 && isInside(text + textStart)) {
        const CZvString copy(text + textStart, added);
        return replace(start, count, copy.getBuffer(), added, 0);
    }
    copyUnits(openGap(start, count, added), text + textStart, added);
    return *this;
}

CZvString& CZvString::replaceFill(std::int32_t start, std::int32_t count, std::int32_t fillCount,
                                  char16_t ch) {
    if (fillCount < 0)
        throwRange();
    std::fill_n(openGap(start, count, fillCount), fillCount, ch);
    return *this;
}

void CZvString::setLength(std::int32_t n, char16_t fill) {
    if (n < -1)
        throwRange();
    const std::int32_t length = CZvString::GetLength();
    char16_t* text = lockWrite(std::max(n, length));
    if (n > length)
        std::fill(text + length, text + n, fill);
    unlockWrite(n);
}

void CZvString::assign(const IZvCharBuffer& source) {
    if (&source == static_cast<const IZvCharBuffer*>(this))
        return;
    const BufferReadHold<char16_t> characters(source);
    const std::int32_t length = characters.length();
    copyUnits(lockWrite(length), characters.data(), length);
    unlockWrite(length);
}

void CZvString::replaceChar(char16_t from, char16_t to) {
    if (indexOf(from) < 0)
        return;
    const std::int32_t length = CZvString::GetLength();
    char16_t* text = lockWrite(length);
    std::replace(text, text + length, from, to);
    unlockWrite(length);
}

void CZvString::strip(char16_t ch, std::uint32_t where) {
    const std::u16string_view text = view();
    std::size_t begin = 0;
    std::size_t end = text.size();
    if ((where & kStripLeading) != 0) {
        while (begin < end && text[begin] == ch)
            ++begin;
    }
    if ((where & kStripTrailing) != 0) {
        while (end > begin && text[end - 1] == ch)
            --end;
    }
    if (end - begin == text.size())
        return;
    char16_t* data = lockWrite(static_cast<std::int32_t>(text.size()));
    moveUnits(data, data + begin, static_cast<std::int64_t>(end - begin));
    unlockWrite(static_cast<std::int32_t>(end - begin));
}

void CZvString::toUpperCase() {
    const std::int32_t length = CZvString::GetLength();
    zv::core::_wcsupr(lockWrite(length));
    unlockWrite(length);
}

// ---------------------------------------------------------------------------------------------
// The character buffer: the interface's methods do the work, the operations of the same name throw
// what those answer.

bool CZvString::ownsBufferAlone() const noexcept {
    if (const CZvRWCharBuffer* own = writableOf(buffer))
        return own->hasOneReference();
    buffer->AddRef(); // the count is to be had no other way
    return buffer->Release() < 2;
}

CZvRWCharBuffer& CZvString::makeUnique(std::int32_t capacity) {
    CZvRWCharBuffer* own = writableOf(buffer);
    if (own != nullptr && own->hasOneReference())
        return *own;
    const std::u16string_view text = view();
    ZvRef<CZvRWCharBuffer> copy =
        makeRef<CZvRWCharBuffer>(text.data(), static_cast<std::int32_t>(text.size()) + 1, capacity);
    own = copy.get();
    buffer = std::move(copy);
    return *own;
}

std::int32_t CZvString::GetLength() const {
    return static_cast<std::int32_t>(view().size());
}

const char16_t* CZvString::GetBuffer() const {
    return view().data();
}

ResultCode CZvString::LockRead(const char16_t** text) const {
    return buffer->LockRead(text);
}

ResultCode CZvString::UnlockRead() const {
    return buffer->UnlockRead();
}

bool CZvString::IsWritable() const {
    return true;
}

ResultCode CZvString::LockWrite(std::int32_t minLength, char16_t** text) {
    if (text == nullptr)
        return zv::core::kPointer;
    *text = nullptr;
    return resultFrame([&] {
        // A zero stands behind whatever the writer may write, so that UnlockWrite(-1) finds an end.
        const std::int32_t room = std::max(checkedLength(minLength), CZvString::GetLength());
        makeUnique(room + 1);
        const ResultCode code = buffer->LockWrite(room + 1, text);
        if (code >= 0)
            (*text)[room] = 0;
        return code;
    });
}

ResultCode CZvString::Reserve(std::int32_t minCapacity, char16_t** text) {
    if (text == nullptr)
        return zv::core::kPointer;
    *text = nullptr;
    return resultFrame([&] {
        const std::int32_t room = std::max(checkedLength(minCapacity), 0) + 1;
        makeUnique(room);
        return buffer->Reserve(room, text);
    });
}

ResultCode CZvString::UnlockWrite(std::int32_t newLength) {
    return resultFrame([&] {
        // A write that did not begin with LockWrite must not reach the strings that share.
        if (!ownsBufferAlone())
            return zv::core::kFail;
        if (newLength < 0)
            return buffer->UnlockWrite(lengthOf(buffer->GetBuffer(), -1) + 1);
        char16_t* text = nullptr;
        const ResultCode code = buffer->Reserve(checkedLength(newLength) + 1, &text);
        if (code < 0)
            return code;
        text[newLength] = 0;
        return buffer->UnlockWrite(newLength + 1);
    });
}

ResultCode CZvString::Compact() {
    return ownsBufferAlone() ? buffer->Compact() : zv::core::kOk;
}

std::int32_t CZvString::getLength() const {
    return CZvString::GetLength();
}

const char16_t* CZvString::getBuffer() const {
    return CZvString::GetBuffer();
}

const char16_t* CZvString::lockRead() const {
    const char16_t* text = nullptr;
    throwIfFailed(LockRead(&text));
    return text;
}

void CZvString::unlockRead() const {
    throwIfFailed(UnlockRead());
}

bool CZvString::isWritable() const {
    return IsWritable();
}

char16_t* CZvString::lockWrite(std::int32_t minLength) {
    char16_t* text = nullptr;
    throwIfFailed(LockWrite(minLength, &text));
    return text;
}

char16_t* CZvString::reserve(std::int32_t minCapacity) {
    char16_t* text = nullptr;
    throwIfFailed(Reserve(minCapacity, &text));
    return text;
}

std::int32_t CZvString::unlockWrite(std::int32_t newLength) {
    throwIfFailed(UnlockWrite(newLength));
    return newLength;
}

void CZvString::compact() {
    throwIfFailed(Compact());
}

} // namespace ZVCL
