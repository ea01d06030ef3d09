#include "text/utf8_converters.h"

#include "lang/exception.h"
#include "lang/string.h"
#include "text/single_byte_loop.h"
#include "text/surrogates.h"

#include <algorithm>
#include <bit>
#include <cstring>

// Each direction has two roads. The slow one takes one code point at a time and is the only place
// that knows about held leads, torn sequences, errors, the substitution and the last unit of room.
// The fast one takes well-formed text in batches, each behind one check that input and room suffice
// for whatever the batch may hold, and stops in front of everything else.
namespace ZVCL {

namespace {

// Words are read with the first unit in the lowest bits.
static_assert(std::endian::native == std::endian::little);

constexpr std::uint64_t kEachUnit = 0x0001000100010001u; // times a 16-bit pattern
constexpr std::uint64_t kEachByte = 0x0101010101010101u; // times an 8-bit pattern

template <typename Word, typename Unit>
Word load(const Unit* from) {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

template <typename Word, typename Unit>
void store(Unit* to, Word word) {
    std::memcpy(to, &word, sizeof word);
}

// ----- encoding

// The bytes of a code point, the first in the lowest bits.
constexpr std::uint32_t twoBytes(std::uint32_t codePoint) {
    return 0x80C0u | codePoint >> 6 | (codePoint & 0x3F) << 8;
}
constexpr std::uint32_t threeBytes(std::uint32_t codePoint) {
    return 0x8080E0u | codePoint >> 12 | (codePoint >> 6 & 0x3F) << 8 | (codePoint & 0x3F) << 16;
}
constexpr std::uint32_t fourBytes(std::uint32_t codePoint) {
    return 0x808080F0u | codePoint >> 18 | (codePoint >> 12 & 0x3F) << 8 |
           (codePoint >> 6 & 0x3F) << 16 | (codePoint & 0x3F) << 24;
}

// How far a conversion has come.
struct Encoded {
    const char16_t* in;
    std::uint8_t* out;
};

// Takes the ASCII in front, in whole blocks.
inline Encoded encodeAscii(const char16_t* in, const char16_t* inEnd, std::uint8_t* out,
                           const std::uint8_t* outEnd) {
    constexpr std::uint64_t kBeyond = 0xFF80 * kEachUnit;
    while (inEnd - in >= 16 && outEnd - out >= 16 &&
           ((load<std::uint64_t>(in) | load<std::uint64_t>(in + 4) | load<std::uint64_t>(in + 8) |
             load<std::uint64_t>(in + 12)) &
            kBeyond) == 0) {
        narrowBlock<16>(in, out);
        in += 16;
        out += 16;
    }
    if (inEnd - in >= 8 && outEnd - out >= 8 &&
        ((load<std::uint64_t>(in) | load<std::uint64_t>(in + 4)) & kBeyond) == 0) {
        narrowBlock<8>(in, out);
        in += 8;
        out += 8;
    }
    return {in, out};
}

// The blocks below encode eight units without a branch that depends on them: the bytes of all are
// worked out at once, and then laid one behind the other, each word over what the one before wrote
// too much.

// How many of the units of two words, all below 0x800, take two bytes.
constexpr std::ptrdiff_t countOfTwos(const std::uint64_t (&units)[2]) {
    const auto marks = [](std::uint64_t word) {
        return (word + 0x7F80 * kEachUnit) >> 15 & kEachUnit;
    };
    return static_cast<std::ptrdiff_t>((marks(units[0]) + marks(units[1])) * kEachUnit >> 48);
}

// Encodes eight units below 0x800 and answers where the bytes end; writes nothing behind them.
inline std::uint8_t* encodeTwos(const char16_t* in, std::uint8_t* out) {
    std::uint16_t units[8], codes[8], sizes[8];
    std::memcpy(units, in, sizeof units);
    for (std::int32_t i = 0; i < 8; ++i) {
        const std::uint16_t unit = units[i];
        const std::uint16_t beyondOne = (unit >> 7) != 0 ? 0xFFFF : 0;
        const std::uint16_t two =
            static_cast<std::uint16_t>((unit << 8 & 0x3F00) | unit >> 6 | 0x80C0);
        codes[i] = static_cast<std::uint16_t>((unit & ~beyondOne) | (two & beyondOne));
        sizes[i] = static_cast<std::uint16_t>(1 - beyondOne);
    }
    const auto lay = [&](std::int32_t i) {
        store(out, codes[i]);
        out += sizes[i];
    };
    lay(0), lay(1), lay(2), lay(3), lay(4), lay(5), lay(6);
    out[sizes[7] - 1] = static_cast<std::uint8_t>(codes[7] >> 8 * (sizes[7] - 1));
    out[0] = static_cast<std::uint8_t>(codes[7]);
    return out + sizes[7];
}

// What encodeEight may write.
constexpr std::ptrdiff_t kRoomForThrees = 8 * 3;

// Encodes eight units, one to three bytes each; with surrogates it reads the ninth too. A lead
// gives the first three of its pair's four bytes, with bits of the unit that follows it, and a
// trail the last. Answers where the bytes end; null when there is a lead or a trail without the
// other. A lead in the last place is left out: seven units are taken then.
template <bool withSurrogates>
inline std::uint8_t* encodeEight(const char16_t* in, std::uint8_t* out) {
    std::uint16_t units[8], nexts[8], sizes[8];
    std::uint32_t codes[8];
    std::memcpy(units, in, sizeof units);
    if constexpr (withSurrogates)
        std::memcpy(nexts, in + 1, sizeof nexts);
    std::uint16_t torn = 0;
    for (std::int32_t i = 0; i < 8; ++i) {
        const std::uint32_t unit = units[i];
        const std::uint16_t beyondOne = (units[i] >> 7) != 0 ? 0xFFFF : 0;
        const std::uint16_t beyondTwo = (units[i] >> 11) != 0 ? 0xFFFF : 0;
        std::uint16_t last = static_cast<std::uint16_t>((unit & 0x3F) | 0x80);
        const std::uint16_t two = static_cast<std::uint16_t>(last << 8 | unit >> 6 | 0xC0);
        const std::uint16_t three =
            static_cast<std::uint16_t>((unit << 2 & 0x3F00) | unit >> 12 | 0x80E0);
        std::uint16_t first = static_cast<std::uint16_t>(
            (unit & ~beyondOne) | (two & beyondOne & ~beyondTwo) | (three & beyondTwo));
        std::uint16_t size = static_cast<std::uint16_t>(1 - beyondOne - beyondTwo);
        if constexpr (withSurrogates) {
            const std::uint32_t next = nexts[i];
            const std::uint16_t isLead = (unit & 0xFC00) == 0xD800 ? 0xFFFF : 0;
            const std::uint16_t isTrail = (unit & 0xFC00) == 0xDC00 ? 0xFFFF : 0;
            const std::uint16_t beforeTrail = (next & 0xFC00) == 0xDC00 ? 0xFFFF : 0;
            torn |= static_cast<std::uint16_t>(isLead ^ beforeTrail);
            const std::uint16_t upper = static_cast<std::uint16_t>((unit & 0x3FF) + 0x40);
            const std::uint16_t ofLead =
                static_cast<std::uint16_t>((upper << 6 & 0x3F00) | upper >> 8 | 0x80F0);
            const std::uint16_t thirdOfLead =
                static_cast<std::uint16_t>((unit << 4 & 0x30) | (next >> 6 & 0xF) | 0x80);
            first = static_cast<std::uint16_t>((first & ~(isLead | isTrail)) | (ofLead & isLead) |
                                               (last & isTrail));
            last = static_cast<std::uint16_t>((last & ~isLead) | (thirdOfLead & isLead));
            size = static_cast<std::uint16_t>(size + isTrail + isTrail);
        }
        codes[i] = static_cast<std::uint32_t>(last) << 16 | first;
        sizes[i] = size;
    }
    if constexpr (withSurrogates) {
        if (torn != 0 || isTrailSurrogate(in[0]))
            return nullptr;
    }
    const auto lay = [&](std::int32_t i) {
        store(out, codes[i]);
        out += sizes[i];
    };
    lay(0), lay(1), lay(2), lay(3), lay(4), lay(5), lay(6);
    store(out, static_cast<std::uint16_t>(codes[7])); // what follows its three bytes is not ours
    out[2] = static_cast<std::uint8_t>(codes[7] >> 16);
    out += sizes[7];
    return withSurrogates && isLeadSurrogate(in[7]) ? out - 3 : out;
}

// For the units of a word: bit 5 of each that is a surrogate. The upper five bits of no other unit
// are those of a surrogate.
constexpr std::uint64_t marksOfSurrogates(std::uint64_t units) {
    const std::uint64_t upper = units >> 11 & 0x1F * kEachUnit;
    return (0x20 * kEachUnit - (upper ^ 0x1B * kEachUnit)) & 0x20 * kEachUnit;
}

// Takes whole blocks up to one with a lone surrogate, or to where units or room get short.
inline Encoded encodeAhead(const char16_t* in, const char16_t* inEnd, std::uint8_t* out,
                           const std::uint8_t* outEnd) {
    while (inEnd - in >= 8 && outEnd - out >= 8) {
        const std::ptrdiff_t room = outEnd - out;
        const std::uint64_t words[] = {load<std::uint64_t>(in), load<std::uint64_t>(in + 4)};
        const std::uint64_t bits = words[0] | words[1];
        if ((bits & 0xFF80 * kEachUnit) == 0) {
            const Encoded ascii = encodeAscii(in, inEnd, out, outEnd);
            in = ascii.in;
            out = ascii.out;
        } else if ((bits & 0xF800 * kEachUnit) == 0) {
            if (room < 16 && room < 8 + countOfTwos(words))
                break;
            out = encodeTwos(in, out);
            in += 8;
        } else if (isLeadSurrogate(in[0]) && isTrailSurrogate(in[1])) {
            do {
                store(out, fourBytes(codePointOfPair(in[0], in[1])));
                in += 2;
                out += 4;
            } while (inEnd - in >= 2 && outEnd - out >= 4 && isLeadSurrogate(in[0]) &&
                     isTrailSurrogate(in[1]));
        } else if (room < kRoomForThrees) {
            break;
        } else if ((marksOfSurrogates(words[0]) | marksOfSurrogates(words[1])) == 0) {
            out = encodeEight<false>(in, out);
            in += 8;
        } else if (inEnd - in < 9) {
            break;
        } else {
            std::uint8_t* const end = encodeEight<true>(in, out);
            if (end == nullptr)
                break;
            out = end;
            in += 8 - isLeadSurrogate(in[7]);
        }
    }
    return {in, out};
}

// How many code points the slow road takes before the fast one is tried again.
constexpr std::int32_t kSlowSteps = 8;

// All that encodeAscii leaves. `held` is the held surrogate or 0, before and after.
[[gnu::noinline]] Encoded encodeRest(const char16_t* in, const char16_t* inEnd, std::uint8_t* out,
                                     const std::uint8_t* outEnd, char16_t& held) {
    char16_t lead = held;
    for (bool goesOn = true; goesOn;) {
        if (lead == 0) {
            const Encoded ahead = encodeAhead(in, inEnd, out, outEnd);
            in = ahead.in;
            out = ahead.out;
        }
        const char16_t* const stop = inEnd - in > kSlowSteps ? in + kSlowSteps : inEnd;
        goesOn = stop < inEnd;
        for (; in < stop; ++in) {
            std::uint32_t codePoint = *in;
            if (lead != 0) {
                if (!isTrailSurrogate(codePoint))
                    throwLeadWithoutTrail();
                codePoint = codePointOfPair(lead, *in);
            } else if (isLeadSurrogate(codePoint)) {
                lead = *in;
                continue;
            }
            const std::ptrdiff_t size =
                1 + (codePoint >= 0x80) + (codePoint >= 0x800) + (codePoint >= 0x10000);
            if (outEnd - out < size) {
                goesOn = false;
                break;
            }
            if (codePoint < 0x80) {
                *out = static_cast<std::uint8_t>(codePoint);
            } else if (codePoint < 0x800) {
                store(out, static_cast<std::uint16_t>(twoBytes(codePoint)));
            } else if (codePoint < 0x10000) {
                store(out, static_cast<std::uint16_t>(threeBytes(codePoint)));
                out[2] = static_cast<std::uint8_t>(threeBytes(codePoint) >> 16);
            } else {
                store(out, fourBytes(codePoint));
            }
            out += size;
            lead = 0;
        }
    }
    held = lead;
    return {in, out};
}

// ----- decoding

// What the sum over a sequence's bytes, each shifted to its place, holds beyond the value, by the
// number of bytes that follow the first.
constexpr std::uint32_t kOffsets[] = {0x00000000, 0x00003080, 0x000E2080,
                                      0x03C82080, 0xFA082080, 0x82082080};

constexpr std::int32_t followingBytes(std::uint8_t first) {
    return std::clamp(std::countl_one(first) - 1, 0, 5);
}

constexpr std::uint32_t valueOfTwo(const std::uint8_t* bytes) {
    return (std::uint32_t{bytes[0]} << 6) + bytes[1] - kOffsets[1];
}
constexpr std::uint32_t valueOfThree(const std::uint8_t* bytes) {
    return (std::uint32_t{bytes[0]} << 12) + (std::uint32_t{bytes[1]} << 6) + bytes[2] -
           kOffsets[2];
}
constexpr std::uint32_t valueOfFour(const std::uint8_t* bytes) {
    return (std::uint32_t{bytes[0]} << 18) + (std::uint32_t{bytes[1]} << 12) +
           (std::uint32_t{bytes[2]} << 6) + bytes[3] - kOffsets[3];
}

constexpr bool isOneUnit(std::uint32_t value) {
    return value <= 0xFFFF && !isSurrogate(value);
}
// Bits that are all 0 for a value that is one unit.
constexpr std::uint32_t marksOfNotOneUnit(std::uint32_t value) {
    return value >> 16 | (((value ^ 0xD800) >> 11) - 1) >> 31;
}

// How far a conversion has come.
struct Decoded {
    const std::uint8_t* in;
    char16_t* out;
};

// Takes the ASCII in front, in whole blocks.
inline Decoded decodeAscii(const std::uint8_t* in, const std::uint8_t* inEnd, char16_t* out,
                           const char16_t* outEnd) {
    constexpr std::uint64_t kBeyond = 0x80 * kEachByte;
    while (inEnd - in >= 16 && outEnd - out >= 16 &&
           ((load<std::uint64_t>(in) | load<std::uint64_t>(in + 8)) & kBeyond) == 0) {
        widenBlock<16>(in, out);
        in += 16;
        out += 16;
    }
    if (inEnd - in >= 8 && outEnd - out >= 8 && (load<std::uint64_t>(in) & kBeyond) == 0) {
        widenBlock<8>(in, out);
        in += 8;
        out += 8;
    }
    return {in, out};
}

// Takes text up to a sequence that yields neither a character nor a pair, or to where bytes or room
// get short.
inline Decoded decodeAhead(const std::uint8_t* in, const std::uint8_t* inEnd, char16_t* out,
                           const char16_t* outEnd) {
    const auto fits = [&](std::ptrdiff_t bytes, std::ptrdiff_t room) {
        return inEnd - in >= bytes && outEnd - out >= room;
    };
    while (fits(4, 2)) {
        const std::uint32_t first = *in;
        if (first < 0x80) {
            if (!fits(8, 8)) {
                *out++ = *in++;
                continue;
            }
            const std::uint64_t beyond = load<std::uint64_t>(in) & 0x80 * kEachByte;
            if (beyond == 0) {
                const Decoded ascii = decodeAscii(in, inEnd, out, outEnd);
                in = ascii.in;
                out = ascii.out;
                continue;
            }
            // The ASCII bytes in front of the first other; what is written behind them will be
            // written over.
            const std::int32_t ascii = std::countr_zero(beyond) / 8;
            widenBlock<8>(in, out);
            in += ascii;
            out += ascii;
        } else if (first < 0xC0) {
            *out++ = *in++;
        } else if (first < 0xE0) {
            constexpr std::uint64_t kForm = 0xC0E0C0E0C0E0C0E0u, kTwos = 0x80C080C080C080C0u;
            for (; fits(8, 4); in += 8, out += 4) {
                const std::uint64_t four = load<std::uint64_t>(in);
                if ((four & kForm) != kTwos)
                    break;
                store(out, (four & 0x1F * kEachUnit) << 6 | (four >> 8 & 0x3F * kEachUnit));
            }
            while (fits(2, 1) && (*in & 0xE0) == 0xC0) {
                const std::uint32_t value = valueOfTwo(in);
                if (!isOneUnit(value))
                    return {in, out};
                *out++ = static_cast<char16_t>(value);
                in += 2;
            }
        } else if (first < 0xF0) {
            for (; fits(12, 4); in += 12, out += 4) {
                if ((((in[0] ^ 0xE0) | (in[3] ^ 0xE0) | (in[6] ^ 0xE0) | (in[9] ^ 0xE0)) & 0xF0) !=
                    0)
                    break;
                std::uint32_t marks = 0;
                const auto take = [&](std::int32_t i) {
                    const std::uint32_t value = valueOfThree(in + 3 * i);
                    marks |= marksOfNotOneUnit(value);
                    out[i] = static_cast<char16_t>(value);
                };
                take(0), take(1), take(2), take(3);
                if (marks != 0)
                    break;
            }
            while (fits(3, 1) && (*in & 0xF0) == 0xE0) {
                const std::uint32_t value = valueOfThree(in);
                if (!isOneUnit(value))
                    return {in, out};
                *out++ = static_cast<char16_t>(value);
                in += 3;
            }
        } else {
            if (first >= 0xF8)
                break;
            const std::uint32_t value = valueOfFour(in);
            if (value < 0x10000 || value > kLastCodePoint)
                break;
            store(out, static_cast<std::uint32_t>(leadOf(value)) |
                           static_cast<std::uint32_t>(trailOf(value)) << 16);
            in += 4;
            out += 2;
        }
    }
    return {in, out};
}

} // namespace

std::int32_t CZvCTBUTF8::convert(const char16_t* input, std::int32_t& inputPosition,
                                 std::int32_t inputEnd, std::uint8_t* output,
                                 std::int32_t& outputPosition, std::int32_t outputEnd) {
    const char16_t* const inEnd = input + inputEnd;
    const std::uint8_t* const outEnd = output + outputEnd;
    Encoded at = {input + inputPosition, output + outputPosition};
    if (pendingLead == 0)
        at = encodeAscii(at.in, inEnd, at.out, outEnd);
    if (at.in < inEnd) {
        char16_t lead = pendingLead;
        at = encodeRest(at.in, inEnd, at.out, outEnd, lead);
        pendingLead = lead;
    }
    const std::int32_t begin = outputPosition;
    inputPosition = static_cast<std::int32_t>(at.in - input);
    outputPosition = static_cast<std::int32_t>(at.out - output);
    return outputPosition - begin;
}

std::int32_t CZvCTBUTF8::flush(std::uint8_t*, std::int32_t&, std::int32_t) {
    if (pendingLead != 0)
        throwLeadWithoutTrail();
    return 0;
}

std::int32_t CZvBTCUTF8::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                 std::int32_t inputEnd, char16_t* output,
                                 std::int32_t& outputPosition, std::int32_t outputEnd) {
    const std::uint8_t* in = input + inputPosition;
    const std::uint8_t* const inEnd = input + inputEnd;
    char16_t* out = output + outputPosition;
    const char16_t* const outEnd = output + outputEnd;
    for (;;) {
        Decoded ahead = decodeAscii(in, inEnd, out, outEnd);
        if (ahead.in < inEnd)
            ahead = decodeAhead(ahead.in, inEnd, ahead.out, outEnd);
        in = ahead.in;
        out = ahead.out;
        if (in >= inEnd)
            break;
        const std::int32_t following = followingBytes(*in);
        if (inEnd - in <= following)
            break;
        std::uint32_t value = *in;
        for (std::int32_t i = 1; i <= following; ++i)
            value = (value << 6) + in[i];
        value -= kOffsets[following];

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
            throw EZvException(
                CZvString::literal(u"Invalid UTF-8 sequence (decoded chars in surrogate range)"));
        }
        if (outEnd - out < count)
            break;
        for (std::int32_t i = 0; i < count; ++i)
            out[i] = characters[i];
        out += count;
        in += 1 + following;
    }
    const std::int32_t begin = outputPosition;
    inputPosition = static_cast<std::int32_t>(in - input);
    outputPosition = static_cast<std::int32_t>(out - output);
    return outputPosition - begin;
}

} // namespace ZVCL
