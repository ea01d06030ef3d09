#include "io/byte_array_input_stream.h"

#include "lang/exception.h"

#include <algorithm>

namespace ZVCL {

CZvByteArrayInputStream::CZvByteArrayInputStream(const std::uint8_t* bytes, std::int32_t count) {
    if (count < 0)
        throw EZvRangeError();
    if (count == 0)
        return;
    if (bytes == nullptr)
        throwResult(zv::core::kPointer);
    data = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(count));
    std::copy_n(bytes, count, data.get());
    length = count;
}

std::int32_t CZvByteArrayInputStream::Read(std::uint8_t* buffer, std::int32_t count) {
    if (position >= length)
        return -1;
    const std::int32_t given = std::min(count, length - position);
    if (given <= 0)
        return 0;
    std::copy_n(data.get() + position, given, buffer);
    position += given;
    return given;
}

} // namespace ZVCL
