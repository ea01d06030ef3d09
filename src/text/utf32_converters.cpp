#include "text/utf32_converters.h"

#include "lang/exception.h"
#include "lang/string.h"
#include "text/surrogates.h"

#include <cstring>

namespace ZVCL {

namespace {

constexpr std::int32_t kUnitSize = 4;

// Units are converted in blocks of this size where they can. Local arrays of it are what a compiler
// keeps in vector registers.
constexpr std::int32_t kBlock = 8;

// The byte orders. One that is known at compile time orders whole blocks.
struct LittleEndian {
    static constexpr bool kTakesBlocks = true;
    std::uint32_t operator()(std::uint32_t value) const { return value; }
    void orderBlock(std::uint32_t (&)[kBlock]) const {}
};
struct BigEndian {
    static constexpr bool kTakesBlocks = true;
    std::uint32_t operator()(std::uint32_t value) const { return swapBytes32(value); }
    // In two steps, each of which has vector instructions on every machine; the one step has none
    // on many, and a compiler that sees it works unit by unit.
    void orderBlock(std::uint32_t (&values)[kBlock]) const {
        std::uint16_t halves[2 * kBlock];
        std::memcpy(halves, values, sizeof halves);
        for (std::uint16_t& half : halves)
            half = swapBytes16(half);
        std::memcpy(values, halves, sizeof halves);
        for (std::uint32_t& value : values)
            value = value << 16 | value >> 16;
    }
};
template <typename Converter>
struct HookOrder {
    static constexpr bool kTakesBlocks = false;
    std::uint32_t operator()(std::uint32_t value) const { return converter.orderUnit32(value); }

