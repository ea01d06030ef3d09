#include "text/byte_to_char_converter.h"

#include "text/converter_base.h"
#include "text/single_byte_converters.h"

namespace ZVCL {

ZvRef<CZvByteToCharConverter> CZvByteToCharConverter::getConverter(const char16_t* name) {
    constexpr ConverterDirection direction = ConverterDirection::byteToChar;
    return name != nullptr ? namedConverter<CZvByteToCharConverter>(name, direction)
                           : defaultConverter<CZvByteToCharConverter, CZvBTCASCII>(direction);
}

bool CZvByteToCharConverter::getSubstitutionMode() {
    return substitutionMode;
}

bool CZvByteToCharConverter::setSubstitutionMode(bool flag) {
    return substitutionMode = flag;
}

std::int32_t CZvByteToCharConverter::getSubstitution(char16_t* buffer, std::int32_t capacity) {
    return copySubstitution(substitution, substitutionLength, buffer, capacity);
}

void CZvByteToCharConverter::setSubstitution(const char16_t* characters, std::int32_t count) {
    replaceSubstitution(substitution, substitutionLength, characters, count);
}

} // namespace ZVCL
