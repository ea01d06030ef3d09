#include "text/utf16_converters.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace ZVCL {

namespace {

// Each copies `count` units of two bytes; neither side need be aligned.
struct CopyAsIs {
    void operator()(const void* from, void* to, std::size_t count) const {
        std::memcpy(to, from, count * 2);
    }
};

template <typename Order>
struct CopyOrdered {
    void operator()(const void* from, void* to, std::size_t count) const {
        // Blocks of fixed size in local arrays are what a compiler keeps in vector registers.
        const char* source = static_cast<const char*>(from);
        char* target = static_cast<char*>(to);
        const auto copyBlocks = [&]<std::size_t size>() {
            for (; count >= size; count -= size, source += 2 * size, target += 2 * size)
                copyBlock<size>(source, target);
        };
        copyBlocks.template operator()<16>();
        copyBlocks.template operator()<8>();
        copyBlocks.template operator()<1>();
    }

    template <std::size_t size>
    void copyBlock(const char* from, char* to) const {
        std::uint16_t units[size];
        std::memcpy(units, from, sizeof units);
        for (std::uint16_t& unit : units)
            unit = order(unit);
        std::memcpy(to, units, sizeof units);
    }

    Order order;
};
template <typename Order>
CopyOrdered(Order) -> CopyOrdered<Order>;

struct Swap {
    std::uint16_t operator()(std::uint16_t unit) const { return swapBytes16(unit); }
};
using CopySwapped = CopyOrdered<Swap>;

template <typename Copy>
std::int32_t encodeWith(const Copy& copy, const char16_t* input, std::int32_t& inputPosition,
                        std::int32_t inputEnd, std::uint8_t* output, std::int32_t& outputPosition,
                        std::int32_t outputEnd) {
    const std::int32_t count = std::min(inputEnd - inputPosition, (outputEnd - outputPosition) / 2);
    if (count <= 0)
        return 0;
    copy(input + inputPosition, output + outputPosition, static_cast<std::size_t>(count));
    inputPosition += count;
    outputPosition += 2 * count;
    return 2 * count;
}

template <typename Copy>
std::int32_t decodeWith(const Copy& copy, const std::uint8_t* input, std::int32_t& inputPosition,
                        std::int32_t inputEnd, char16_t* output, std::int32_t& outputPosition,
                        std::int32_t outputEnd) {
    const std::int32_t count = std::min((inputEnd - inputPosition) / 2, outputEnd - outputPosition);
    if (count <= 0)
        return 0;
    copy(input + inputPosition, output + outputPosition, static_cast<std::size_t>(count));
    inputPosition += 2 * count;
    outputPosition += count;
    return count;
}

} // namespace

std::int32_t CZvCTBUTF16::convert(const char16_t* input, std::int32_t& inputPosition,
                                  std::int32_t inputEnd, std::uint8_t* output,
                                  std::int32_t& outputPosition, std::int32_t outputEnd) {
    const CopyOrdered copy{[this](std::uint16_t unit) { return orderUnit16(unit); }};
    return encodeWith(copy, input, inputPosition, inputEnd, output, outputPosition, outputEnd);
}

std::int32_t CZvBTCUTF16::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                  std::int32_t inputEnd, char16_t* output,
                                  std::int32_t& outputPosition, std::int32_t outputEnd) {
    const CopyOrdered copy{[this](std::uint16_t unit) { return orderUnit16(unit); }};
    return decodeWith(copy, input, inputPosition, inputEnd, output, outputPosition, outputEnd);
}

CZvCTBUTF16LE::CZvCTBUTF16LE() {
    constexpr std::uint8_t replacement[] = {0xFD, 0xFF};
    CZvCTBUTF16::setSubstitution(replacement, 2);
}

std::int32_t CZvCTBUTF16LE::convert(const char16_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, std::uint8_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return encodeWith(CopyAsIs(), input, inputPosition, inputEnd, output, outputPosition,
                      outputEnd);
}

CZvCTBUTF16BE::CZvCTBUTF16BE() {
    constexpr std::uint8_t replacement[] = {0xFF, 0xFD};
    CZvCTBUTF16::setSubstitution(replacement, 2);
}

std::int32_t CZvCTBUTF16BE::convert(const char16_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, std::uint8_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return encodeWith(CopySwapped(), input, inputPosition, inputEnd, output, outputPosition,
                      outputEnd);
}

std::int32_t CZvBTCUTF16LE::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, char16_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return decodeWith(CopyAsIs(), input, inputPosition, inputEnd, output, outputPosition,
                      outputEnd);
}

std::int32_t CZvBTCUTF16BE::convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                    std::int32_t inputEnd, char16_t* output,
                                    std::int32_t& outputPosition, std::int32_t outputEnd) {
    return decodeWith(CopySwapped(), input, inputPosition, inputEnd, output, outputPosition,
                      outputEnd);
}

} // namespace ZVCL
