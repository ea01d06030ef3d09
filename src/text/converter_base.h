// What the two abstract converter classes share. Included by their sources alone.
#ifndef ZVSUPPORT_TEXT_CONVERTER_BASE_H
#define ZVSUPPORT_TEXT_CONVERTER_BASE_H

#include "lang/exception.h"
#include "platform/win32.h"
#include "text/charset_registry.h"

#include <algorithm>
#include <cstdint>

namespace ZVCL {

// The registry's converter for a name as a Converter; null when it is something else.
template <typename Converter>
ZvRef<Converter> namedConverter(const char16_t* name, ConverterDirection direction) {
    const ZvRef<CZvObject> object = CZvCharsetRegistry::instance().createConverter(name, direction);
    return ZvRef<Converter>::share(dynamic_cast<Converter*>(object.get()));
}

// The converter of a code page, or a new Fallback when nobody serves the page, or it fails.
template <typename Converter, typename Fallback>
ZvRef<Converter> codePageConverter(std::uint32_t codePage, ConverterDirection direction) {
    try {
        const ZvRef<CZvObject> object =
            CZvCharsetRegistry::instance().createCodePageConverter(codePage, direction);
        if (auto* converter = dynamic_cast<Converter*>(object.get()))
            return ZvRef<Converter>::share(converter);
    } catch (...) {
        // The default converter is never a failure.
    }
    return makeRef<Fallback>();
}

template <typename Converter, typename Fallback>
ZvRef<Converter> defaultConverter(ConverterDirection direction) {
    return codePageConverter<Converter, Fallback>(GetACP(), direction);
}

template <typename Unit, std::size_t capacity>
std::int32_t copySubstitution(const Unit (&substitution)[capacity], std::int32_t length,
                              Unit* buffer, std::int32_t room) {
    if (buffer == nullptr)
        return length;
    const std::int32_t count = std::clamp(room, 0, length);
    std::copy_n(substitution, count, buffer);
    return count;
}

template <typename Unit, std::size_t capacity>
void replaceSubstitution(Unit (&substitution)[capacity], std::int32_t& length, const Unit* units,
                         std::int32_t count) {
    if (count < 0 || count > static_cast<std::int32_t>(capacity) ||
        (units == nullptr && count != 0))
        throw EZvRangeError();
    std::copy_n(units, count, substitution);
    length = count;
}

} // namespace ZVCL

#endif
