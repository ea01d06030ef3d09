#include "text/multi_byte_converters.h"

#include "lang/exception.h"
#include "text/surrogates.h"

#include <cstring>

namespace ZVCL {

std::int32_t CZvCTBMultiByte::convert(const char16_t* input, std::int32_t& inputPosition,
                                      std::int32_t inputEnd, std::uint8_t* output,
                                      std::int32_t& outputPosition, std::int32_t outputEnd) {
    std::int32_t in = inputPosition;
    std::int32_t out = outputPosition;
    char16_t lead = pendingLead;
    for (; in < inputEnd; ++in) {
        std::uint32_t codePoint = input[in];
        if (lead != 0) {
            if (!isTrailSurrogate(codePoint))
                throwLeadWithoutTrail();
            codePoint = codePointOfPair(lead, input[in]);
        }
        std::uint8_t encoded[kMaxBytes];
        const std::uint8_t* bytes = encoded;
        std::int32_t count = charToBytes(codePoint, encoded, kMaxBytes);
        if (count <= 0 || count > kMaxBytes) {
            if (isLeadSurrogate(codePoint)) {
                lead = static_cast<char16_t>(codePoint);
                continue;
            }
            if (isTrailSurrogate(codePoint))
                throwTrailWithoutLead();
            if (!substitutionMode)
                throw EZvUnmappableCharacter();
            bytes = substitution;
            count = substitutionLength;
        }
        if (outputEnd - out < count)
            break;
        std::memcpy(output + out, bytes, static_cast<std::size_t>(count));
        out += count;
        lead = 0;
    }
    const std::int32_t written = out - outputPosition;
    pendingLead = lead;
    inputPosition = in;
    outputPosition = out;
    return written;
}

std::int32_t CZvCTBMultiByte::flush(std::uint8_t*, std::int32_t&, std::int32_t) {
    if (pendingLead != 0)
        throwLeadWithoutTrail();
    return 0;
}

void CZvCTBMultiByte::reset() {
    pendingLead = 0;
}

const char16_t* CZvCTBMultiByte::getCharacterEncoding() {
    return name.getBuffer();
}

std::int32_t CZvBTCMultiByte::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                      std::int32_t inputEnd, char16_t* output,
                                      std::int32_t& outputPosition, std::int32_t outputEnd) {
    std::int32_t in = inputPosition;
    std::int32_t out = outputPosition;
    while (in < inputEnd) {
        const std::int32_t available = inputEnd - in;
        std::int32_t taken = available;
        const std::uint32_t codePoint = bytesToChar(input + in, taken);
        // More than there is cannot be a whole character either.
        if (taken <= 0 || taken > available)
            break;
        char16_t decoded[2];
        const char16_t* characters = decoded;
        std::int32_t count = 1;
        if (codePoint == kReplacementCharacter || codePoint > kLastCodePoint) {
            if (!substitutionMode)
                throw EZvUnmappableCharacter();
            characters = substitution;
            count = substitutionLength;
        } else if (isSurrogate(codePoint)) {
            throw EZvInvalidCharacter(
                CZvString::literal(u"Invalid byte sequence (decoded chars in surrogate range)"));
        } else if (codePoint > 0xFFFF) {
            decoded[0] = leadOf(codePoint);
            decoded[1] = trailOf(codePoint);
            count = 2;
        } else {
            decoded[0] = static_cast<char16_t>(codePoint);
        }
        if (outputEnd - out < count)
            break;
        for (std::int32_t i = 0; i < count; ++i)
            output[out + i] = characters[i];
        out += count;
        in += taken;
    }
    const std::int32_t written = out - outputPosition;
    inputPosition = in;
    outputPosition = out;
    return written;
}

std::int32_t CZvBTCMultiByte::flush(char16_t*, std::int32_t&, std::int32_t) {
    return 0;
}

const char16_t* CZvBTCMultiByte::getCharacterEncoding() {
    return name.getBuffer();
}

} // namespace ZVCL
