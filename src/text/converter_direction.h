// Which of a charset's two converters is meant.
#ifndef ZVSUPPORT_TEXT_CONVERTER_DIRECTION_H
#define ZVSUPPORT_TEXT_CONVERTER_DIRECTION_H

namespace ZVCL {

enum class ConverterDirection { charToByte, byteToChar };

} // namespace ZVCL

#endif
