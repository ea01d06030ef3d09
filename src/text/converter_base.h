// What the two abstract converter classes share. Included by their sources alone.
#ifndef ZVSUPPORT_TEXT_CONVERTER_BASE_H
#define ZVSUPPORT_TEXT_CONVERTER_BASE_H

#include "core/wide_text.h"
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

// The converter of the ANSI code page, or a new Fallback when there is none.
template <typename Converter, typename Fallback>
ZvRef<Converter> defaultConverter(ConverterDirection direction) {
    char16_t name[40] = u"CP";
    zv::core::_ltow(static_cast<long>(GetACP()), name + 2, 10);
    try {
        if (ZvRef<Converter> converter = namedConverter<Converter>(name, direction))
            return converter;
    } catch (...) {
        // A code page that nobody serves is no failure here.
    }
    return makeRef<Fallback>();
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
