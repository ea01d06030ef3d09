// The string: UTF-16 code units with a terminating zero, in a buffer that copies share until one of
// them is about to change it.
//
// One string belongs to one thread at a time. Strings that share a buffer may live in different
// threads (the argument stands in string.cpp).
//
// Lengths, positions and counts are in code units and signed 32-bit. Where -1 is allowed it means
// "as far as it goes". A null text is the empty one. A position or count that makes no sense throws
// EZvRangeError, a text that would not fit 32 bits std::bad_alloc; either way nothing has changed.
#ifndef ZVSUPPORT_LANG_STRING_H
#define ZVSUPPORT_LANG_STRING_H

#include "lang/ref.h"
#include "util/buffer.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ZVCL {

class CZvRWCharBuffer;

class CZvString : public CZvAbstractCharBuffer {
public:
    CZvString() noexcept;
    CZvString(const CZvString& other) noexcept; // shares the other's buffer
    CZvString(CZvString&& other) noexcept;      // leaves the other empty
    CZvString& operator=(const CZvString& other) noexcept;
    CZvString& operator=(CZvString&& other) noexcept;

    // A copy of `length` characters (-1: up to the first zero) with room for `capacity`.
    explicit CZvString(const char16_t* text, std::int32_t length = -1, std::int32_t capacity = 0);
    explicit CZvString(std::u16string_view text);

    // Wraps characters without copying them; the first change of a string makes its copy. They must
    // not change, must outlive every string that shares them, and text[length] must be zero.
    static CZvString wrap(const char16_t* text, std::int32_t length);
    template <std::size_t size>
    static CZvString literal(const char16_t (&text)[size]) {
        return wrap(text, static_cast<std::int32_t>(size - 1));
    }
    static CZvString filled(char16_t ch, std::int32_t count, std::int32_t capacity = 0);
    static CZvString withCapacity(std::int32_t capacity); // empty
    // Decodes bytes (length -1: up to the first zero) of a charset, null for the default one. Bytes
    // that the converter leaves behind are dropped. Throws what the converter throws and, for a
    // charset that nobody serves, EZvUnknownEncoding.
    static CZvString fromNarrow(const char* bytes, std::int32_t length = -1,
                                const char16_t* charset = nullptr, std::int32_t capacity = 0);
    static CZvString valueOf(std::int32_t value); // decimal

    ~CZvString() override;

    // ----- CZvObject

    CZvObject* clone() const override; // shares the buffer
    // Throw and answer: EZvCastFailed, false, for an object that is no string.
    std::int32_t compareTo(const CZvObject& other) const override;
    bool equals(const CZvObject& other) const override;
    std::uint32_t hashCode() const override;
    CZvString toString() const override;

    // ----- reading

    // The text; valid until the string changes or ends.
    std::u16string_view view() const;
    char16_t charAt(std::int32_t index) const { return getBuffer()[index]; } // not checked
    // The first position at or after start (below 0 counts as 0), or -1.
    std::int32_t indexOf(char16_t ch, std::int32_t start = 0, bool ignoreCase = false) const;
    // The first position of a character that is not in the set, or -1; -1 for an empty set.
    std::int32_t findFirstNotOf(const char16_t* set, std::int32_t setSize = -1,
                                std::int32_t start = 0, bool ignoreCase = false) const;
    // From begin up to, not including, end (-1: the end of the text). Both are cut to the text.
    CZvString substring(std::int32_t begin, std::int32_t end = -1) const;

    // Encodes the text into `capacity` bytes in a charset (null: the default one), adds a zero byte
    // if there is room, and answers the bytes written, that zero among them. Throws what the
    // converter throws.
    std::int32_t toBytes(char* destination, std::int32_t capacity,
                         const char16_t* charset = nullptr) const;
    // The same into a buffer, sized so that everything fits; its length counts the zero byte.
    void getBytes(IZvByteBuffer& destination, const char16_t* charset = nullptr) const;
    // Zero-terminated narrow text in the default charset, made anew by every call. It belongs to
    // the string and stays until the next call, whatever else happens to the string.
    const char* toNarrow() const;

