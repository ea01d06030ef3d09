// Collects bytes in memory.
//
// Used by one thread at a time.
#ifndef ZVSUPPORT_IO_BYTE_ARRAY_OUTPUT_STREAM_H
#define ZVSUPPORT_IO_BYTE_ARRAY_OUTPUT_STREAM_H

#include "io/output_stream.h"

#include <memory>

namespace ZVCL {

class CZvByteArrayOutputStream : public CZvOutputStream {
public:
    // Throws EZvRangeError for a negative capacity, std::bad_alloc.
    explicit CZvByteArrayOutputStream(std::int32_t initialCapacity = 256);

    using CZvOutputStream::Write;
    // Grows by a quarter more than is needed, so that bytes written one by one cost constant time
    // on average. Throws std::bad_alloc, also when the bytes would not fit 32 bits; nothing has
    // changed then.
    void Write(const std::uint8_t* buffer, std::int32_t length) override;

    std::int32_t getSize() const noexcept { return size; }         // bytes written
    std::int32_t getCapacity() const noexcept { return capacity; } // bytes that have room
    // Copies the first bytes written, at most `maximum`, and answers how many.
    std::int32_t ToByteArray(std::uint8_t* destination, std::int32_t maximum) const;
    // The bytes written as narrow text, decoded by the default converter. Throws what that throws.
    CZvString toString() const override;

private:
    void grow(std::int32_t needed);

    std::unique_ptr<std::uint8_t[]> data;
    std::int32_t size = 0;
    std::int32_t capacity = 0;
};

} // namespace ZVCL

#endif
