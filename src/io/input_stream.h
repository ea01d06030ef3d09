// The source of bytes that all input streams are.
//
// A stream is used by one thread at a time; threads that take turns may hold references of their
// own.
//
// Counts are signed 32-bit numbers of bytes. The end of a stream is -1, not a failure; failures are
// thrown.
#ifndef ZVSUPPORT_IO_INPUT_STREAM_H
#define ZVSUPPORT_IO_INPUT_STREAM_H

#include "lang/object.h"

#include <cstdint>

namespace ZVCL {

// A class that reads from somewhere gives the block Read; the rest stands on it.
class CZvInputStream : public CZvObject {
public:
    CZvInputStream() = default;
    CZvInputStream(const CZvInputStream&) = delete;
    CZvInputStream& operator=(const CZvInputStream&) = delete;

    // Reads up to `length` bytes into the caller's buffer, which has that much room, and waits for
    // the first of them. The number read; -1 at the end. A length below 1 reads nothing.
    virtual std::int32_t Read(std::uint8_t* buffer, std::int32_t length) = 0;
    // One byte, 0 to 255; -1 at the end.
    virtual std::int32_t Read();
    // Passes over up to `count` bytes (none for a count below 1) and answers how many.
    virtual std::int32_t Skip(std::int32_t count);
    // How many bytes can be read without waiting; here 0.
    virtual std::int32_t Available();
    virtual void Close();
    // Going back to a mark. Here it is not supported: Mark does nothing and Reset throws EZvIOError
    // "mark/reset not supported".
    virtual bool MarkSupported();
    virtual void Mark(std::int32_t readLimit);
    virtual void Reset();
};

} // namespace ZVCL

#endif
