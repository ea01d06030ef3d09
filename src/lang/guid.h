// A globally unique identifier as a value of the class library.
//
// A plain value: no virtual operations, copied like a number. Identifiers that are known when the
// library is built are constants, without start-up code:
//
//     constexpr CZvGuid kVersion(u"{14064191-0D38-4817-8100-239421E44555}");
#ifndef ZVSUPPORT_LANG_GUID_H
#define ZVSUPPORT_LANG_GUID_H

#include "core/guid.h"
#include "lang/string.h"

namespace ZVCL {

class CZvGuid {
public:
    constexpr CZvGuid() noexcept = default; // all zeros
    constexpr explicit CZvGuid(const zv::core::Guid& guid) noexcept : guid(guid) {}
    // The text form, with or without braces; what follows it is not looked at. Throws EZvException
    // "invalid GUID string" for any other text, null among them.
    constexpr explicit CZvGuid(const char16_t* text) { check(GuidFromString(text, guid)); }
    explicit CZvGuid(const CZvString& text) { check(GuidFromString(text.view(), guid)); }

    constexpr const zv::core::Guid& value() const noexcept { return guid; }
    constexpr operator const zv::core::Guid&() const noexcept { return guid; }
    CZvString toString() const; // upper-case, in braces

    friend constexpr bool operator==(const CZvGuid&, const CZvGuid&) = default;

private:
    static constexpr void check(zv::core::ResultCode code) {
        if (code < 0)
            throwInvalidText();
    }
    [[noreturn]] static void throwInvalidText();

    zv::core::Guid guid{};
};

} // namespace ZVCL

#endif