    // ----- comparing: `count` characters from start with other[otherStart, otherLength)

    bool regionEquals(std::int32_t start, std::int32_t count, const char16_t* other,
                      std::int32_t otherLength = -1, std::int32_t otherStart = 0,
                      bool ignoreCase = false) const;
    std::int32_t regionCompare(std::int32_t start, std::int32_t count, const char16_t* other,
                               std::int32_t otherLength = -1, std::int32_t otherStart = 0,
                               bool ignoreCase = false) const;
    // flags: 0 as the units are, anything else without regard to case.
    bool equals(const CZvString& other, std::uint32_t flags) const;
    std::int32_t compare(const CZvString& other, std::uint32_t flags) const;
    // Reads at most 63 characters, however long the text.
    std::uint32_t hash(bool ignoreCase) const;

    // ----- changing

    // Replaces `count` characters at start by text[textStart, textLength), which may lie in this
    // very string. start -1 is the end: replace(-1, 0, text) appends.
    CZvString& replace(std::int32_t start, std::int32_t count, const char16_t* text,
                       std::int32_t textLength = -1, std::int32_t textStart = 0);
    CZvString& replaceFill(std::int32_t start, std::int32_t count, std::int32_t fillCount,
                           char16_t ch);
    // Cuts or fills up to n characters; -1 cuts at the first zero.
    void setLength(std::int32_t n, char16_t fill = 0);
    void assign(const IZvCharBuffer& source); // copies the characters
    void replaceChar(char16_t from, char16_t to);
    enum : std::uint32_t { kStripLeading = 1, kStripTrailing = 2 };
    void strip(char16_t ch, std::uint32_t where);
    void toUpperCase(); // by the run-time's locale

    // ----- the character buffer. A write begins by making the string's buffer its own.

    std::int32_t getLength() const override;
    const char16_t* getBuffer() const override;
    const char16_t* lockRead() const override;
    void unlockRead() const override;
    bool isWritable() const override; // always
    char16_t* lockWrite(std::int32_t minLength) override;
    char16_t* reserve(std::int32_t minCapacity) override;
    // -1: the length becomes the number of characters before the first zero.
    std::int32_t unlockWrite(std::int32_t newLength) override;
    // Leaves a buffer alone that other strings share.
    void compact() override;

    std::int32_t ZV_INTERFACE_CALL GetLength() const override;
    const char16_t* ZV_INTERFACE_CALL GetBuffer() const override;
    ResultCode ZV_INTERFACE_CALL LockRead(const char16_t** text) const override;
    ResultCode ZV_INTERFACE_CALL UnlockRead() const override;
    bool ZV_INTERFACE_CALL IsWritable() const override;
    ResultCode ZV_INTERFACE_CALL LockWrite(std::int32_t minLength, char16_t** text) override;
    ResultCode ZV_INTERFACE_CALL Reserve(std::int32_t minCapacity, char16_t** text) override;
    ResultCode ZV_INTERFACE_CALL UnlockWrite(std::int32_t newLength) override;
    ResultCode ZV_INTERFACE_CALL Compact() override;

private:
    explicit CZvString(ZvRef<IZvCharBuffer> buffer) noexcept;

    bool ownsBufferAlone() const noexcept;
    // Makes the buffer writable and the string its one holder. A new one has room for `capacity`.
    CZvRWCharBuffer& makeUnique(std::int32_t capacity);
    bool isInside(const char16_t* text) const;
    // False, and nothing has changed, when there is no room or the buffer is not the string's own.
    bool appendInPlace(const char16_t* text, std::int32_t count);
    // Puts `added` characters in the place of `count` at start, for the caller to fill in at once,
    // and answers where they begin. What is to be written there must not lie in this string.
    char16_t* openGap(std::int32_t start, std::int32_t count, std::int32_t added);

    ZvRef<IZvCharBuffer> buffer;              // never null
    mutable ZvRef<IZvByteBuffer> narrowCache; // null until the first toNarrow
};

} // namespace ZVCL

#endif
