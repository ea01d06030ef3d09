// An output stream that stands in front of another and passes every operation on: the base of those
// that make bytes of something.
//
// Used by one thread at a time, together with the stream behind it.
#ifndef ZVSUPPORT_IO_FILTER_OUTPUT_STREAM_H
#define ZVSUPPORT_IO_FILTER_OUTPUT_STREAM_H

#include "io/output_stream.h"
#include "lang/ref.h"

namespace ZVCL {

class CZvFilterOutputStream : public CZvOutputStream {
public:
    // Keeps the wrapped stream alive, and never flushes or closes it of its own accord. Throws
    // EZvResultException with kPointer for null.
    explicit CZvFilterOutputStream(ZvRef<CZvOutputStream> out);

    void Write(const std::uint8_t* buffer, std::int32_t length) override;
    void Write(std::int32_t byte) override;
    void Flush() override;
    void Close() override;

protected:
    const ZvRef<CZvOutputStream> out; // never null
};

} // namespace ZVCL

#endif
