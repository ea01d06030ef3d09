#include "text/com_converters.h"

#include "lang/exception.h"
#include "text/surrogates.h"
#include "util/buffer_hold.h"

#include <cstring>

namespace ZVCL {

namespace {

// Runs a call of the codec. A component that throws breaks its contract, and ends with a code here.
template <typename Call>
ResultCode ask(Call call) noexcept {
    return resultFrame(call);
}

// The codec gets a string of its own to write to: a component may take and drop references on what
// it is handed, which a string inside a converter would not survive.
void askCodec(IZvCharCodec& codec, CZvString& name, std::int32_t& maxBytesPerChar,
              std::int32_t& maxCharsPerByte) {
    const ZvRef<CZvString> written = makeRef<CZvString>();
    throwIfFailed(ask([&] { return codec.GetName(written.get()); }));
    name = *written;
    throwIfFailed(ask([&] { return codec.GetMaxBytesPerChar(&maxBytesPerChar); }));
    throwIfFailed(ask([&] { return codec.GetMaxCharsPerByte(&maxCharsPerByte); }));
}

} // namespace

CZvCTBCom::CZvCTBCom(IZvCharCodec* codec) : codec(ZvRef<IZvCharCodec>::share(codec)) {
    askCodec(*codec, name, maxBytesPerChar, maxCharsPerByte);
}

std::int32_t CZvCTBCom::charToBytes(std::uint32_t codePoint, std::uint8_t* buffer,
                                    std::int32_t capacity) {
    // A new buffer for each character, as far as anybody can tell: one that the codec did not keep
    // serves again.
    if (encoded && encoded->hasOneReference())
        encoded->unlockWrite(0);
    else
        encoded = makeRef<CZvRWByteBuffer>(capacity);
    if (ask([&] { return codec->EncodeChar(codePoint, encoded.get()); }) < 0)
        return -1;
    const std::int32_t length = encoded->GetLength();
    if (length < 1 || length > capacity)
        return 0;
    const BufferReadHold<std::uint8_t> hold(*encoded);
    std::memcpy(buffer, hold.data(), static_cast<std::size_t>(length));
    return length;
}

CZvBTCCom::CZvBTCCom(IZvCharCodec* codec) : codec(ZvRef<IZvCharCodec>::share(codec)) {
    askCodec(*codec, name, maxBytesPerChar, maxCharsPerByte);
}

std::uint32_t CZvBTCCom::bytesToChar(const std::uint8_t* input, std::int32_t& inOutCount) {
    std::uint32_t codePoint = kReplacementCharacter;
    ask([&] { return codec->DecodeChar(input, &inOutCount, &codePoint); });
    return codePoint;
}

} // namespace ZVCL
