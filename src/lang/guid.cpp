#include "lang/guid.h"

#include "lang/exception.h"

namespace ZVCL {

CZvString CZvGuid::toString() const {
    char16_t text[zv::core::kGuidTextLength + 1];
    zv::core::GuidToString(guid, text, static_cast<std::uint32_t>(std::size(text)));
    return CZvString(text);
}

void CZvGuid::throwInvalidText() {
    throw EZvException(CZvString::literal(u"invalid GUID string"));
}

} // namespace ZVCL
