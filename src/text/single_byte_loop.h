// The conversion loops of the single-byte families, over a mapping known at compile time. Included
// by the sources of the converters alone.
//
// A mapping answers for one unit, operator()(unit), in the terms of the family's hook. One that
// also has convertBlock<size>(from, to) converts `size` units at once: true when all of them are
// mappable, else false with nothing meant by what stands at `to`. Blocks are worked on in local
// arrays of fixed size, which is what lets a compiler keep them in vector registers.
#ifndef ZVSUPPORT_TEXT_SINGLE_BYTE_LOOP_H
#define ZVSUPPORT_TEXT_SINGLE_BYTE_LOOP_H

#include "lang/exception.h"
#include "text/single_byte_converters.h"
#include "text/surrogates.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ZVCL {

inline constexpr std::int32_t kLongBlock = 16;
inline constexpr std::int32_t kShortBlock = 8;

// True when every unit has only bits of `allowed`, which is the same pattern in each unit of the
// word.
template <std::int32_t size, typename Unit>
bool hasOnlyBits(const Unit* units, std::uint64_t allowed) {
    constexpr std::size_t bytes = size * sizeof(Unit);
    static_assert(bytes % sizeof(std::uint64_t) == 0);
    std::uint64_t words[bytes / sizeof(std::uint64_t)];
    std::memcpy(words, units, bytes);
    std::uint64_t all = 0;
    for (const std::uint64_t word : words)
        all |= word;
    return (all & ~allowed) == 0;
}

template <std::int32_t size>
void narrowBlock(const char16_t* from, std::uint8_t* to) {
    char16_t units[size];
    std::uint8_t bytes[size];
    std::memcpy(units, from, sizeof units);
    for (std::int32_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(units[i]);
    std::memcpy(to, bytes, sizeof bytes);
}

template <std::int32_t size>
void widenBlock(const std::uint8_t* from, char16_t* to) {
    std::uint8_t bytes[size];
    char16_t units[size];
    std::memcpy(bytes, from, sizeof bytes);
    for (std::int32_t i = 0; i < size; ++i)
        units[i] = bytes[i];
    std::memcpy(to, units, sizeof units);
}

template <typename Mapping, typename From, typename To>
concept BlockMapping = requires(const Mapping& mapping, const From* from, To* to) {
    { mapping.template convertBlock<kLongBlock>(from, to) } -> std::same_as<bool>;
};

// Converts as many whole blocks as there are, up to the first that holds an unmappable unit.
template <std::int32_t size, typename Mapping, typename From, typename To>
void convertBlocks(const Mapping& mapping, const From* input, std::int32_t& in,
                   std::int32_t inputEnd, To* output, std::int32_t& out, std::int32_t outputEnd) {
    std::int32_t blocks = std::min(inputEnd - in, outputEnd - out) / size;
    for (; blocks > 0; --blocks) {
        if (!mapping.template convertBlock<size>(input + in, output + out))
            return;
        in += size;
        out += size;
    }
}

template <typename Mapping>
std::int32_t CZvCTBSingleByte::convertWith(const Mapping& mapping, const char16_t* input,
                                           std::int32_t& inputPosition, std::int32_t inputEnd,
                                           std::uint8_t* output, std::int32_t& outputPosition,
                                           std::int32_t outputEnd) {
    std::int32_t in = inputPosition;
    std::int32_t out = outputPosition;
    char16_t lead = pendingLead;
    bool full = false;
    while (in < inputEnd && !full) {
        if constexpr (BlockMapping<Mapping, char16_t, std::uint8_t>) {
            if (lead == 0) {
                convertBlocks<kLongBlock>(mapping, input, in, inputEnd, output, out, outputEnd);
                convertBlocks<kShortBlock>(mapping, input, in, inputEnd, output, out, outputEnd);
            }
        }
        // A block's worth unit by unit before blocks are tried again: a text full of unmappable
        // characters then pays for a failed block once in that many units.
        const std::int32_t stop = inputEnd - in > kLongBlock ? in + kLongBlock : inputEnd;
        for (; in < stop; ++in) {
            const char16_t character = input[in];
            std::uint8_t byte = 0;
            if (lead == 0) {
                byte = mapping(character);
                if (byte == 0 && isLeadSurrogate(character)) {
                    lead = character;
                    continue;
                }
                if (byte == 0 && isTrailSurrogate(character))
                    throwTrailWithoutLead();
            } else if (!isTrailSurrogate(character)) {
                throwLeadWithoutTrail();
            }
            if (byte == 0 && (character != 0 || lead != 0)) {
                if (!substitutionMode)
                    throw EZvUnmappableCharacter();
                if (substitutionLength != 1) {
                    lead = 0;
                    continue;
                }
                byte = substitution[0];
            }
            if (out >= outputEnd) {
                full = true;
                break;
            }
            output[out++] = byte;
            lead = 0;
        }
    }
    const std::int32_t written = out - outputPosition;
    pendingLead = lead;
    inputPosition = in;
    outputPosition = out;
    return written;
}

template <typename Mapping>
std::int32_t CZvBTCSingleByte::convertWith(const Mapping& mapping, const std::uint8_t* input,
                                           std::int32_t& inputPosition, std::int32_t inputEnd,
                                           char16_t* output, std::int32_t& outputPosition,
                                           std::int32_t outputEnd) {
    std::int32_t in = inputPosition;
    std::int32_t out = outputPosition;
    while (in < inputEnd && out < outputEnd) {
        if constexpr (BlockMapping<Mapping, std::uint8_t, char16_t>) {
            convertBlocks<kLongBlock>(mapping, input, in, inputEnd, output, out, outputEnd);
            convertBlocks<kShortBlock>(mapping, input, in, inputEnd, output, out, outputEnd);
        }
        const std::int32_t stop = inputEnd - in > kLongBlock ? in + kLongBlock : inputEnd;
        for (; in < stop && out < outputEnd; ++in) {
            char16_t character = mapping(input[in]);
            if (character == kReplacementCharacter) {
                if (!substitutionMode)
                    throw EZvUnmappableCharacter();
                if (substitutionLength != 1)
                    continue;
                character = substitution[0];
            }
            output[out++] = character;
        }
    }
    const std::int32_t written = out - outputPosition;
    inputPosition = in;
    outputPosition = out;
    return written;
}

} // namespace ZVCL

#endif
