// zvsupport: what the maker of a codec component needs. A codec component teaches the library one
// more charset: an in-process server, found through the system's registry under the name
// "Zentrova.CharCodec." followed by the charset's name (docs/codec-components.md).
//
// This header stands alone and compiles as C++11 and later. Nothing is linked to: the library calls
// the component, and the component calls back through the interfaces that it is handed.
//
// Conventions
//
//  1. Methods answer a signed 32-bit result code unless said otherwise: 0 is success, a negative
//     number a failure. No exception may leave a method or an entry point.
//  2. A pointer that comes in is never null and is lent for the call. Who keeps an interface beyond
//     the call takes a reference (AddRef) and gives it back (Release). An interface that goes out
//     through an out-parameter carries a reference for its receiver; on failure it is null.
//  3. Lengths, positions and counts are signed 32-bit and count units: bytes, or 16-bit characters.
//     Wide text is UTF-16 in the machine's byte order. A code point is a number up to 0x10FFFF.
//  4. Entry points and class objects may be called by any thread. A codec serves one converter, and
//     a converter belongs to one thread at a time; a class object that hands out one codec twice
//     has to expect two threads. AddRef and Release may come from any thread.
//  5. A codec keeps nothing between two calls. The library may ask for one character again (the
//     caller's output was full), may go elsewhere in the text, and tells a codec neither of the end
//     of a text nor of the beginning of the next. Charsets whose bytes change their meaning by what
//     stood before (shift states) cannot be served.
//  6. Interfaces are tables of functions in the order in which they stand here; on 32-bit Windows
//     every method and entry point is __stdcall (ZV_STDCALL).
#ifndef ZVSUPPORT_CHAR_CODEC_H
#define ZVSUPPORT_CHAR_CODEC_H

#include <cstdint>

// Where compilers know the standard convention by this name, it is that of all calls here.
#if defined(__stdcall) || defined(_MSC_VER)
#define ZV_STDCALL __stdcall
#else
#define ZV_STDCALL
#endif

// Stands before an entry point's definition. On Windows entry points are exported by a module
// definition file instead: there alone they keep their names undecorated.
#if defined(__ELF__)
#define ZV_ENTRY_POINT extern "C" __attribute__((visibility("default")))
#else
#define ZV_ENTRY_POINT extern "C"
#endif

