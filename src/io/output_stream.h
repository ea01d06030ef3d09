// The sink of bytes that all output streams are.
//
// A stream is used by one thread at a time; threads that take turns may hold references of their
// own.
//
// Counts are signed 32-bit numbers of bytes. Failures are thrown.
#ifndef ZVSUPPORT_IO_OUTPUT_STREAM_H
#define ZVSUPPORT_IO_OUTPUT_STREAM_H

#include "lang/object.h"

#include <cstdint>

namespace ZVCL {

// A class that writes to somewhere gives the block Write; the rest stands on it.
class CZvOutputStream : public CZvObject {
public:
    CZvOutputStream() = default;
    CZvOutputStream(const CZvOutputStream&) = delete;
    CZvOutputStream& operator=(const CZvOutputStream&) = delete;

    // Writes all `length` bytes. A length below 1 writes nothing.
    virtual void Write(const std::uint8_t* buffer, std::int32_t length) = 0;
    // Writes the lowest 8 bits.
    virtual void Write(std::int32_t byte);
    virtual void Flush();
    virtual void Close();
};

} // namespace ZVCL

#endif
