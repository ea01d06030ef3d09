// The abstract sink for wide text: every way of writing comes down to writing n characters.
//
// A writer belongs to one thread at a time.
#ifndef ZVSUPPORT_TEXT_WRITER_H
#define ZVSUPPORT_TEXT_WRITER_H

#include "lang/object.h"
#include "util/buffer.h"

#include <cstdint>

namespace ZVCL {

// What the sink throws leaves every operation. Counts are in characters (UTF-16 units).
class CZvWriter : public CZvObject {
public:
    // All characters of a string or another character buffer, zeros among them. Throws
    // EZvResultException with the code when the buffer refuses to be read, or to end the read.
    virtual void write(const CZvAbstractCharBuffer& string);
    // Up to the first zero. A null text is the empty one.
    virtual void write(const char16_t* text);
    // Of chars nothing is kept. Null only with a count of 0; a negative count throws EZvRangeError.
    virtual void write(const char16_t* chars, std::int32_t count) = 0;
    virtual void write(char16_t character);
    // Hands on what the writer holds back, and ends it. Nothing happens here.
    virtual void flush();
    virtual void close();

protected:
    CZvWriter() = default;
};

} // namespace ZVCL

#endif