namespace zvsupport {

// ----- result codes

using ResultCode = std::int32_t;

constexpr ResultCode kOk = 0;
constexpr ResultCode kNotImplemented = static_cast<ResultCode>(0x80004001u);
constexpr ResultCode kNoInterface = static_cast<ResultCode>(0x80004002u);
constexpr ResultCode kPointer = static_cast<ResultCode>(0x80004003u); // an out-parameter is null
constexpr ResultCode kFail = static_cast<ResultCode>(0x80004005u);
constexpr ResultCode kNoAggregation = static_cast<ResultCode>(0x80040110u);
constexpr ResultCode kClassNotAvailable = static_cast<ResultCode>(0x80040111u);
constexpr ResultCode kOutOfMemory = static_cast<ResultCode>(0x8007000Eu);

// ----- identifiers of classes and interfaces

// {6B29FC40-CA47-1067-B31D-00DD010662DA}: 16 bytes, laid out as the system's own GUID.
struct ZvGuid {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};

inline bool operator==(const ZvGuid& left, const ZvGuid& right) {
    bool equal =
        left.Data1 == right.Data1 && left.Data2 == right.Data2 && left.Data3 == right.Data3;
    for (int i = 0; i < 8; ++i)
        equal = equal && left.Data4[i] == right.Data4[i];
    return equal;
}
inline bool operator!=(const ZvGuid& left, const ZvGuid& right) {
    return !(left == right);
}

constexpr ZvGuid kIZvUnknownId = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr ZvGuid kIClassFactoryId = {
    0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
// Of both buffer interfaces: a buffer answers it with the one that it has.
constexpr ZvGuid kIZvBufferId = {
    0xB21E8A7A, 0xD595, 0x4658, {0x9C, 0xFE, 0x45, 0x6F, 0x1E, 0x57, 0x81, 0x67}};
constexpr ZvGuid kIZvCharCodecId = {
    0x7CC1F18A, 0xCC6F, 0x47A1, {0x81, 0xC1, 0x10, 0xCC, 0x21, 0x2B, 0xA6, 0xCA}};

// ----- interfaces

class IZvUnknown {
public:
    // Stores the object's interface of that identifier in *object, with a reference. kNoInterface
    // when it has none.
    virtual ResultCode ZV_STDCALL QueryInterface(const ZvGuid& iid, void** object) = 0;
    // Both answer the new count. The object ends with its last reference.
    virtual std::uint32_t ZV_STDCALL AddRef() = 0;
    virtual std::uint32_t ZV_STDCALL Release() = 0;

protected:
    ~IZvUnknown() = default;
};

// A buffer of the library's, which the component fills: bytes, or characters of wide text. It is
// used by the thread that was handed it, for the length of the call.
//
// To append n units, ask for the length, LockWrite(length + n), write them behind the old ones, and
// UnlockWrite(length + n). A write that is not ended has not happened.
class IZvByteBuffer : public IZvUnknown {
public:
    virtual std::int32_t ZV_STDCALL GetLength() const = 0; // answered directly
    // The first unit, answered directly. It stays where it is until the buffer is written to or
    // ends; null when the buffer never had room for anything.
    virtual const std::uint8_t* ZV_STDCALL GetBuffer() const = 0;
    // Begins a read and stores the first unit's address.
    virtual ResultCode ZV_STDCALL LockRead(const std::uint8_t** data) const = 0;
    virtual ResultCode ZV_STDCALL UnlockRead() const = 0;
    virtual bool ZV_STDCALL IsWritable() const = 0; // answered directly
    // Begins a write of at most minLength units, which include those that are there, and stores the
    // first unit's address. kOutOfMemory, and for a read-only buffer kNotImplemented, with null.
    virtual ResultCode ZV_STDCALL LockWrite(std::int32_t minLength, std::uint8_t** data) = 0;
    // Makes room without beginning a write. As LockWrite.
    virtual ResultCode ZV_STDCALL Reserve(std::int32_t minCapacity, std::uint8_t** data) = 0;
    // Ends a write and sets the length; a negative one keeps it. kFail, and nothing changes, for
    // more than there is room for.
    virtual ResultCode ZV_STDCALL UnlockWrite(std::int32_t newLength) = 0;
    virtual ResultCode ZV_STDCALL Compact() = 0; // gives back the room behind the length

protected:
    ~IZvByteBuffer() = default;
};

// The same for characters. This buffer is a string: a terminating zero that is no part of its
// length is kept behind the last character. UnlockWrite makes room for the length that it is given,
// and with a negative one cuts at the first zero.
class IZvCharBuffer : public IZvUnknown {
public:
    virtual std::int32_t ZV_STDCALL GetLength() const = 0;
    virtual const char16_t* ZV_STDCALL GetBuffer() const = 0;
    virtual ResultCode ZV_STDCALL LockRead(const char16_t** data) const = 0;
    virtual ResultCode ZV_STDCALL UnlockRead() const = 0;
    virtual bool ZV_STDCALL IsWritable() const = 0;
    virtual ResultCode ZV_STDCALL LockWrite(std::int32_t minLength, char16_t** data) = 0;
    virtual ResultCode ZV_STDCALL Reserve(std::int32_t minCapacity, char16_t** data) = 0;
    virtual ResultCode ZV_STDCALL UnlockWrite(std::int32_t newLength) = 0;
    virtual ResultCode ZV_STDCALL Compact() = 0;

protected:
    ~IZvCharBuffer() = default;
};

// The codec: maps one character at a time. A component implements it.
//
// The first three are called once for each converter, in this order, right after the codec was
// created. A failing code ends the request for a converter with that code.
class IZvCharCodec : public IZvUnknown {
public:
    // Writes the charset's canonical name into the (empty) string, without a terminating zero.
    virtual ResultCode ZV_STDCALL GetName(IZvCharBuffer* nameBuffer) = 0;
    // Stores the most bytes that one 16-bit character becomes. Callers size their output by it, and
    // text that needs more is cut off: so it is an upper bound, at least 1.
    virtual ResultCode ZV_STDCALL GetMaxBytesPerChar(std::int32_t* value) = 0;
    // Stores the most 16-bit characters that one byte becomes, likewise; 1 for most charsets.
    virtual ResultCode ZV_STDCALL GetMaxCharsPerByte(std::int32_t* value) = 0;

    // Decodes the first character of the *inOutCount bytes at `input` (at least 1).
    //
    // A character: its code point, and in *inOutCount its bytes.
    // Bytes that mean nothing: U+FFFD, which *codePoint holds beforehand, and in *inOutCount how
    // many of them to pass over (at least 1). The caller writes its substitution or fails.
    // The beginning of a character whose other bytes are not there yet: 0 in *inOutCount. The
    // caller presents them again with those that follow.
    //
    // A surrogate (0xD800 to 0xDFFF) is an error that ends the caller's conversion; a number above
    // 0x10FFFF means nothing; more bytes than there are count as 0. The result code is not looked
    // at, so that a failure has to say all this by the other two.
    virtual ResultCode ZV_STDCALL DecodeChar(const std::uint8_t* input, std::int32_t* inOutCount,
                                             std::uint32_t* codePoint) = 0;

    // Appends the encoding of a code point to the (empty) buffer: 1 to 6 bytes. A failing code, no
    // byte or more than six mean that the charset lacks the character.
    //
    // Surrogate halves (0xD800 to 0xDFFF) are offered too: a lead before its pair comes as one code
    // point, a trail that stands alone. A codec answers a failing code to them.
    virtual ResultCode ZV_STDCALL EncodeChar(std::uint32_t codePoint, IZvByteBuffer* buffer) = 0;

protected:
    ~IZvCharCodec() = default;
};

// A class object: makes the objects of one class. A component implements it.
class IClassFactory : public IZvUnknown {
public:
    // Stores the interface `iid` (the library asks for kIZvCharCodecId) of a new object in *object,
    // with a reference. outer is null when the library asks; for another one: kNoAggregation.
    virtual ResultCode ZV_STDCALL CreateInstance(IZvUnknown* outer, const ZvGuid& iid,
                                                 void** object) = 0;
    // Keeps the server loaded, or no longer. The library does not call it.
    virtual ResultCode ZV_STDCALL LockServer(std::int32_t lock) = 0;

protected:
    ~IClassFactory() = default;
};

// ----- entry points

// "DllGetClassObject", which every component exports: stores the interface `iid` of the class
// object of `clsid` in *object, with a reference. kClassNotAvailable for a class that the server
// does not have.
//
//     ZV_ENTRY_POINT zvsupport::ResultCode ZV_STDCALL DllGetClassObject(
//         const zvsupport::ZvGuid& clsid, const zvsupport::ZvGuid& iid, void** object)
//
// The library loads a server at the first request for one of its classes, keeps each class object,
// and unloads the server when it is itself unloaded; its codecs are released before that.
using DllGetClassObjectFunction = ResultCode(ZV_STDCALL*)(const ZvGuid& clsid, const ZvGuid& iid,
                                                          void** object);

} // namespace zvsupport

#endif
