#include "io/output_stream.h"

namespace ZVCL {

void CZvOutputStream::Write(std::int32_t byte) {
    const auto narrowed = static_cast<std::uint8_t>(byte);
    Write(&narrowed, 1);
}

void CZvOutputStream::Flush() {}

void CZvOutputStream::Close() {}

} // namespace ZVCL
