#include "text/string_writer.h"

#include "lang/exception.h"

namespace ZVCL {

CZvStringWriter::CZvStringWriter(std::int32_t capacity) : text(CZvString::withCapacity(capacity)) {}

CZvStringWriter::~CZvStringWriter() = default;

void CZvStringWriter::write(const char16_t* chars, std::int32_t count) {
    // To the string a count of -1 would mean that it looks for the end itself.
    if (count < 0)
        throw EZvRangeError();
    text.replace(-1, 0, chars, count);
}

CZvString CZvStringWriter::toString() const {
    return text;
}

} // namespace ZVCL
