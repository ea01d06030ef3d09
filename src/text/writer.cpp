#include "text/writer.h"

#include "core/heap.h"
#include "core/wide_text.h"
#include "util/buffer_hold.h"

#include <limits>

namespace ZVCL {

void CZvWriter::write(const CZvAbstractCharBuffer& string) {
    BufferReadHold<char16_t> characters(string);
    write(characters.data(), characters.length());
    characters.finish();
}

void CZvWriter::write(const char16_t* text) {
    if (text == nullptr)
        return;
    const std::size_t length = zv::core::wcslen(text);
    if (length > std::size_t{std::numeric_limits<std::int32_t>::max()})
        zv::core::throwBadAllocation();
    write(text, static_cast<std::int32_t>(length));
}

void CZvWriter::write(char16_t character) {
    write(&character, 1);
}

void CZvWriter::flush() {}

void CZvWriter::close() {}

} // namespace ZVCL
