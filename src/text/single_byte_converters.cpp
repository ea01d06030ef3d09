#include "text/single_byte_converters.h"

#include "text/single_byte_loop.h"

namespace ZVCL {

namespace {

// The identity on the characters whose units have only bits of `unitMask`.
template <char16_t unitMask>
struct IdentityToBytes {
    static constexpr std::uint64_t kWordMask = unitMask * 0x0001000100010001u;

    std::uint8_t operator()(char16_t character) const {
        return character <= unitMask ? static_cast<std::uint8_t>(character) : 0;
    }
    template <std::int32_t size>
    bool convertBlock(const char16_t* from, std::uint8_t* to) const {
        if (!hasOnlyBits<size>(from, kWordMask))
            return false;
        narrowBlock<size>(from, to);
        return true;
    }
};
using AsciiToBytes = IdentityToBytes<0x7F>;
using Latin1ToBytes = IdentityToBytes<0xFF>;

struct AsciiToChars {
    char16_t operator()(std::uint8_t byte) const {
        return byte < 0x80 ? byte : kReplacementCharacter;
    }
    template <std::int32_t size>
    bool convertBlock(const std::uint8_t* from, char16_t* to) const {
        if (!hasOnlyBits<size>(from, 0x7F7F7F7F7F7F7F7Fu))
            return false;
        widenBlock<size>(from, to);
        return true;
    }
};

} // namespace

std::int32_t CZvCTBSingleByte::convert(const char16_t* input, std::int32_t& inputPosition,
                                       std::int32_t inputEnd, std::uint8_t* output,
                                       std::int32_t& outputPosition, std::int32_t outputEnd) {
    const auto hook = [this](char16_t character) { return charToByte(character); };
    return convertWith(hook, input, inputPosition, inputEnd, output, outputPosition, outputEnd);
}

std::int32_t CZvCTBSingleByte::flush(std::uint8_t*, std::int32_t&, std::int32_t) {
    if (pendingLead != 0)
        throwLeadWithoutTrail();
    return 0;
}

void CZvCTBSingleByte::reset() {
    pendingLead = 0;
}

std::int32_t CZvBTCSingleByte::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                       std::int32_t inputEnd, char16_t* output,
                                       std::int32_t& outputPosition, std::int32_t outputEnd) {
    const auto hook = [this](std::uint8_t byte) { return byteToChar(byte); };
    return convertWith(hook, input, inputPosition, inputEnd, output, outputPosition, outputEnd);
}

std::int32_t CZvBTCSingleByte::flush(char16_t*, std::int32_t&, std::int32_t) {
    return 0;
}

std::int32_t CZvCTBASCII::convert(const char16_t* input, std::int32_t& inputPosition,
                                  std::int32_t inputEnd, std::uint8_t* output,
                                  std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(AsciiToBytes(), input, inputPosition, inputEnd, output, outputPosition,
                       outputEnd);
}

std::uint8_t CZvCTBASCII::charToByte(char16_t character) {
    return AsciiToBytes()(character);
}

std::int32_t CZvBTCASCII::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                  std::int32_t inputEnd, char16_t* output,
                                  std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(AsciiToChars(), input, inputPosition, inputEnd, output, outputPosition,
                       outputEnd);
}

char16_t CZvBTCASCII::byteToChar(std::uint8_t byte) {
    return AsciiToChars()(byte);
}

std::int32_t CZvCTBISO8859_1::convert(const char16_t* input, std::int32_t& inputPosition,
                                      std::int32_t inputEnd, std::uint8_t* output,
                                      std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(Latin1ToBytes(), input, inputPosition, inputEnd, output, outputPosition,
                       outputEnd);
}

std::uint8_t CZvCTBISO8859_1::charToByte(char16_t character) {
    return Latin1ToBytes()(character);
}

std::int32_t CZvBTCISO8859_1::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                      std::int32_t inputEnd, char16_t* output,
                                      std::int32_t& outputPosition, std::int32_t outputEnd) {
    const std::int32_t count =
        std::max(0, std::min(inputEnd - inputPosition, outputEnd - outputPosition));
    const std::uint8_t* from = input + inputPosition;
    char16_t* to = output + outputPosition;
    std::int32_t done = 0;
    for (; count - done >= kLongBlock; done += kLongBlock)
        widenBlock<kLongBlock>(from + done, to + done);
    for (; done < count; ++done)
        to[done] = from[done];
    inputPosition += count;
    outputPosition += count;
    return count;
}

char16_t CZvBTCISO8859_1::byteToChar(std::uint8_t byte) {
    return byte;
}

} // namespace ZVCL
