#include "text/external_charset.h"

#include "lang/exception.h"
#include "lang/string.h"

namespace ZVCL {

ZvRef<CZvObject> createExternalConverter(const char16_t* name, ConverterDirection) {
    throw EZvUnknownEncoding(CZvString(name));
}

} // namespace ZVCL
