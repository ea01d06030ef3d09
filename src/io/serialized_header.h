// The header in front of a serialized object, which tells whether its reader knows the layout.
//
//     object = header fields
//     header = Data1 (4 bytes) Data2 (2) Data3 (2) Data4 (8)    the class's version identifier
//     fields = what the class has, in its own order
//
// Every number is big-endian, so the header reads like the identifier's text from left to right:
// {14064191-0D38-4817-8100-239421E44555} is 14 06 41 91 0D 38 48 17 81 00 23 94 21 E4 45 55. There
// is no length and no trailer. A class that changes its fields changes its identifier.
//
// Used by the thread that uses the stream.
#ifndef ZVSUPPORT_IO_SERIALIZED_HEADER_H
#define ZVSUPPORT_IO_SERIALIZED_HEADER_H

#include "io/data_input_stream.h"
#include "io/output_stream.h"
#include "lang/guid.h"

namespace ZVCL {

// Reads the header; the fields come next. Throws EZvException "Serialized Object versions do not
// match." when it is not `version` (the header has been taken then), EZvUnexpectedEOF when the
// stream ends in it.
void readSerializedHeader(CZvDataInputStream& in, const CZvGuid& version);
void writeSerializedHeader(CZvOutputStream& out, const CZvGuid& version);

} // namespace ZVCL

#endif
