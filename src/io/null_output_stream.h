// Takes whatever is written and keeps nothing.
//
// Any thread may write at any time.
#ifndef ZVSUPPORT_IO_NULL_OUTPUT_STREAM_H
#define ZVSUPPORT_IO_NULL_OUTPUT_STREAM_H

#include "io/output_stream.h"

namespace ZVCL {

class CZvNullOutputStream : public CZvOutputStream {
public:
    void Write(const std::uint8_t*, std::int32_t) override {}
    void Write(std::int32_t) override {}
};

} // namespace ZVCL

#endif
