// Reads bytes from memory of its own.
//
// Used by one thread at a time.
#ifndef ZVSUPPORT_IO_BYTE_ARRAY_INPUT_STREAM_H
#define ZVSUPPORT_IO_BYTE_ARRAY_INPUT_STREAM_H

#include "io/input_stream.h"

#include <memory>

namespace ZVCL {

class CZvByteArrayInputStream : public CZvInputStream {
public:
    // Copies `length` bytes. Throws EZvRangeError for a negative length, EZvResultException with
    // kPointer for null bytes of some length, std::bad_alloc.
    CZvByteArrayInputStream(const std::uint8_t* bytes, std::int32_t length);

    using CZvInputStream::Read;
    std::int32_t Read(std::uint8_t* buffer, std::int32_t count) override;

private:
    std::unique_ptr<std::uint8_t[]> data; // null for no bytes
    std::int32_t length = 0;
    std::int32_t position = 0; // of the next byte; 0 to length
};

} // namespace ZVCL

#endif
