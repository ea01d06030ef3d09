// Converters for charsets that the registry does not know, made from codec components.
#ifndef ZVSUPPORT_TEXT_EXTERNAL_CHARSET_H
#define ZVSUPPORT_TEXT_EXTERNAL_CHARSET_H

#include "text/charset_registry.h"

namespace ZVCL {

// A new converter around the codec component for `name`. Throws EZvUnknownEncoding, with the name
// as its message, when there is no such component. Any thread.
ZvRef<CZvObject> createExternalConverter(const char16_t* name, ConverterDirection direction);

} // namespace ZVCL

#endif
