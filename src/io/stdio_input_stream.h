// Reads from a stream of the C library: the standard input, unless told otherwise.
//
// Used by one thread at a time.
//
// The block Read is made for lines, not for records: see there. Readers of typed data belong on
// another stream.
#ifndef ZVSUPPORT_IO_STDIO_INPUT_STREAM_H
#define ZVSUPPORT_IO_STDIO_INPUT_STREAM_H

#include "io/input_stream.h"

#include <cstdio>

namespace ZVCL {

// A C stream whose error flag is set, also by somebody else, makes every operation throw EZvIOError
// "stream read error" (Skip: "stream seek error").
class CZvStdioInputStream : public CZvInputStream {
public:
    // The C stream stays its owner's: it must outlive this one, which never closes it. Throws
    // EZvResultException with kPointer for null.
    explicit CZvStdioInputStream(std::FILE* file = stdin);

    // The next line with its line end, or as much of it as `length` - 1 bytes hold, and a zero
    // behind it, which is not counted: so the number read is always below `length`, and a length of
    // 1 reads nothing and answers -1. 0 for a length below 1.
    std::int32_t Read(std::uint8_t* buffer, std::int32_t length) override;
    std::int32_t Read() override;
    // Moves the C stream's position, which may pass the end of a file, and goes back for a negative
    // count. 0 where there is no position to move, as in a pipe.
    std::int32_t Skip(std::int32_t count) override;

private:
    std::FILE* const file;
};

} // namespace ZVCL

#endif
