// Writes to a stream of the C library: the standard output, unless told otherwise.
//
// Used by one thread at a time.
#ifndef ZVSUPPORT_IO_STDIO_OUTPUT_STREAM_H
#define ZVSUPPORT_IO_STDIO_OUTPUT_STREAM_H

#include "io/output_stream.h"

#include <cstdio>

namespace ZVCL {

// Failures are EZvIOError "stream write error" and "stream flush error". A C stream whose error
// flag is set, also by somebody else, makes every block Write throw. Close leaves it open.
class CZvStdioOutputStream : public CZvOutputStream {
public:
    // The C stream stays its owner's: it must outlive this one, which never closes it. Throws
    // EZvResultException with kPointer for null.
    explicit CZvStdioOutputStream(std::FILE* file = stdout);

    void Write(const std::uint8_t* buffer, std::int32_t length) override;
    void Write(std::int32_t byte) override;
    void Flush() override;

private:
    std::FILE* const file;
};

} // namespace ZVCL

#endif
