// An input stream that stands in front of another and passes every operation on: the base of those
// that make something of the bytes.
//
// Used by one thread at a time, together with the stream behind it.
#ifndef ZVSUPPORT_IO_FILTER_INPUT_STREAM_H
#define ZVSUPPORT_IO_FILTER_INPUT_STREAM_H

#include "io/input_stream.h"
#include "lang/ref.h"

namespace ZVCL {

class CZvFilterInputStream : public CZvInputStream {
public:
    // Keeps the wrapped stream alive, and never closes it of its own accord. Throws
    // EZvResultException with kPointer for null.
    explicit CZvFilterInputStream(ZvRef<CZvInputStream> in);

    std::int32_t Read(std::uint8_t* buffer, std::int32_t length) override;
    std::int32_t Read() override;
    std::int32_t Skip(std::int32_t count) override;
    std::int32_t Available() override;
    void Close() override;
    bool MarkSupported() override;
    void Mark(std::int32_t readLimit) override;
    void Reset() override;

protected:
    const ZvRef<CZvInputStream> in; // never null
};

} // namespace ZVCL

#endif
