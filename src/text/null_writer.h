// The writer that discards what is written.
//
// It has no state, so any thread may write.
#ifndef ZVSUPPORT_TEXT_NULL_WRITER_H
#define ZVSUPPORT_TEXT_NULL_WRITER_H

#include "text/writer.h"

namespace ZVCL {

// Every operation succeeds and does nothing; nothing is read of what it is given.
class CZvNullWriter final : public CZvWriter {
public:
    void write(const CZvAbstractCharBuffer&) override {}
    void write(const char16_t*) override {}
    void write(const char16_t*, std::int32_t) override {}
    void write(char16_t) override {}
};

} // namespace ZVCL

#endif
