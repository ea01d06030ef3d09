// Reads typed values, in big-endian byte order, from any input stream.
//
// Used by one thread at a time, together with the stream behind it.
#ifndef ZVSUPPORT_IO_DATA_INPUT_STREAM_H
#define ZVSUPPORT_IO_DATA_INPUT_STREAM_H

#include "io/filter_input_stream.h"

namespace ZVCL {

// Every operation throws EZvUnexpectedEOF when the stream ends inside its value; the bytes up to
// there have been taken. What the stream behind throws passes through.
class CZvDataInputStream : public CZvFilterInputStream {
public:
    using CZvFilterInputStream::CZvFilterInputStream;

    // Fills exactly `length` bytes; a length below 1 reads nothing.
    virtual void ReadFully(std::uint8_t* buffer, std::int32_t length);
    virtual bool ReadBoolean(); // one byte, true unless 0
    virtual std::int8_t ReadInt8();
    virtual char16_t ReadChar();    // by ReadInt16
    virtual std::int32_t ReadInt(); // by ReadInt32
    virtual std::int16_t ReadInt16();
    virtual std::int32_t ReadInt32();
    virtual std::int64_t ReadInt64(); // by two ReadInt32, the higher half first
    virtual float ReadFloat();        // IEEE 754 single, by ReadInt32
    virtual double ReadDouble();      // IEEE 754 double, by ReadInt64
    // Texts have no serialized form: reads nothing and answers the empty one.
    virtual CZvString ReadString();
};

} // namespace ZVCL

#endif