    Converter& converter;
};

// Encodes a block without surrogates; false, with nothing written, when it has any: the upper five
// bits of no other character leave 0, from which 1 borrows the top bit.
template <typename Order>
bool encodeSingles(const Order& order, const char16_t* from, std::uint8_t* to) {
    std::uint16_t characters[kBlock];
    std::memcpy(characters, from, sizeof characters);
    std::uint16_t marks = 0;
    for (const std::uint16_t character : characters)
        marks |= static_cast<std::uint16_t>(((character ^ 0xD800) >> 11) - 1);
    if ((marks & 0x8000) != 0)
        return false;
    std::uint32_t units[kBlock];
    for (std::int32_t i = 0; i < kBlock; ++i)
        units[i] = characters[i];
    order.orderBlock(units);
    std::memcpy(to, units, sizeof units);
    return true;
}

// Encodes a block with pairs in it, without a branch that depends on where they are, and looks at
// the unit behind the block. Every unit is written, and what a trail wrote is written over. `in`
// and `out` are moved on; a lead in the last place is left for the next time. False, with nothing
// written, when there is a lead or a trail without the other.
template <typename Order>
bool encodePairs(const Order& order, const char16_t*& in, std::uint8_t*& out) {
    std::uint16_t characters[kBlock], nexts[kBlock], leads[kBlock], steps[kBlock];
    std::memcpy(characters, in, sizeof characters);
    std::memcpy(nexts, in + 1, sizeof nexts);
    std::uint16_t torn = 0;
    for (std::int32_t i = 0; i < kBlock; ++i) {
        const std::uint16_t isLead = (characters[i] & 0xFC00) == 0xD800 ? 0xFFFF : 0;
        const std::uint16_t isTrail = (characters[i] & 0xFC00) == 0xDC00 ? 0xFFFF : 0;
        const std::uint16_t beforeTrail = (nexts[i] & 0xFC00) == 0xDC00 ? 0xFFFF : 0;
        torn |= static_cast<std::uint16_t>(isLead ^ beforeTrail);
        leads[i] = isLead;
        steps[i] = static_cast<std::uint16_t>(kUnitSize & ~isTrail);
    }
    if (torn != 0 || isTrailSurrogate(in[0]))
        return false;
    std::uint32_t units[kBlock];
    for (std::int32_t i = 0; i < kBlock; ++i) {
        const std::uint32_t character = characters[i], isLead = leads[i] * 0x10001u;
        const std::uint32_t pair = ((character & 0x3FF) << 10 | (nexts[i] & 0x3FFu)) + 0x10000;
        units[i] = (character & ~isLead) | (pair & isLead);
    }
    order.orderBlock(units);
    const bool endsInLead = isLeadSurrogate(in[kBlock - 1]);
    const auto lay = [&](std::int32_t i) {
        std::memcpy(out, &units[i], sizeof units[i]);
        out += steps[i];
    };
    lay(0), lay(1), lay(2), lay(3), lay(4), lay(5), lay(6), lay(7);
    in += kBlock - endsInLead;
    out -= endsInLead ? kUnitSize : 0;
    return true;
}

// Decodes a block of single characters; false, with nothing written, when it is none.
template <typename Order>
bool decodeSingles(const Order& order, const std::uint8_t* from, char16_t* to) {
    std::uint32_t values[kBlock];
    std::memcpy(values, from, sizeof values);
    order.orderBlock(values);
    std::uint32_t marks = 0;
    for (const std::uint32_t value : values)
        marks |= value >> 16 | (((value ^ 0xD800) >> 11) - 1) >> 31;
    if (marks != 0)
        return false;
    std::uint16_t characters[kBlock];
    for (std::int32_t i = 0; i < kBlock; ++i)
        characters[i] = static_cast<std::uint16_t>(values[i]);
    std::memcpy(to, characters, sizeof characters);
    return true;
}

// Decodes a block with values beyond U+FFFF, without a branch that depends on where they are: every
// value is written as a pair, and the second half of what is none is written over. `out` is moved
// on. False, with nothing written, when a value is no character.
template <typename Order>
bool decodePairs(const Order& order, const std::uint8_t* from, char16_t*& out) {
    std::uint32_t values[kBlock], pairs[kBlock], steps[kBlock];
    std::memcpy(values, from, sizeof values);
    order.orderBlock(values);
    std::uint32_t marks = 0;
    for (std::int32_t i = 0; i < kBlock; ++i) {
        const std::uint32_t value = values[i];
        const std::uint32_t isPair = (value >> 16) != 0 ? 0xFFFFFFFF : 0;
        marks |=
            (kLastCodePoint - value) >> 31 | value >> 31 | (((value ^ 0xD800) >> 11) - 1) >> 31;
        const std::uint32_t lead = 0xD800 + ((value - 0x10000) >> 10 & 0x3FF);
        const std::uint32_t trail = 0xDC00 | (value & 0x3FF);
        pairs[i] = (value & ~isPair) | ((lead | trail << 16) & isPair);
        steps[i] = 1 - isPair;
    }
    if (marks != 0)
        return false;
    for (std::int32_t i = 0; i < kBlock; ++i) {
        std::memcpy(out, &pairs[i], sizeof pairs[i]);
        out += steps[i];
    }
    return true;
}

// The places that a conversion has reached. They are the caller's when it ends, however it ends.
class Progress {
public:
    Progress(std::int32_t& inputPosition, std::int32_t& outputPosition)
        : in(inputPosition),
          out(outputPosition),
          callerIn(inputPosition),
          callerOut(outputPosition) {}
    ~Progress() {
        callerIn = in;
        callerOut = out;
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    std::int32_t in;
    std::int32_t out;

private:
    std::int32_t& callerIn;
    std::int32_t& callerOut;
};

} // namespace

template <typename Order>
std::int32_t CZvCTBUTF32::convertWith(const Order& order, const char16_t* input,
                                      std::int32_t& inputPosition, std::int32_t inputEnd,
                                      std::uint8_t* output, std::int32_t& outputPosition,
                                      std::int32_t outputEnd) {
    const std::int32_t begin = outputPosition;
    Progress at(inputPosition, outputPosition);
    for (bool goesOn = true; goesOn && at.in < inputEnd;) {
        if constexpr (Order::kTakesBlocks) {
            if (pendingLead == 0) {
                const char16_t* in = input + at.in;
                std::uint8_t* out = output + at.out;
                while (input + inputEnd - in >= kBlock &&
                       output + outputEnd - out >= kBlock * kUnitSize) {
                    if (encodeSingles(order, in, out)) {
                        in += kBlock;
                        out += kBlock * kUnitSize;
                    } else if (input + inputEnd - in == kBlock || !encodePairs(order, in, out)) {
                        break;
                    }
                }
                at.in = static_cast<std::int32_t>(in - input);
                at.out = static_cast<std::int32_t>(out - output);
            }
        }
        // A block's worth unit by unit before blocks are tried again.
        const std::int32_t stop = inputEnd - at.in > kBlock ? at.in + kBlock : inputEnd;
        while (at.in < stop) {
            if (outputEnd - at.out < kUnitSize) {
                goesOn = false;
                break;
            }
            std::uint32_t codePoint = input[at.in];
            if (pendingLead != 0) {
                if (!isTrailSurrogate(codePoint))
                    throwLeadWithoutTrail();
                codePoint = codePointOfPair(pendingLead, input[at.in]);
            } else if (isLeadSurrogate(codePoint)) {
                pendingLead = input[at.in++];
                continue;
            }
            const std::uint32_t unit = order(codePoint);
            std::memcpy(output + at.out, &unit, sizeof unit);
            at.out += kUnitSize;
            ++at.in;
            pendingLead = 0;
        }
    }
    return at.out - begin;
}

template <typename Order>
std::int32_t CZvBTCUTF32::convertWith(const Order& order, const std::uint8_t* input,
                                      std::int32_t& inputPosition, std::int32_t inputEnd,
                                      char16_t* output, std::int32_t& outputPosition,
                                      std::int32_t outputEnd) {
    const std::int32_t begin = outputPosition;
    Progress at(inputPosition, outputPosition);
    for (bool goesOn = true; goesOn && inputEnd - at.in >= kUnitSize;) {
        if constexpr (Order::kTakesBlocks) {
            char16_t* out = output + at.out;
            while (inputEnd - at.in >= kBlock * kUnitSize && output + outputEnd - out >= kBlock) {
                if (decodeSingles(order, input + at.in, out))
                    out += kBlock;
                else if (output + outputEnd - out < 2 * kBlock ||
                         !decodePairs(order, input + at.in, out))
                    break;
                at.in += kBlock * kUnitSize;
            }
            at.out = static_cast<std::int32_t>(out - output);
        }
        for (std::int32_t i = 0; i < kBlock && inputEnd - at.in >= kUnitSize; ++i) {
            std::uint32_t value;
            std::memcpy(&value, input + at.in, sizeof value);
            value = order(value);
            if (at.out >= outputEnd) {
                goesOn = false;
                break;
            }
            char16_t decoded[2] = {static_cast<char16_t>(value)};
            const char16_t* characters = decoded;
            std::int32_t count = 1;
            if (value > kLastCodePoint) {
                if (!substitutionMode)
                    throw EZvUnmappableCharacter();
                characters = substitution;
                count = substitutionLength;
            } else if (value > 0xFFFF) {
                decoded[0] = leadOf(value);
                decoded[1] = trailOf(value);
                count = 2;
            } else if (isSurrogate(value)) {
                throw EZvInvalidCharacter(
                    CZvString::literal(u"Illegal UTF-32 char in surrogate range"));
            }
            if (outputEnd - at.out < count) {
                goesOn = false;
                break;
            }
            for (std::int32_t unit = 0; unit < count; ++unit)
                output[at.out + unit] = characters[unit];
            at.out += count;
            at.in += kUnitSize;
        }
    }
    return at.out - begin;
}

std::int32_t CZvCTBUTF32::convert(const char16_t* input, std::int32_t& inputPosition,
                                  std::int32_t inputEnd, std::uint8_t* output,
                                  std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(HookOrder<CZvCTBUTF32>{*this}, input, inputPosition, inputEnd, output,
                       outputPosition, outputEnd);
}

std::int32_t CZvCTBUTF32::flush(std::uint8_t*, std::int32_t&, std::int32_t) {
    if (pendingLead != 0)
        throwLeadWithoutTrail();
    return 0;
}

std::int32_t CZvBTCUTF32::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                  std::int32_t inputEnd, char16_t* output,
                                  std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(HookOrder<CZvBTCUTF32>{*this}, input, inputPosition, inputEnd, output,
                       outputPosition, outputEnd);
}

CZvCTBUTF32LE::CZvCTBUTF32LE() {
    constexpr std::uint8_t replacement[] = {0xFD, 0xFF, 0x00, 0x00};
    CZvCTBUTF32::setSubstitution(replacement, 4);
}

std::int32_t CZvCTBUTF32LE::convert(const char16_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, std::uint8_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(LittleEndian(), input, inputPosition, inputEnd, output, outputPosition,
                       outputEnd);
}

CZvCTBUTF32BE::CZvCTBUTF32BE() {
    constexpr std::uint8_t replacement[] = {0x00, 0x00, 0xFF, 0xFD};
    CZvCTBUTF32::setSubstitution(replacement, 4);
}

std::int32_t CZvCTBUTF32BE::convert(const char16_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, std::uint8_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(BigEndian(), input, inputPosition, inputEnd, output, outputPosition,
                       outputEnd);
}

std::int32_t CZvBTCUTF32LE::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, char16_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(LittleEndian(), input, inputPosition, inputEnd, output, outputPosition,
                       outputEnd);
}

std::int32_t CZvBTCUTF32BE::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, char16_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return convertWith(BigEndian(), input, inputPosition, inputEnd, output, outputPosition,
                       outputEnd);
}

} // namespace ZVCL
