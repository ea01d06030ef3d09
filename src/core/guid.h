// Globally unique identifiers: the 16-byte value, its text, and the one that is registered for the
// name of a class.
//
// Any thread may call any of these. They answer result codes and throw nothing; what a failed call
// was to fill is left as it was.
#ifndef ZVSUPPORT_CORE_GUID_H
#define ZVSUPPORT_CORE_GUID_H

#include "core/result.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zv::core {

inline constexpr ResultCode kClassNotRegistered = resultFromBits(0x80040154);

// The layout that the system and its components know; integers in the machine's order.
struct Guid {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const Guid&, const Guid&) = default;
};
static_assert(sizeof(Guid) == 16);

// {6B29FC40-CA47-1067-B31D-00DD010662DA}: 38 characters; 36 without the braces.
inline constexpr std::size_t kGuidTextLength = 38;

// The value of a text: hexadecimal digits in groups of 8-4-4-4-12, in either case, with or without
// braces. What follows is not looked at. kInvalidArgument for anything else.
constexpr ResultCode GuidFromString(std::u16string_view text, Guid& guid) noexcept;
// The same of a zero-terminated text; kInvalidArgument for null.
constexpr ResultCode GuidFromString(const char16_t* text, Guid& guid) noexcept {
    return text != nullptr ? GuidFromString(std::u16string_view(text), guid) : kInvalidArgument;
}

// Writes the text, upper-case and in braces, into room for `capacity` characters: with a
// terminating zero when there are kGuidTextLength + 1 or more, cut to the room when there are
// fewer. 0; kInvalidArgument for a null text.
ResultCode GuidToString(const Guid& guid, char16_t* text, std::uint32_t capacity) noexcept;

// The class identifier that the system's registry has for a programmatic identifier: the default
// value of its CLSID key. kClassNotRegistered when there is none, kInvalidArgument for a null or
// empty progId and for a value that is no identifier, otherwise the code of the failed read.
ResultCode ClsidFromProgId(const char16_t* progId, Guid& guid) noexcept;

// ---------------------------------------------------------------------------------------------

namespace guid_text {

inline constexpr std::size_t kLength = kGuidTextLength - 2; // without the braces

constexpr bool isHyphenAt(std::size_t position) {
    return position == 8 || position == 13 || position == 18 || position == 23;
}

// -1 for what is no digit.
constexpr int digitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    if (unit >= u'A' && unit <= u'F')
        return unit - u'A' + 10;
    return unit >= u'a' && unit <= u'f' ? unit - u'a' + 10 : -1;
}

} // namespace guid_text

constexpr ResultCode GuidFromString(std::u16string_view text, Guid& guid) noexcept {
    if (text.size() < guid_text::kLength)
        return kInvalidArgument;
    if (text.front() == u'{') {
        if (text.size() < kGuidTextLength || text[kGuidTextLength - 1] != u'}')
            return kInvalidArgument;
        text.remove_prefix(1);
    }
    std::uint8_t bytes[sizeof(Guid)] = {}; // as the text has them: high bytes first
    std::size_t digits = 0;
    for (std::size_t i = 0; i < guid_text::kLength; ++i) {
        if (guid_text::isHyphenAt(i)) {
            if (text[i] != u'-')
                return kInvalidArgument;
            continue;
        }
        const int value = guid_text::digitValue(text[i]);
        if (value < 0)
            return kInvalidArgument;
        std::uint8_t& byte = bytes[digits++ / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
    }
    guid.Data1 = static_cast<std::uint32_t>(bytes[0]) << 24 |
                 static_cast<std::uint32_t>(bytes[1]) << 16 |
                 static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
    guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    for (std::size_t i = 0; i < sizeof guid.Data4; ++i)
        guid.Data4[i] = bytes[8 + i];
    return kOk;
}

} // namespace zv::core

#endif
