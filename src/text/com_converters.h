// Converters of the multi-byte family whose mapping is done by an external codec component.
//
// Converters belong to one thread at a time.
#ifndef ZVSUPPORT_TEXT_COM_CONVERTERS_H
#define ZVSUPPORT_TEXT_COM_CONVERTERS_H

#include "lang/ref.h"
#include "text/char_codec.h"
#include "text/multi_byte_converters.h"
#include "util/rw_buffer.h"

#include <cstdint>

namespace ZVCL {

class CZvCTBCom final : public CZvCTBMultiByte {
public:
    // Takes a reference of its own on the codec (not null) and asks it for its name and its two
    // factors, in this order. Throws EZvResultException with the code of the first that fails.
    explicit CZvCTBCom(IZvCharCodec* codec);

    // -1 when the codec fails; 0 when it appends nothing, or more than there is room for. Throws
    // EZvResultException when the bytes that it appended cannot be read, and on exhaustion what
    // operator new throws.
    std::int32_t charToBytes(std::uint32_t codePoint, std::uint8_t* buffer,
                             std::int32_t capacity) override;

private:
    ZvRef<IZvCharCodec> codec;
    ZvRef<CZvRWByteBuffer> encoded; // what the codec was handed last, or null
};

class CZvBTCCom final : public CZvBTCMultiByte {
public:
    // As CZvCTBCom's.
    explicit CZvBTCCom(IZvCharCodec* codec);

    std::uint32_t bytesToChar(const std::uint8_t* input, std::int32_t& inOutCount) override;

private:
    ZvRef<IZvCharCodec> codec;
};

} // namespace ZVCL

#endif
