#include "text/char_to_byte_converter.h"

#include "text/converter_base.h"
#include "text/single_byte_converters.h"

namespace ZVCL {

ZvRef<CZvCharToByteConverter> CZvCharToByteConverter::getConverter(const char16_t* name) {
    constexpr ConverterDirection direction = ConverterDirection::charToByte;
    return name != nullptr ? namedConverter<CZvCharToByteConverter>(name, direction)
                           : defaultConverter<CZvCharToByteConverter, CZvCTBASCII>(direction);
}

bool CZvCharToByteConverter::getSubstitutionMode() {
    return substitutionMode;
}

bool CZvCharToByteConverter::setSubstitutionMode(bool flag) {
    return substitutionMode = flag;
}

std::int32_t CZvCharToByteConverter::getSubstitution(std::uint8_t* buffer, std::int32_t capacity) {
    return copySubstitution(substitution, substitutionLength, buffer, capacity);
}

void CZvCharToByteConverter::setSubstitution(const std::uint8_t* bytes, std::int32_t count) {
    replaceSubstitution(substitution, substitutionLength, bytes, count);
}

} // namespace ZVCL
