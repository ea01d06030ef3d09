// The writer that gathers what is written in a string.
//
// It belongs to one thread at a time.
#ifndef ZVSUPPORT_TEXT_STRING_WRITER_H
#define ZVSUPPORT_TEXT_STRING_WRITER_H

#include "lang/string.h"
#include "text/writer.h"

#include <cstdint>

namespace ZVCL {

class CZvStringWriter final : public CZvWriter {
public:
    // With room for `capacity` characters; the text grows beyond it as needed.
    explicit CZvStringWriter(std::int32_t capacity = 0);
    ~CZvStringWriter() override;

    using CZvWriter::write;
    // Appends. chars may be those of the text that was gathered so far. On exhaustion the text
    // stays as it was.
    void write(const char16_t* chars, std::int32_t count) override;

    // The text so far; later writes leave that string alone.
    CZvString toString() const override;

private:
    CZvString text;
};

} // namespace ZVCL

#endif
