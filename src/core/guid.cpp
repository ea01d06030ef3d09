#include "core/guid.h"

#include "core/registry/native_reg_key.h"
#include "platform/win32.h"

#include <algorithm>
#include <string>

namespace zv::core {

namespace {

// Writes the lowest `count` hexadecimal digits of value and answers where they end.
char16_t* writeDigits(char16_t* at, std::uint32_t value, int count) {
    for (int shift = 4 * (count - 1); shift >= 0; shift -= 4)
        *at++ = u"0123456789ABCDEF"[value >> shift & 0xF];
    return at;
}

} // namespace

ResultCode GuidToString(const Guid& guid, char16_t* text, std::uint32_t capacity) noexcept {
    if (text == nullptr)
        return kInvalidArgument;
    char16_t whole[kGuidTextLength + 1];
    char16_t* at = whole;
    *at++ = u'{';
    at = writeDigits(at, guid.Data1, 8);
    *at++ = u'-';
    at = writeDigits(at, guid.Data2, 4);
    *at++ = u'-';
    at = writeDigits(at, guid.Data3, 4);
    *at++ = u'-';
    for (std::size_t i = 0; i < sizeof guid.Data4; ++i) {
        if (i == 2)
            *at++ = u'-';
        at = writeDigits(at, guid.Data4[i], 2);
    }
    *at++ = u'}';
    *at = 0;
    std::copy_n(whole, std::min<std::size_t>(capacity, std::size(whole)), text);
    return kOk;
}

ResultCode ClsidFromProgId(const char16_t* progId, Guid& guid) noexcept {
    // Without a name the path would lead to the folder of all class identifiers.
    if (progId == nullptr || *progId == 0)
        return kInvalidArgument;
    return coreFrame([&] {
        const std::u16string path = std::u16string(progId) + u"\\CLSID";
        char16_t text[kGuidTextLength + 1];
        std::uint32_t size = sizeof text;
        RegValueType type = kRegString;
        const ResultCode code =
            NativeRegQueryValue(HKEY_CLASSES_ROOT_VALUE, path.c_str(), nullptr, type, text, size);
        if (code < 0)
            return code == kFileNotFound ? kClassNotRegistered : code;
        // The text need not be terminated.
        return GuidFromString(std::u16string_view(text, size / sizeof(char16_t)), guid);
    });
}

} // namespace zv::core
