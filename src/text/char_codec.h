// The interface of an external charset: a component that maps one character at a time.
//
// A codec is given by whoever supplies the charset; the library only calls it. One converter calls
// its codec from one thread at a time, but two converters may share a codec.
//
// Makers of codecs see include/zvsupport/char_codec.h in this header's place; tests compare the two
// method by method.
#ifndef ZVSUPPORT_TEXT_CHAR_CODEC_H
#define ZVSUPPORT_TEXT_CHAR_CODEC_H

#include "core/result.h"
#include "lang/unknown.h"
#include "platform/calling_convention.h"
#include "util/buffer.h"

#include <cstdint>

namespace ZVCL {

class IZvCharCodec : public IZvUnknown {
public:
    static constexpr ZvIid kIid = {
        0x7CC1F18A, 0xCC6F, 0x47A1, {0x81, 0xC1, 0x10, 0xCC, 0x21, 0x2B, 0xA6, 0xCA}};

    // Writes the charset's canonical name into the buffer by its write protocol.
    virtual zv::core::ResultCode ZV_INTERFACE_CALL GetName(IZvCharBuffer* nameBuffer) = 0;
    virtual zv::core::ResultCode ZV_INTERFACE_CALL GetMaxBytesPerChar(std::int32_t* value) = 0;
    virtual zv::core::ResultCode ZV_INTERFACE_CALL GetMaxCharsPerByte(std::int32_t* value) = 0;
    // Decodes the first character of the *inOutCount bytes at `input` and stores how many of them
    // it took, 0 when they do not complete a character. *codePoint comes in as U+FFFD, which means
    // unmappable; what is not set stays so. The result code is ignored.
    virtual zv::core::ResultCode ZV_INTERFACE_CALL DecodeChar(const std::uint8_t* input,
                                                              std::int32_t* inOutCount,
                                                              std::uint32_t* codePoint) = 0;
    // Appends the encoding of the code point to the (empty) buffer. A failing code, or nothing
    // appended, means unmappable.
    virtual zv::core::ResultCode ZV_INTERFACE_CALL EncodeChar(std::uint32_t codePoint,
                                                              IZvByteBuffer* buffer) = 0;

protected:
    ~IZvCharCodec() = default;
};

} // namespace ZVCL

#endif
